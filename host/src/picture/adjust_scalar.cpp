#include "picture/adjust.h"

#include "picture/adjust.inl"

namespace kowen::host {
namespace {

#ifdef KOWEN_HOST_X86
constexpr const AdjustVariant *kWithAvx512[] = {&kAdjustAvx512, &kAdjustAvx2, &kAdjustScalar,
                                                nullptr};
constexpr const AdjustVariant *const *kWithAvx2 = kWithAvx512 + 1;
constexpr const AdjustVariant *const *kPlain = kWithAvx512 + 2;

bool HasAvx512() {
    return __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vbmi");
}
#else
constexpr const AdjustVariant *kPlain[] = {&kAdjustScalar, nullptr};
#endif

} // namespace

const AdjustVariant kAdjustScalar = {"scalar", PairsRow<kBlock, InPlace<SolvePairs>>, SingleRow,
                                     GreyRow};

const AdjustVariant *const *AdjustVariants() {
#ifdef KOWEN_HOST_X86
    if (__builtin_cpu_supports("avx2"))
        return HasAvx512() ? kWithAvx512 : kWithAvx2;
#endif
    return kPlain;
}

} // namespace kowen::host
