// The bit writer: entropy-coded bits to bytes, with byte stuffing (T.81 F.1.2.3).
#pragma once

#include <cstdint>

namespace kowen {

struct CompressEnv;

/// Appends the low bitCount bits of value, most significant first, to the environment's output
/// buffer. A completed byte of 0xFF is followed by a 0x00. Bits that do not fill a byte stay in the
/// environment between calls and between bands.
///
/// outputIgnored  kept for the calling shape.
/// fillCount      in/out: bytes in the output buffer.
/// bitCount       0 to 32; 0 does nothing.
/// Returns 0; -1 for a negative count; 300 when the buffer cannot be grown, the bytes of the band
/// are lost then and the bit state goes on as if they had been stored.
///
/// Counts above 32 append zeros first, as the value has no more bits.
///
/// Hardened: capacity for a byte and its stuffed zero is ensured before either is stored.
/// Test: OutputBitsTest.StuffedZeroIsNeverStoredBeyondTheBuffer.
/// Hardened: after a failed growth, which loses the buffer, the fill count is 0 and nothing is
/// stored. Test: OutputBitsTest.NothingIsStoredAfterAFailedGrowth.
int32_t OutputBits(uint8_t *outputIgnored, uint32_t *fillCount, uint32_t value, int32_t bitCount,
                   CompressEnv *env) noexcept;

/// Ensures capacity for count more bytes, growing the buffer in steps of kOutputGrowth.
/// Returns 0 or 300; then the buffer is gone and the fill count 0.
int32_t ReserveOutput(CompressEnv *env, uint32_t *fillCount, uint32_t count) noexcept;

} // namespace kowen
