#include "platform/instruction_sets.h"

#ifdef KOWEN_X86_KERNELS
#include <cpuid.h>
#include <immintrin.h>
#endif

namespace kowen {

#ifdef KOWEN_X86_KERNELS

// The compiler's own question, __builtin_cpu_supports, has a constructor that asks for everything
// when a module is loaded, needed or not. In a virtual machine each question takes as long as a
// small picture.
namespace {

struct Sets {
    bool sse41 = false;
    bool avx2 = false;
    bool avx512 = false;
};

struct Answer {
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
};

constexpr unsigned kFeatures = 1;
constexpr unsigned kMoreFeatures = 7;
constexpr unsigned kExtendedFeatures = 0x80000001;

// The registers of SSE and AVX, and those with what AVX-512 adds.
constexpr unsigned kAvxRegisters = 0x06;
constexpr unsigned kAvx512Registers = 0xE6;

// Nothing where the processor does not know the question.
Answer Ask(unsigned question) {
    Answer answer;
    __get_cpuid_count(question, 0, &answer.eax, &answer.ebx, &answer.ecx, &answer.edx);
    return answer;
}

bool HasAll(unsigned found, unsigned wanted) {
    return (found & wanted) == wanted;
}

// The registers that the system keeps while another program runs; without them a set is of no use.
[[gnu::target("xsave")]] unsigned KeptRegisters(const Answer &features) {
    return HasAll(features.ecx, bit_OSXSAVE) ? static_cast<unsigned>(_xgetbv(0)) : 0;
}

// LZCNT must be asked for by itself: without it the instruction runs as another one.
Sets AskMachine() {
    Sets sets;
    const Answer features = Ask(kFeatures);
    sets.sse41 = HasAll(features.ecx, bit_SSSE3 | bit_SSE4_1);
    const unsigned kept = KeptRegisters(features);
    if (!HasAll(kept, kAvxRegisters))
        return sets;
    const Answer more = Ask(kMoreFeatures);
    sets.avx2 = HasAll(more.ebx, bit_AVX2 | bit_BMI | bit_BMI2) &&
                HasAll(Ask(kExtendedFeatures).ecx, bit_LZCNT);
    sets.avx512 = sets.avx2 && HasAll(kept, kAvx512Registers) &&
                  HasAll(more.ebx, bit_AVX512BW | bit_AVX512CD | bit_AVX512VL) &&
                  HasAll(more.ecx, bit_AVX512VBMI | bit_AVX512VBMI2);
    return sets;
}

} // namespace

bool MachineHas(InstructionSet set) noexcept {
    static const Sets sets = AskMachine();
    switch (set) {
    case InstructionSet::kSse41:
        return sets.sse41;
    case InstructionSet::kAvx2:
        return sets.avx2;
    case InstructionSet::kAvx512:
        return sets.avx512;
    default:
        return false;
    }
}

#else

// NEON is part of every 64-bit ARM.
bool MachineHas([[maybe_unused]] InstructionSet set) noexcept {
#ifdef KOWEN_NEON_KERNELS
    return set == InstructionSet::kNeon;
#else
    return false;
#endif
}

#endif

} // namespace kowen
