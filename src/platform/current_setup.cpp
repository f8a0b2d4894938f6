#include "platform/current_setup.h"

namespace kowen {

MemoryHandle hRaster = 0;
SetupRecord *lpRaster = nullptr;

} // namespace kowen
