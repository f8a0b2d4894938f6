// Which instruction sets the processor has, for the loops that have a variant for each.
#pragma once

#if !defined(KOWEN_PLAIN_KERNELS)
#if defined(__x86_64__) || defined(__i386__)
#define KOWEN_X86_KERNELS 1
#elif defined(__aarch64__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define KOWEN_NEON_KERNELS 1
#endif
#endif

namespace kowen {

/// The sets that files are built for: kSse41 with SSSE3, kAvx2 with the bit manipulation of its
/// time (BMI, BMI2, LZCNT), kAvx512 with the parts BW, CD, VL, VBMI and VBMI2 as well; kNeon of
/// 64-bit ARM.
enum class InstructionSet { kSse41, kAvx2, kAvx512, kNeon };

/// Whether this machine runs a set; never with scalar kernels only.
bool MachineHas(InstructionSet set) noexcept;

} // namespace kowen
