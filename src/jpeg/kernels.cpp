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
    list[count++] = &kPlainKernels;
#ifdef KOWEN_X86_KERNELS
    __builtin_cpu_init();
    if (__builtin_cpu_supports("sse2"))
        list[count++] = &kSse2Kernels;
    if (__builtin_cpu_supports("avx2"))
        list[count++] = &kAvx2Kernels;
    if (__builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl"))
        list[count++] = &kAvx512Kernels;
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

const Kernels &ActiveKernels() noexcept {
    static const Kernels *active = nullptr;
    if (active == nullptr)
        for (const Kernels *const *form = AvailableKernels(); *form != nullptr; ++form)
            active = *form;
    return *active;
}

} // namespace kowen
