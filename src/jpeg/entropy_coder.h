// The fast form of the block coder: whole codes into a 64-bit accumulator, zero runs from the
// bits of the non-zero coefficients. Gives the bits that block_coder.h defines.
#pragma once

#include "jpeg/compress_env.h"
#include "jpeg/huffman_tables.h"
#include "jpeg/quant_tables.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace kowen {

/// Writes bits to the environment's output buffer from Begin to End; between the two the
/// environment's own bit state is not valid.
class EntropyWriter {
public:
    /// Bytes that one block can take at most: 22 + 63 x 26 bits, the bits already pending, all of
    /// them stuffed, and one word of slack.
    static constexpr uint32_t kMaxBlockBytes = 512;

    /// Takes over the environment's bit state. fillCount: bytes already in the buffer.
    EntropyWriter(CompressEnv &env, uint32_t &fillCount) noexcept;
    EntropyWriter(const EntropyWriter &) = delete;
    EntropyWriter &operator=(const EntropyWriter &) = delete;

    /// Must come before each block: makes room for kMaxBlockBytes.
    void BeginBlock() noexcept {
        if (static_cast<uint32_t>(limit_ - out_) < kMaxBlockBytes)
            MakeRoom();
    }

    /// Appends count bits, 0 to 32; bits above them must be 0.
    void Put(uint32_t bits, uint32_t count) noexcept {
        if (pending_ + count > 64) [[unlikely]]
            StoreBytes();
        accumulator_ = accumulator_ << count | bits;
        pending_ += count;
    }

    void Put(const HuffmanEntry &entry) noexcept { Put(entry.code, entry.length); }

    /// Must come after each block: stores its whole bytes, so that most blocks meet an accumulator
    /// that has room for all of them.
    void EndBlock() noexcept { StoreBytes(); }

    /// Gives the bit state back and sets the fill count; 0 bytes after a failed growth.
    void End() noexcept;

private:
    void StoreBytes() noexcept;
    void MakeRoom() noexcept;

    CompressEnv &env_;
    uint32_t &fillCount_;
    uint64_t accumulator_; // pending bits, right-aligned; the ones above are stale
    uint32_t pending_;     // 0 to 64
    uint8_t *out_;
    uint8_t *limit_;
    uint8_t discard_[kMaxBlockBytes]; // takes what is coded after a failed growth
};

/// Stores the whole bytes among the pending bits, all at once when none of them is 0xFF.
inline void EntropyWriter::StoreBytes() noexcept {
    uint64_t word = pending_ == 0 ? 0 : accumulator_ << (64 - pending_);
    uint32_t bytes = pending_ / 8;
    pending_ %= 8;
    // A byte is 0xFF if its top bit is set and adding 1 clears it.
    constexpr uint64_t kTops = 0x8080808080808080u;
    const bool stuffing = (word & kTops & ~(word + 0x0101010101010101u)) != 0;
    if (!stuffing) [[likely]] {
        if constexpr (std::endian::native == std::endian::little)
            word = __builtin_bswap64(word);
        std::memcpy(out_, &word, sizeof(word));
        out_ += bytes;
        return;
    }
    for (; bytes > 0; --bytes, word <<= 8) {
        *out_++ = static_cast<uint8_t>(word >> 56);
        if (word >> 56 == 0xFF)
            *out_++ = 0; // T.81 F.1.2.3, byte stuffing
    }
}

/// Codes a DC difference and moves the predictor: EncodeDC.
inline void PutDc(EntropyWriter &writer, const HuffmanEntry *differences, int16_t dc,
                  int16_t &predictor) noexcept {
    const int32_t difference = dc - predictor;
    predictor = dc;
    writer.Put(differences[DcDifferenceIndex(difference) & (kDcDifferences - 1)]);
}

/// Codes one AC coefficient behind run zeros: EncodeZRL and EncodeACCoef.
inline void PutAc(EntropyWriter &writer, const HuffmanEntry *codes, uint32_t run,
                  int32_t coefficient) noexcept {
    for (; run > 15; run -= 16)
        writer.Put(codes[0xF0]);
    const uint32_t magnitude = static_cast<uint32_t>(coefficient < 0 ? -coefficient : coefficient);
    const auto category = static_cast<uint32_t>(std::bit_width(magnitude));
    const uint32_t appended =
        static_cast<uint32_t>(coefficient - (coefficient < 0 ? 1 : 0)) & ((1u << category) - 1u);
    const HuffmanEntry &entry = codes[run * 16 + category];
    writer.Put(entry.code << category | appended, entry.length + category);
}

/// Codes the AC coefficients of a block whose non-zero zig-zag positions are given.
/// Returns the zeros behind the last of them.
inline uint32_t PutAcCoefficients(EntropyWriter &writer, const HuffmanEntry *codes,
                                  const int16_t *block, uint64_t nonZero) noexcept {
    uint32_t next = 1;
    for (uint64_t left = nonZero & ~uint64_t{1}; left != 0; left &= left - 1) {
        const auto k = static_cast<uint32_t>(std::countr_zero(left));
        PutAc(writer, codes, k - next, block[ZZ[k]]);
        next = k + 1;
    }
    return 64 - next;
}

/// Codes a whole block, sequential mode: EncodeBlock.
inline void PutBlock(EntropyWriter &writer, const HuffmanEntry *differences,
                     const HuffmanEntry *codes, const int16_t *block, uint64_t nonZero,
                     int16_t &predictor) noexcept {
    writer.BeginBlock();
    PutDc(writer, differences, block[0], predictor);
    if (PutAcCoefficients(writer, codes, block, nonZero) != 0)
        writer.Put(codes[0x00]); // end of block
    writer.EndBlock();
}

} // namespace kowen
