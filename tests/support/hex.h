// Literal bytes in tests: "FF D8 FF E0".
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

/// Two hexadecimal digits a byte; anything else between bytes is skipped.
inline std::vector<uint8_t> FromHex(const std::string &text) {
    std::vector<uint8_t> bytes;
    std::string digits;
    for (const char c : text) {
        if (std::string("0123456789ABCDEFabcdef").find(c) == std::string::npos)
            continue;
        digits += c;
        if (digits.size() < 2)
            continue;
        bytes.push_back(static_cast<uint8_t>(std::strtoul(digits.c_str(), nullptr, 16)));
        digits.clear();
    }
    return bytes;
}

inline std::vector<uint8_t> operator+(std::vector<uint8_t> a, const std::vector<uint8_t> &b) {
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

inline bool BeginsWith(const std::vector<uint8_t> &bytes, const std::vector<uint8_t> &head) {
    return bytes.size() >= head.size() && std::equal(head.begin(), head.end(), bytes.begin());
}

inline bool EndsWith(const std::vector<uint8_t> &bytes, const std::vector<uint8_t> &tail) {
    return bytes.size() >= tail.size() && std::equal(tail.rbegin(), tail.rend(), bytes.rbegin());
}

/// The marker that ends a JPEG.
inline const std::vector<uint8_t> kEndOfImage = {0xFF, 0xD9};
