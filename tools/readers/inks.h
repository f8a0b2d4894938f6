// Pictures in inks, brought to the screen's colours.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

namespace kowen::cli {

class Inks {
public:
    static constexpr size_t kChannels = 4;

    /// profile  an ICC profile of cyan, magenta, yellow and black; empty or of something else: the
    ///          inks take away their part of the light.
    explicit Inks(std::span<const uint8_t> profile);
    ~Inks();
    Inks(const Inks &) = delete;
    Inks &operator=(const Inks &) = delete;

    /// inks  kChannels bytes a pixel, 255 is none.
    /// rgb   out: sRGB, 3 bytes a pixel.
    void ToRgb(const uint8_t *inks, size_t pixels, uint8_t *rgb) const;

    /// A sentence about the conversion, for the user.
    std::string Note() const;

private:
    void *transform = nullptr;
};

} // namespace kowen::cli
