// Decodes a JPEG with a decoder that shares no code with libjpeg. Link kowen_test_second_decoder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kowen::test {

struct SecondDecoded {
    std::string error; ///< empty when it decoded
    int width = 0;
    int height = 0;
    int components = 0;          ///< in the file
    std::vector<uint8_t> pixels; ///< that many bytes per pixel, top row first

    const uint8_t *At(int x, int y) const {
        return pixels.data() + (static_cast<size_t>(y) * width + x) * components;
    }
};

SecondDecoded DecodeOtherwise(const std::vector<uint8_t> &jpeg);

} // namespace kowen::test
