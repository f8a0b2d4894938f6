#include "color/layout32.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr uint32_t kBytesPerPixel = 4;

// The pixels of a bitmap of 32 bits that its block holds; rows have no padding.
size_t PixelsInside(MemoryHandle bits, uint32_t width, uint32_t height) noexcept {
    const uint64_t pixels = uint64_t{width} * height;
    return static_cast<size_t>(std::min(pixels, uint64_t{GlobalSize(bits) / kBytesPerPixel}));
}

uint8_t Light(uint8_t ink, uint8_t black) noexcept {
    return static_cast<uint8_t>(255 - std::max(ink, black));
}

} // namespace

void rlRGB4toCMYK(MemoryHandle bits, uint32_t width, uint32_t height) noexcept {
    auto *pixels = Lock<uint8_t>(bits);
    for (size_t count = PixelsInside(bits, width, height); count > 0; --count, pixels += 4) {
        for (int i = 0; i < 3; ++i)
            pixels[i] = static_cast<uint8_t>(255 - pixels[i]);
        pixels[3] = 0;
    }
}

void rlCMYKtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept {
    const auto *source = Lock<const uint8_t>(bits);
    auto *target = Lock<uint8_t>(bits);
    for (size_t count = PixelsInside(bits, width, height); count > 0; --count) {
        const uint8_t black = source[3];
        for (int i = 0; i < 3; ++i)
            *target++ = Light(source[i], black);
        source += kBytesPerPixel;
    }
}

void rlALPHAtoRGB(MemoryHandle bits, uint32_t width, uint32_t height) noexcept {
    const auto *source = Lock<const uint8_t>(bits);
    auto *target = Lock<uint8_t>(bits);
    for (size_t count = PixelsInside(bits, width, height); count > 0; --count) {
        std::memmove(target, source, 3);
        source += kBytesPerPixel;
        target += 3;
    }
}

} // namespace kowen
