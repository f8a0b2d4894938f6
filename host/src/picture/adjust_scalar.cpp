#include "picture/adjust.h"

#include "picture/adjust.inl"

namespace kowen::host {

const AdjustVariant kAdjustScalar = {"scalar", PairsRow, EachBlock<SolveSingle>,
                                     EachBlock<MakeGrey>};

const AdjustVariant &FastestAdjust() {
#ifdef KOWEN_HOST_X86
    if (__builtin_cpu_supports("avx2"))
        return kAdjustAvx2;
#endif
    return kAdjustScalar;
}

} // namespace kowen::host
