#include "jpeg/kernels.h"

#include "jpeg/quant_tables.h"

#include <cstddef>

namespace kowen {

namespace {

constexpr ZigZagBits MakeZigZagBits() {
    ZigZagBits bits = {};
    for (int k = 0; k < 64; ++k)
        for (int pattern = 0; pattern < 256; ++pattern)
            if ((pattern >> (ZZ[k] % 8) & 1) != 0)
                bits.ofRow[ZZ[k] / 8][pattern] |= uint64_t{1} << k;
    return bits;
}

const Kernels *const *ListKernels() {
    static const Kernels *list[5] = {};
    std::size_t count = 0;
    list[count++] = &kScalarKernels;
#ifdef KOWEN_X86_KERNELS
    if (MachineHas(InstructionSet::kSse41))
        list[count++] = &kSse41Kernels;
    if (MachineHas(InstructionSet::kAvx2))
        list[count++] = &kAvx2Kernels;
    if (MachineHas(InstructionSet::kAvx512))
        list[count++] = &kAvx512Kernels;
#endif
#ifdef KOWEN_NEON_KERNELS
    if (MachineHas(InstructionSet::kNeon))
        list[count++] = &kNeonKernels;
#endif
    list[count] = nullptr;
    return list;
}

} // namespace

constinit const ZigZagBits kZigZagBits = MakeZigZagBits();

const Kernels *const *AvailableKernels() noexcept {
    static const Kernels *const *available = nullptr;
    if (available == nullptr)
        available = ListKernels();
    return available;
}

namespace {
const Kernels *active = nullptr;
}

const Kernels &ActiveKernels() noexcept {
    if (active == nullptr)
        UseKernels(nullptr);
    return *active;
}

void UseKernels(const Kernels *variant) noexcept {
    active = variant;
    if (variant == nullptr)
        for (const Kernels *const *last = AvailableKernels(); *last != nullptr; ++last)
            active = *last;
}

} // namespace kowen
