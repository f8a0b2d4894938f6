#include "color/kernels.h"

#include <cstddef>

namespace kowen {
namespace {

const ColorKernels *active = nullptr;

const ColorKernels *const *ListKernels() noexcept {
    static const ColorKernels *list[4] = {};
    std::size_t count = 0;
    list[count++] = &kPlainColorKernels;
#ifdef KOWEN_X86_KERNELS
    if (MachineHas(InstructionSet::kAvx2))
        list[count++] = &kAvx2ColorKernels;
    if (MachineHas(InstructionSet::kAvx512))
        list[count++] = &kAvx512ColorKernels;
#endif
    list[count] = nullptr;
    return list;
}

} // namespace

const ColorKernels *const *AvailableColorKernels() noexcept {
    static const ColorKernels *const *available = nullptr;
    if (available == nullptr)
        available = ListKernels();
    return available;
}

const ColorKernels &ActiveColorKernels() noexcept {
    if (active == nullptr)
        UseColorKernels(nullptr);
    return *active;
}

void UseColorKernels(const ColorKernels *form) noexcept {
    active = form;
    if (form == nullptr)
        for (const ColorKernels *const *last = AvailableColorKernels(); *last != nullptr; ++last)
            active = *last;
}

} // namespace kowen
