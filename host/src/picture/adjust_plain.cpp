#include "picture/adjust.h"

#include "picture/adjust.inl"

namespace kowen::host {

const AdjustForm kAdjustPlain = {"plain", PairsRow, EachBlock<SolveSingle>, EachBlock<MakeGrey>};

const AdjustForm &FastestAdjust() {
#ifdef KOWEN_HOST_X86
    if (__builtin_cpu_supports("avx2"))
        return kAdjustAvx2;
#endif
    return kAdjustPlain;
}

} // namespace kowen::host
