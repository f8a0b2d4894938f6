// What every fuzzer takes its decisions from: the bytes of one input, from the first to the last.
//
// An input that has ended gives zeros, so that every input is a whole one. The same bytes give the
// same numbers on every machine.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

namespace kowen::fuzz {

using Bytes = std::vector<uint8_t>;

/// Ends the process, for the fuzzer to keep the input. what: what should have held.
inline void Require(bool holds, const char *what) {
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

/// Adds a value's bytes, as they stand in memory.
template <typename T> void Append(Bytes &bytes, T value) {
    const auto *first = reinterpret_cast<const uint8_t *>(&value);
    bytes.insert(bytes.end(), first, first + sizeof value);
}

class Input {
public:
    Input(const uint8_t *start, size_t count) : next(start), left(count) {}

    size_t Left() const { return left; }

    uint8_t Byte() {
        if (left == 0)
            return 0;
        --left;
        return *next++;
    }
    bool Bool() { return (Byte() & 1) != 0; }
    /// True for one byte out of so many, never for 0. oneIn: up to 256.
    bool Seldom(int oneIn) { return Byte() % oneIn == oneIn - 1; }

    /// A number of any value; its bytes are taken lowest first.
    template <typename T> T Number() {
        uint64_t bits = 0;
        for (size_t i = 0; i < sizeof(T); ++i)
            bits |= uint64_t{Byte()} << 8 * i;
        if constexpr (std::is_same_v<T, double>) {
            double value;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        } else {
            return static_cast<T>(bits);
        }
    }

    /// 0 to limit - 1, of as few bytes as will do. limit: at least 1.
    uint32_t Below(uint32_t limit) {
        const uint32_t number = limit <= 256     ? Byte()
                                : limit <= 65536 ? Number<uint16_t>()
                                                 : Number<uint32_t>();
        return number % limit;
    }
    /// Both limits are included.
    int32_t Between(int32_t least, int32_t most) {
        return least + static_cast<int32_t>(Below(static_cast<uint32_t>(most - least) + 1));
    }

    template <typename T, size_t N> T Pick(const T (&choices)[N]) { return choices[Below(N)]; }

    /// As many bytes as are left, at most count.
    Bytes Take(size_t count) {
        count = std::min(count, left);
        const Bytes bytes(next, next + count);
        next += count;
        left -= count;
        return bytes;
    }

    /// Exactly count bytes; where the input ends, some that follow from those before.
    Bytes Fill(size_t count) {
        Bytes bytes = Take(count);
        for (size_t i = bytes.size(); i < count; ++i)
            bytes.push_back(i >= 61 ? bytes[i - 61] : static_cast<uint8_t>(i * 37));
        return bytes;
    }

    /// The text up to one of the ends, which is taken too, or to the end of the input.
    std::string Text(const char *ends) {
        std::string text;
        while (left > 0) {
            const char c = static_cast<char>(Byte());
            if (c != '\0' && std::strchr(ends, c) != nullptr)
                break;
            text += c;
        }
        return text;
    }

private:
    const uint8_t *next;
    size_t left;
};

} // namespace kowen::fuzz
