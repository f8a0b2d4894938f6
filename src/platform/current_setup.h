// Which setup is current: what every entry sets and a call into the host keeps.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

struct SetupRecord;

/// What the record of a setup begins with: the calls into the host underway that must leave it as
/// it is. Kept by HostCall.
struct HostCallCount {
    uint32_t underway;
};

/// The current setup. Every entry that is given a setup re-points it; everything from setup/ on
/// reads the settings through it. Null before the first setup and after DestroySetup.
extern MemoryHandle hRaster;
extern SetupRecord *lpRaster;

} // namespace kowen
