#include "setup/identity.h"

namespace kowen {

namespace {
char filterName[] = "kowen";
}

char *szFilter = filterName;
char export_szDLLName[kDllNameBytes] = {};
uint32_t hDLLModule = 0;
uint32_t hAppAnchorBlock = 0;
uint16_t FilterVersion = 1;
uint16_t FilterID = 28;

uint32_t QIVGetFilterVersion() noexcept {
    return kFilterVersion;
}

} // namespace kowen
