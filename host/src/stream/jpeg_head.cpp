#include "stream/jpeg_head.h"

namespace kowen::host {
namespace {

// Second bytes of the markers (T.81 table B.1).
enum Marker : uint8_t {
    kStartOfFrame0 = 0xC0,
    kStartOfFrame2 = 0xC2,
    kStartOfScan = 0xDA,
    kApplication0 = 0xE0
};

// Places in a segment, from its marker.
constexpr size_t kPrecision = 4;   // P
constexpr size_t kLines = 5;       // Y
constexpr size_t kFrameBytes = 10; // up to the component count
constexpr size_t kXDensity = 12;   // behind the identifier, version and unit
constexpr size_t kYDensity = 14;
constexpr size_t kJfifBytes = 18;

unsigned Short(const std::vector<uint8_t> &bytes, size_t at) {
    return bytes[at] * 256U + bytes[at + 1];
}

void PutShort(std::vector<uint8_t> *bytes, size_t at, uint16_t value) {
    (*bytes)[at] = static_cast<uint8_t>(value >> 8);
    (*bytes)[at + 1] = static_cast<uint8_t>(value);
}

// Where a segment starts and ends; the last one of the head has no end.
struct Places {
    size_t jfif = 0;
    size_t jfifEnd = 0;
    size_t frame = 0;
    bool scan = false;
};

Places FindPlaces(const std::vector<uint8_t> &head) {
    Places places;
    for (size_t at = 2; at + 2 <= head.size() && head[at] == 0xFF;) {
        const uint8_t marker = head[at + 1];
        if (marker == kStartOfScan) {
            places.scan = true;
            break;
        }
        if (at + 4 > head.size() || at + 2 + Short(head, at + 2) > head.size())
            break;
        const size_t size = 2 + Short(head, at + 2);
        if (marker == kApplication0 && size >= kJfifBytes && places.jfif == 0) {
            places.jfif = at;
            places.jfifEnd = at + size;
        } else if ((marker == kStartOfFrame0 || marker == kStartOfFrame2) && size >= kFrameBytes) {
            places.frame = at;
        }
        at += size;
    }
    return places;
}

} // namespace

bool HeadIsWhole(const std::vector<uint8_t> &head) {
    return FindPlaces(head).scan;
}

bool EditHead(const HeadEdits &edits, std::vector<uint8_t> *head) {
    const Places places = FindPlaces(*head);
    if (places.jfif == 0 || places.frame == 0)
        return false;
    if (edits.height)
        PutShort(head, places.frame + kLines, *edits.height);
    if (edits.eightBits)
        (*head)[places.frame + kPrecision] = 8;
    if (edits.xDpi)
        PutShort(head, places.jfif + kXDensity, *edits.xDpi);
    if (edits.yDpi)
        PutShort(head, places.jfif + kYDensity, *edits.yDpi);
    head->insert(head->begin() + static_cast<ptrdiff_t>(places.jfifEnd), edits.segments.begin(),
                 edits.segments.end());
    return true;
}

} // namespace kowen::host
