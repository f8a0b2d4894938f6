#include "jpeg/entropy_output.h"

#include "jpeg/bit_output.h"

#include <bit>

namespace kowen {

EntropyOutput::EntropyOutput(CompressEnv &env, uint32_t &fillCount) noexcept
    : env_(env), fillCount_(fillCount), kernels_(ActiveKernels()) {
    sink_.pending = static_cast<uint32_t>(std::countl_zero(env.bitMask)) % 8;
    sink_.accumulator = env.pendingByte >> (8 - sink_.pending);
    sink_.out = env.outputBuffer + fillCount;
    sink_.limit = env.outputBuffer + env.outputCapacity;
}

void EntropyOutput::SetFillCount() noexcept {
    fillCount_ =
        env_.outputBuffer == nullptr ? 0 : static_cast<uint32_t>(sink_.out - env_.outputBuffer);
}

void EntropyOutput::MakeRoom(uint32_t bytes) noexcept {
    SetFillCount();
    if (ReserveOutput(&env_, &fillCount_, bytes) == 0) {
        sink_.out = env_.outputBuffer + fillCount_;
        sink_.limit = env_.outputBuffer + env_.outputCapacity;
        return;
    }
    sink_.out = discard_;
    sink_.limit = discard_ + sizeof(discard_);
}

void EntropyOutput::CodeMcus(ComponentBlocks *components, uint32_t count, uint32_t mcus) noexcept {
    while ((mcus -= kernels_.codeMcus(&sink_, components, count, mcus)) > 0)
        MakeRoom(kMaxMcuBytes);
}

void EntropyOutput::CodeDcs(ComponentDcs *components, uint32_t count, uint32_t mcus) noexcept {
    while ((mcus -= kernels_.codeDcs(&sink_, components, count, mcus)) > 0)
        MakeRoom(kMaxMcuBytes);
}

void EntropyOutput::CodeAcs(AcScan &scan, const uint64_t *nonZero, const int16_t *&packed,
                            uint32_t blocks) noexcept {
    for (;;) {
        const uint32_t coded = kernels_.codeAcs(&sink_, &scan, nonZero, &packed, blocks);
        nonZero += coded;
        blocks -= coded;
        if (blocks == 0)
            return;
        MakeRoom(kMaxBlockBytes);
    }
}

void EntropyOutput::EndAcs(AcScan &scan) noexcept {
    MakeRoom(kMaxBlockBytes);
    kernels_.endAcs(&sink_, &scan);
}

void EntropyOutput::End() noexcept {
    // The kernels leave fewer than 8 bits behind.
    env_.pendingByte =
        static_cast<uint8_t>(sink_.pending == 0 ? 0 : sink_.accumulator << (8 - sink_.pending));
    env_.bitMask = static_cast<uint8_t>(128u >> sink_.pending);
    SetFillCount();
}

} // namespace kowen
