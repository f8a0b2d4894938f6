#include "jpeg/entropy_coder.h"

#include "jpeg/bit_output.h"

namespace kowen {

EntropyWriter::EntropyWriter(CompressEnv &env, uint32_t &fillCount) noexcept
    : env_(env), fillCount_(fillCount), out_(env.outputBuffer + fillCount),
      limit_(env.outputBuffer + env.outputCapacity) {
    pending_ = static_cast<uint32_t>(std::countl_zero(env.bitMask)) % 8;
    accumulator_ = env.pendingByte >> (8 - pending_);
}

void EntropyWriter::MakeRoom() noexcept {
    fillCount_ = env_.outputBuffer == nullptr ? 0 : static_cast<uint32_t>(out_ - env_.outputBuffer);
    if (ReserveOutput(&env_, &fillCount_, kMaxBlockBytes) == 0) {
        out_ = env_.outputBuffer + fillCount_;
        limit_ = env_.outputBuffer + env_.outputCapacity;
        return;
    }
    out_ = discard_;
    limit_ = discard_ + sizeof(discard_);
}

void EntropyWriter::End() noexcept {
    BeginBlock();
    StoreBytes();
    env_.pendingByte = static_cast<uint8_t>(pending_ == 0 ? 0 : accumulator_ << (8 - pending_));
    env_.bitMask = static_cast<uint8_t>(128u >> pending_);
    fillCount_ = env_.outputBuffer == nullptr ? 0 : static_cast<uint32_t>(out_ - env_.outputBuffer);
}

} // namespace kowen
