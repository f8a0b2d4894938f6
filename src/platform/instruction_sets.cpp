#include "platform/instruction_sets.h"

#ifdef KOWEN_X86_KERNELS
#include <cpuid.h>
#endif

namespace kowen {

#ifdef KOWEN_X86_KERNELS

namespace {

// Without it the instruction runs as another one, so it must be asked for by itself.
bool HasLzcnt() noexcept {
    constexpr unsigned kExtendedFeatures = 0x80000001;
    unsigned eax = 0, ebx = 0, ecx = 0, edx = 0;
    return __get_cpuid(kExtendedFeatures, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_LZCNT) != 0;
}

bool HasAvx2() noexcept {
    return __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") && HasLzcnt() &&
           __builtin_cpu_supports("avx2");
}

} // namespace

bool MachineHas(InstructionSet set) noexcept {
    __builtin_cpu_init();
    switch (set) {
    case InstructionSet::kSse2:
        return __builtin_cpu_supports("sse2");
    case InstructionSet::kAvx2:
        return HasAvx2();
    default:
        return HasAvx2() && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512vl") &&
               __builtin_cpu_supports("avx512vbmi2");
    }
}

#else

bool MachineHas(InstructionSet) noexcept {
    return false;
}

#endif

} // namespace kowen
