// What a fuzzer holds the module's process-wide state to.
#pragma once

#include "fuzz/input.h"

#include "filter/state.h"
#include "platform/global_memory.h"

namespace kowen::fuzz {

/// While it lives, a block of more than 8 MiB is not there: sizes below 2^32 are all allowed, but
/// filling them would take most of the time.
class MemoryLimit {
public:
    MemoryLimit() {
        allocationGate = [](uint64_t bytes) noexcept { return bytes <= kLargestBlock; };
    }
    ~MemoryLimit() { allocationGate = nullptr; }
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;

private:
    static constexpr uint64_t kLargestBlock = 8 << 20;
};

/// After an input: no setup is current, no device is open.
inline void RequireNothingIsCurrent() {
    Require(hRaster == 0 && lpRaster == nullptr, "no current setup");
    Require(hSetup == 0 && lpSetup == nullptr, "no setup of a device");
    Require(hEMData == 0 && lpEMData == nullptr, "no device");
    Require(hCommon == 0 && lpCommon == nullptr, "no export record");
}

} // namespace kowen::fuzz
