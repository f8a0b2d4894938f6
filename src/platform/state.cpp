#include "platform/state.h"

namespace kowen {

MemoryHandle hCommon = 0;
CommonRecord *lpCommon = nullptr;
MemoryHandle hSetup = 0;
SetupRecord *lpSetup = nullptr;
MemoryHandle hRaster = 0;
SetupRecord *lpRaster = nullptr;
MemoryHandle hEMData = 0;
EMData *lpEMData = nullptr;
uint32_t hDLLModule = 0;
uint32_t hAppAnchorBlock = 0;
uint16_t FilterVersion = 1;
uint16_t FilterID = 28;

namespace {
char filterName[] = "kowen";
}
char *szFilter = filterName;
char export_szDLLName[kDllNameBytes] = {};

} // namespace kowen
