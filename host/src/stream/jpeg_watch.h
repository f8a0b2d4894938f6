// Whether a JPEG that passes by is whole, and what it says about itself.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kowen::host {

/// What a JPEG file says about itself.
struct JpegFacts {
    uint64_t bytes = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t components = 0;
    uint32_t xDpi = 0;
    uint32_t yDpi = 0;
    uint32_t scans = 0; ///< with data
};

/// Walks through the segments as they come, in pieces of any size.
class JpegWatch {
public:
    void Take(const uint8_t *bytes, size_t count);

    const JpegFacts &Facts() const { return facts; }

    /// Null for a whole file: it starts with a start-of-image marker, has a frame and a scan with
    /// data, and the end-of-image marker is its last two bytes. Else what is wrong. Static.
    const char *Problem() const;

private:
    enum class State : uint8_t {
        kStart,
        kMarkerPrefix,
        kMarker,
        kLength,
        kSegment,
        kData,
        kDataMarker,
        kEnd,
        kBroken
    };

    void TakeByte(uint8_t byte);
    void TakeMarker(uint8_t byte);
    void TakeLength(uint8_t byte);
    void TakeSegmentByte(uint8_t byte);
    void EndSegment();
    unsigned Short(size_t at) const { return start[at] * 256U + start[at + 1]; }

    State state = State::kStart;
    uint8_t marker = 0;
    bool scanHasData = false;
    size_t taken = 0;  ///< of the start, the length or the segment
    size_t length = 0; ///< of the segment, behind its length word
    uint8_t start[16] = {};
    JpegFacts facts;
};

} // namespace kowen::host
