#include "kowen/host.h"
extern int nothing;
