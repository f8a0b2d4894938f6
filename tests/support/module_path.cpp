#include "support/module_path.h"

const char *const kModulePath = KOWEN_MODULE_PATH;
