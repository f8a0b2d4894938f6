#include "platform/instruction_sets.h"

#ifdef KOWEN_X86_KERNELS
#include <cpuid.h>
#endif

namespace kowen {

#ifdef KOWEN_X86_KERNELS

namespace {

// Without it the instruction runs as another one, so it must be asked for by itself.
bool HasLzcnt() {
    constexpr unsigned kExtendedFeatures = 0x80000001;
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(kExtendedFeatures, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_LZCNT) != 0;
}

bool HasAvx2() {
    return __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && HasLzcnt() &&
           __builtin_cpu_supports("avx2");
}

} // namespace

bool MachineHas(InstructionSet set) noexcept {
    __builtin_cpu_init();
    switch (set) {
    case InstructionSet::kSse41:
        return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.1");
    case InstructionSet::kAvx2:
        return HasAvx2();
    case InstructionSet::kAvx512:
        return HasAvx2() && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512vl") &&
               __builtin_cpu_supports("avx512vbmi") && __builtin_cpu_supports("avx512vbmi2");
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
