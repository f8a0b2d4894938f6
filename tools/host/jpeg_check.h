// Whether an exported file is whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kowen::host {

/// What a JPEG file says about itself.
struct JpegFacts {
    std::string problem; ///< empty for a whole file
    int width = 0;
    int height = 0;
    int components = 0;
    bool progressive = false;
    int xDpi = 0;
    int yDpi = 0;
    int scans = 0;
};

/// Walks through all segments: a whole file starts with a start-of-image marker, has a frame and
/// at least one scan with data, and ends with the end-of-image marker at its last byte.
JpegFacts CheckJpeg(std::span<const uint8_t> file);

} // namespace kowen::host
