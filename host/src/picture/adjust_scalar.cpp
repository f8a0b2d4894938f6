#include "picture/adjust.h"

#include "picture/adjust.inl"

#ifdef KOWEN_HOST_X86
#include "platform/instruction_sets.h"
#endif

namespace kowen::host {
namespace {

#ifdef KOWEN_HOST_X86
constexpr const AdjustVariant *kWithAvx512[] = {&kAdjustAvx512, &kAdjustAvx2, &kAdjustScalar,
                                                nullptr};
constexpr const AdjustVariant *const *kWithAvx2 = kWithAvx512 + 1;
constexpr const AdjustVariant *const *kPlain = kWithAvx512 + 2;
#else
constexpr const AdjustVariant *kPlain[] = {&kAdjustScalar, nullptr};
#endif

} // namespace

const AdjustVariant kAdjustScalar = {"scalar", PairsRow<kBlock, InPlace<SolvePairs>>, SingleRow,
                                     GreyRow};

const AdjustVariant *const *AdjustVariants() {
#ifdef KOWEN_HOST_X86
    if (MachineHas(InstructionSet::kAvx512))
        return kWithAvx512;
    if (MachineHas(InstructionSet::kAvx2))
        return kWithAvx2;
#endif
    return kPlain;
}

} // namespace kowen::host
