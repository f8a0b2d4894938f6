// A whole picture in memory, as it is shown.
#pragma once

#include "host_library.h"
#include "options.h"
#include "readers/source.h"

#include <cstdint>
#include <string>
#include <vector>

namespace kowen::cli {

/// RGB, top row first, without gaps.
struct PlainPicture {
    uint32_t width = 0;
    uint32_t height = 0;
    std::vector<uint8_t> pixels;
    double xDpi = 0;
    double yDpi = 0;
    std::vector<uint8_t> icc;

    const uint8_t *Row(uint32_t y) const { return pixels.data() + size_t{width} * 3 * y; }
    uint8_t *Row(uint32_t y) { return pixels.data() + size_t{width} * 3 * y; }
};

/// Reads a picture: resized as asked for, transparent pixels on the background, turned upright.
PlainPicture LoadPlainPicture(const std::string &path, const PictureOptions &options,
                              const ReadOptions &reading);

/// Decodes a JPEG in memory.
PlainPicture DecodeJpeg(const std::vector<uint8_t> &jpeg);

/// It as the host library takes it. Borrowed.
KowenPicture RecordOf(const PlainPicture &picture);

/// How near `result` comes to the picture, in decibels over all three channels; infinite for equal
/// ones, not a number for sizes that cannot be compared. A row more at the bottom is not looked at.
double Psnr(const PlainPicture &picture, const PlainPicture &result);

} // namespace kowen::cli
