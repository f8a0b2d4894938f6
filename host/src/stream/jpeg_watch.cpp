#include "stream/jpeg_watch.h"

#include <cstring>

namespace kowen::host {
namespace {

// Second bytes of the markers (T.81 table B.1).
enum Marker : uint8_t {
    kStartOfFrame0 = 0xC0,
    kStartOfFrame2 = 0xC2,
    kRestart0 = 0xD0,
    kRestart7 = 0xD7,
    kStartOfImage = 0xD8,
    kEndOfImage = 0xD9,
    kStartOfScan = 0xDA,
    kApplication0 = 0xE0
};

constexpr uint8_t kDotsPerInch = 1; // density unit

// Places in a segment, behind its length word.
constexpr size_t kFrameBytes = 6;
constexpr size_t kJfifBytes = 12;

} // namespace

void JpegWatch::Take(const uint8_t *bytes, size_t count) {
    facts.bytes += count;
    for (size_t i = 0; i < count; ++i) {
        if (state == State::kData && bytes[i] != 0xFF) {
            scanHasData = true;
            const void *next = std::memchr(bytes + i, 0xFF, count - i);
            if (next == nullptr)
                return;
            i = static_cast<size_t>(static_cast<const uint8_t *>(next) - bytes);
        }
        TakeByte(bytes[i]);
    }
}

void JpegWatch::TakeByte(uint8_t byte) {
    switch (state) {
    case State::kStart:
        if (byte != (taken == 0 ? 0xFF : kStartOfImage))
            state = State::kBroken;
        else if (++taken == 2)
            state = State::kMarkerPrefix;
        break;
    case State::kMarkerPrefix:
        state = byte == 0xFF ? State::kMarker : State::kBroken;
        break;
    case State::kMarker:
        TakeMarker(byte);
        break;
    case State::kLength:
        TakeLength(byte);
        break;
    case State::kSegment:
        TakeSegmentByte(byte);
        break;
    case State::kData:
        state = State::kDataMarker; // only FF comes here
        break;
    case State::kDataMarker:
        // A zero after FF makes it data, restart markers belong.
        if (byte == 0 || (byte >= kRestart0 && byte <= kRestart7)) {
            scanHasData = true;
            state = State::kData;
        } else if (byte != 0xFF) {
            facts.scans += scanHasData ? 1 : 0;
            TakeMarker(byte);
        }
        break;
    case State::kEnd:
        state = State::kBroken; // something follows
        break;
    case State::kBroken:
        break;
    }
}

void JpegWatch::TakeMarker(uint8_t byte) {
    marker = byte;
    taken = 0;
    length = 0;
    state = byte == kEndOfImage ? State::kEnd : State::kLength;
}

void JpegWatch::TakeLength(uint8_t byte) {
    length = length * 256 + byte;
    if (++taken < 2)
        return;
    taken = 0;
    if (length < 2) {
        state = State::kBroken;
        return;
    }
    length -= 2;
    state = State::kSegment;
    if (length == 0)
        EndSegment();
}

void JpegWatch::TakeSegmentByte(uint8_t byte) {
    if (taken < sizeof start)
        start[taken] = byte;
    if (++taken == length)
        EndSegment();
}

void JpegWatch::EndSegment() {
    if ((marker == kStartOfFrame0 || marker == kStartOfFrame2) && length >= kFrameBytes) {
        facts.height = Short(1);
        facts.width = Short(3);
        facts.components = start[5];
    } else if (marker == kApplication0 && length >= kJfifBytes && start[7] == kDotsPerInch) {
        facts.xDpi = Short(8);
        facts.yDpi = Short(10);
    }
    scanHasData = false;
    state = marker == kStartOfScan ? State::kData : State::kMarkerPrefix;
}

const char *JpegWatch::Problem() const {
    if (state == State::kStart)
        return "it has no start";
    if (state == State::kBroken)
        return "it is damaged";
    if (state != State::kEnd)
        return "its end is missing";
    if (facts.scans == 0 || facts.components == 0)
        return "it has no picture data";
    return nullptr;
}

} // namespace kowen::host
