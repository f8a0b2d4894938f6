// What fuzzers have to do with the module's memory and its process-wide state.
#pragma once

#include "fuzz/input.h"

#include "device/common_record.h"
#include "device/device_record.h"
#include "platform/global_memory.h"
#include "setup/setup.h"

#include <cstring>

namespace kowen::fuzz {

/// While it lives, a block beyond the largest is not there: sizes below 2^32 are all allowed, but
/// filling them would take most of the time. One block more may be refused: the n-th; 0 for none.
class MemoryLimit {
public:
    explicit MemoryLimit(uint64_t largestBlock = 8 << 20, int refused = 0) {
        largest = largestBlock;
        untilRefused = refused;
        allocationGate = [](uint64_t bytes) noexcept {
            return bytes <= largest && (untilRefused == 0 || --untilRefused != 0);
        };
    }
    ~MemoryLimit() { allocationGate = nullptr; }
    MemoryLimit(const MemoryLimit &) = delete;
    MemoryLimit &operator=(const MemoryLimit &) = delete;

private:
    static inline uint64_t largest;
    static inline int untilRefused;
};

/// A block of global memory with exactly these bytes, so that a read past its end is seen.
inline MemoryHandle MakeBlock(const Bytes &bytes) {
    const MemoryHandle block = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes.size()));
    if (!bytes.empty())
        std::memcpy(GlobalLock(block), bytes.data(), bytes.size());
    return block;
}

/// After an input: no setup is current, no device is open.
inline void RequireNothingIsCurrent() {
    Require(hRaster == 0 && lpRaster == nullptr, "no current setup");
    Require(hSetup == 0 && lpSetup == nullptr, "no setup of a device");
    Require(hEMData == 0 && lpEMData == nullptr, "no device");
    Require(hCommon == 0 && lpCommon == nullptr, "no export record");
}

} // namespace kowen::fuzz
