// What --resize asks for.
#pragma once

#include <cstdint>
#include <string>

namespace kowen::cli {

struct PixelSize {
    uint32_t width = 0;
    uint32_t height = 0;

    bool operator==(const PixelSize &) const = default;
};

/// A width, a height, a box or per cent; nothing asked for when all are 0.
struct ResizeChoice {
    uint32_t width = 0;
    uint32_t height = 0;
    double percent = 0;
    bool shrinkOnly = false; ///< pictures that fit already stay as they are

    bool Wanted() const { return width != 0 || height != 0 || percent != 0; }
};

/// Reads 1200x, x800, 1200x800 or 50%. Throws UsageFailure that says what is expected.
ResizeChoice ParseResize(const std::string &text);

/// The size that a picture gets: its proportions are kept, a box is fitted into, and fractions are
/// rounded to the nearest pixel, at least one. Throws Failure for more than 65535 a side.
PixelSize ResizedSize(const ResizeChoice &choice, const PixelSize &picture);

} // namespace kowen::cli
