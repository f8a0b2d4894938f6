#include "jpeg/kernels.h"

#include "jpeg/quant_tables.h"

#include <cstddef>
#ifdef KOWEN_X86_KERNELS
#include <cpuid.h>
#endif

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

#ifdef KOWEN_X86_KERNELS
// Without it the instruction runs as another one, so it must be asked for by itself.
bool HasLzcnt() {
    constexpr unsigned kExtendedFeatures = 0x80000001;
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(kExtendedFeatures, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_LZCNT) != 0;
}
#endif

const Kernels *const *ListKernels() {
    static const Kernels *list[5] = {};
    std::size_t count = 0;
    list[count++] = &kPlainKernels;
#ifdef KOWEN_X86_KERNELS
    __builtin_cpu_init();
    if (__builtin_cpu_supports("sse2"))
        list[count++] = &kSse2Kernels;
    const bool bits = __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && HasLzcnt();
    if (bits && __builtin_cpu_supports("avx2"))
        list[count++] = &kAvx2Kernels;
    if (bits && __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512cd") &&
        __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi2"))
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

namespace {
const Kernels *active = nullptr;
}

const Kernels &ActiveKernels() noexcept {
    if (active == nullptr)
        UseKernels(nullptr);
    return *active;
}

void UseKernels(const Kernels *form) noexcept {
    active = form;
    if (form == nullptr)
        for (const Kernels *const *last = AvailableKernels(); *last != nullptr; ++last)
            active = *last;
}

} // namespace kowen
