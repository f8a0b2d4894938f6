#include "picture/adjust.h"

#include "picture/adjust.inl"

namespace kowen::host {

const AdjustVariant kAdjustAvx2 = {"AVX2", PairsRow, EachBlock<SolveSingle>, EachBlock<MakeGrey>};

} // namespace kowen::host
