// Small changes to the head of a JPEG: everything before its first scan. The file stays as valid
// as it was; what they change is what the filter writes otherwise than other programs read it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace kowen::host {

/// Changes to be made; empty ones leave the head as it is.
struct HeadEdits {
    /// The number of lines in the frame header. The filter codes an even number of rows; the true
    /// one makes a decoder leave out the last of them, which repeats the one before. The coded
    /// data is the same: an even number of rows never takes more blocks than the odd one below it.
    std::optional<uint16_t> height;

    /// The sample precision in the frame header becomes 8, which the samples have; the filter
    /// writes 24 for one component.
    bool eightBits = false;

    /// Dots per inch in the JFIF header.
    std::optional<uint16_t> xDpi;
    std::optional<uint16_t> yDpi;

    /// Whole segments to stand behind the JFIF header.
    std::vector<uint8_t> segments;

    bool Any() const { return height || eightBits || xDpi || yDpi || !segments.empty(); }
};

/// Whether the bytes go on to the first start-of-scan marker.
bool HeadIsWhole(const std::vector<uint8_t> &head);

/// Makes the changes. A head that is not as the filter writes it stays as it is; returns false
/// then.
bool EditHead(const HeadEdits &edits, std::vector<uint8_t> *head);

} // namespace kowen::host
