// Huffman codes and the entropy-coded bytes they end up in.
#pragma once

#include "reference/jpeg/tables.h"

#include <cstdint>
#include <cstdlib>
#include <map>
#include <vector>

namespace kowen::reference {

/// Entropy-coded bytes, filled bit by bit; a 0x00 follows each 0xFF.
class BitSink {
public:
    void PutBit(bool bit) {
        pending_ = pending_ * 2 + (bit ? 1 : 0);
        if (++count_ < 8)
            return;
        bytes_.push_back(static_cast<uint8_t>(pending_));
        if (pending_ == 0xFF)
            bytes_.push_back(0x00);
        pending_ = 0;
        count_ = 0;
    }

    /// The low bits of value, the highest of them first.
    void Put(uint32_t value, int bits) {
        for (int i = bits - 1; i >= 0; --i)
            PutBit(((value >> i) & 1) != 0);
    }

    void PadWithOnes() {
        while (count_ != 0)
            PutBit(true);
    }

    /// Bytes that are not entropy-coded; the sink stands at a byte boundary.
    void Append(const std::vector<uint8_t> &bytes) {
        bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    }

    const std::vector<uint8_t> &Bytes() const { return bytes_; }
    int PendingBits() const { return count_; }
    uint32_t PendingValue() const { return static_cast<uint32_t>(pending_); }

private:
    std::vector<uint8_t> bytes_;
    int pending_ = 0;
    int count_ = 0;
};

struct Code {
    uint32_t bits = 0;
    int length = 0;
};

/// The codes of a list by symbol: within a length they count up, and one more bit doubles them.
inline std::map<int, Code> CodesOf(const HuffmanList &list) {
    std::map<int, Code> codes;
    uint32_t next = 0;
    size_t place = 0;
    for (int length = 1; length <= 16; ++length) {
        for (int i = 0; i < list.counts[static_cast<size_t>(length - 1)]; ++i)
            codes[list.symbols[place++]] = {next++, length};
        next *= 2;
    }
    return codes;
}

/// Bits that a magnitude needs: 0 for 0, 1 for 1, 2 for 2 and 3, ...
inline int Category(int value) {
    int category = 0;
    for (int magnitude = std::abs(value); magnitude > 0; magnitude /= 2)
        ++category;
    return category;
}

/// The bits of a value within its category: itself, or one less when it is negative.
inline uint32_t AppendedBits(int value) {
    return static_cast<uint32_t>(value < 0 ? value - 1 : value);
}

} // namespace kowen::reference
