// Which instruction sets the processor has, for the loops that have a variant for each.
#pragma once

#if !defined(KOWEN_PLAIN_KERNELS) && (defined(__x86_64__) || defined(__i386__))
#define KOWEN_X86_KERNELS 1
#endif

namespace kowen {

/// The sets that files are built for: kAvx2 with the bit manipulation of its time (BMI, BMI2,
/// LZCNT), kAvx512 with the parts BW, CD, VL and VBMI2 as well.
enum class InstructionSet { kSse2, kAvx2, kAvx512 };

/// Whether this machine runs a set; never with plain kernels only.
bool MachineHas(InstructionSet set) noexcept;

} // namespace kowen
