// Builders for the colour tests: blocks from bytes, and random pictures that repeat.
#pragma once

#include "platform/global_memory.h"
#include "reference/color/bitmap.h"

#include <gtest/gtest.h>

#include <cstring>
#include <initializer_list>
#include <vector>

namespace kowen {

using reference::Bytes;

/// A block that is freed at the end of its scope.
class Block {
public:
    Block() = default;
    explicit Block(MemoryHandle block) : handle(block) {}
    explicit Block(const Bytes &bytes)
        : handle(GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes.size()))) {
        if (!bytes.empty())
            std::memcpy(GlobalLock(handle), bytes.data(), bytes.size());
    }
    Block(Block &&other) noexcept : handle(other.handle) { other.handle = 0; }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    ~Block() { GlobalFree(handle); }

    operator MemoryHandle() const { return handle; }
    uint8_t *Data() const { return Lock<uint8_t>(handle); }

private:
    MemoryHandle handle = 0;
};

/// The bytes of a block; empty for handle 0.
inline Bytes Contents(MemoryHandle block) {
    const auto *data = Lock<const uint8_t>(block);
    return data == nullptr ? Bytes() : Bytes(data, data + GlobalSize(block));
}

/// A small generator: the same numbers on every machine.
class Random {
public:
    explicit Random(uint32_t seed) : state(seed * 2654435761u + 1) {}
    uint32_t Next() {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }
    /// A number below limit.
    uint32_t Below(uint32_t limit) { return Next() % limit; }
    uint8_t Byte() { return static_cast<uint8_t>(Next() >> 16); }

private:
    uint32_t state;
};

inline Bytes RandomBytes(Random &random, size_t count) {
    Bytes bytes(count);
    for (uint8_t &byte : bytes)
        byte = random.Byte();
    return bytes;
}

/// A colour table of which about a third is grey and some entries repeat.
inline Bytes RandomTable(Random &random, uint32_t entries) {
    Bytes table = RandomBytes(random, size_t{entries} * 3);
    for (uint32_t i = 0; i < entries; ++i) {
        uint8_t *entry = &table[3 * i];
        if (random.Below(3) == 0)
            entry[1] = entry[2] = entry[0];
        else if (random.Below(8) == 0)
            std::memmove(entry, &table[size_t{3} * random.Below(i + 1)], 3);
    }
    return table;
}

/// Tables of one size: random, of repeated extremes, without greys, of greys only, and on a lattice
/// as quantised colours are.
inline std::vector<Bytes> TableKinds(Random &random, uint32_t entries) {
    std::vector<Bytes> kinds(5, RandomTable(random, entries));
    for (size_t i = 0; i < kinds[0].size(); ++i) {
        kinds[1][i] = random.Below(2) == 0 ? 0 : 255;
        kinds[2][i] = static_cast<uint8_t>(i % 3 == 0 ? kinds[0][i] | 1 : kinds[0][i] & ~1);
        kinds[3][i] = kinds[0][i / 3 * 3];
        kinds[4][i] = static_cast<uint8_t>(random.Below(5) * 8 + 103);
    }
    return kinds;
}

/// A padded bitmap of random bytes, the padding too. True colours are often near grey.
inline Bytes RandomBitmap(Random &random, uint32_t width, uint32_t height, uint16_t bits) {
    Bytes bitmap = RandomBytes(random, reference::MakeBitmap(width, height, bits).size());
    if (bits == 24 || bits == 32) {
        for (size_t i = 0; i + 3 < bitmap.size(); i += bits / 8u)
            if (random.Below(3) == 0)
                for (size_t c = 1; c < 3; ++c)
                    bitmap[i + c] = static_cast<uint8_t>(bitmap[i] + random.Below(6));
    }
    return bitmap;
}

} // namespace kowen
