#include "jpeg/kernels.h"

#include "jpeg/quant_tables.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace kowen {

namespace {

#if defined(KOWEN_X86_KERNELS)
#define KOWEN_KERNEL_NAMES "scalar sse41 avx2 avx512"
#elif defined(KOWEN_NEON_KERNELS)
#define KOWEN_KERNEL_NAMES "scalar neon"
#else
#define KOWEN_KERNEL_NAMES "scalar"
#endif

// Tells programs that test the module, without a call, which names KOWEN_KERNELS may have.
// Test: Selftest.EveryVariantIsTried.
struct KernelNote {
    uint32_t nameSize;
    uint32_t textSize;
    uint32_t type;
    char name[8];
    char text[32];
};
[[gnu::section(".note.kowen"), gnu::used, gnu::aligned(4)]] const KernelNote kKernelNote = {
    sizeof "kowen", sizeof kKernelNote.text, 1, "kowen", KOWEN_KERNEL_NAMES};

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

// The one that the user names for a processor that does not get along with its own, or the last.
const Kernels *ChosenKernels() {
    const char *wanted = std::getenv("KOWEN_KERNELS");
    const Kernels *last = nullptr;
    for (const Kernels *const *variant = AvailableKernels(); *variant != nullptr; ++variant) {
        last = *variant;
        if (wanted != nullptr && std::strcmp(last->name, wanted) == 0)
            break;
    }
    return last;
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
    active = variant != nullptr ? variant : ChosenKernels();
}

} // namespace kowen
