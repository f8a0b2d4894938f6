// The entropy kernels' way into the environment's output buffer.
#pragma once

#include "jpeg/compress_env.h"
#include "jpeg/kernels.h"

#include <cstdint>

namespace kowen {

/// Takes over the environment's bit state from construction to End; between the two the
/// environment's own is not valid. After a failed growth of the buffer, which loses it, coding goes
/// on into a place that is thrown away, so that the bit state stays consistent.
class EntropyOutput {
public:
    /// fillCount: bytes already in the buffer.
    EntropyOutput(CompressEnv &env, uint32_t &fillCount) noexcept;
    EntropyOutput(const EntropyOutput &) = delete;
    EntropyOutput &operator=(const EntropyOutput &) = delete;

    /// Codes MCUs of whole blocks: see Kernels::codeMcus.
    void CodeMcus(ComponentBlocks *components, uint32_t count, uint32_t mcus) noexcept;
    /// Codes MCUs of DC coefficients: see Kernels::codeDcs.
    void CodeDcs(ComponentDcs *components, uint32_t count, uint32_t mcus) noexcept;
    /// Codes the AC coefficients of blocks: see Kernels::codeAcs.
    void CodeAcs(AcScan &scan, const uint64_t *nonZero, const int16_t *&packed,
                 uint32_t blocks) noexcept;
    /// Ends an AC scan: see Kernels::endAcs.
    void EndAcs(AcScan &scan) noexcept;

    /// Gives the bit state back and sets the fill count; 0 bytes after a failed growth.
    void End() noexcept;

private:
    void MakeRoom(uint32_t bytes) noexcept;
    void SetFillCount() noexcept;

    CompressEnv &env_;
    uint32_t &fillCount_;
    const Kernels &kernels_;
    BitSink sink_;
    uint8_t discard_[kMaxMcuBytes]; // takes what is coded after a failed growth
};

} // namespace kowen
