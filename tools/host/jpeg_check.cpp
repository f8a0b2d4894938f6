#include "host/jpeg_check.h"

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

constexpr size_t kFrameBytes = 8;   // of a frame header up to its component count
constexpr size_t kJfifBytes = 14;   // of the length word to the densities and thumbnail size
constexpr uint8_t kDotsPerInch = 1; // density unit

class Walk {
public:
    explicit Walk(std::span<const uint8_t> bytes) : file(bytes) {}

    JpegFacts Run() {
        if (file.size() < 4 || file[0] != 0xFF || file[1] != kStartOfImage)
            return Fail("it has no start");
        at = 2;
        while (facts.problem.empty() && !ended)
            Segment();
        if (facts.problem.empty() && facts.scans == 0)
            return Fail("it has no picture data");
        if (facts.problem.empty() && at != file.size())
            return Fail("something follows its end");
        return facts;
    }

private:
    JpegFacts Fail(const char *problem) {
        facts.problem = problem;
        return facts;
    }

    unsigned Short(size_t index) const { return file[index] * 256U + file[index + 1]; }

    void Segment() {
        if (at + 2 > file.size() || file[at] != 0xFF) {
            Fail("its end is missing");
            return;
        }
        const uint8_t marker = file[at + 1];
        at += 2;
        if (marker == kEndOfImage) {
            ended = true;
            return;
        }
        if (at + 2 > file.size() || Short(at) < 2 || at + Short(at) > file.size()) {
            Fail("it is cut off");
            return;
        }
        const size_t length = Short(at);
        Take(marker, length);
        at += length;
        if (marker == kStartOfScan)
            ScanData();
    }

    void Take(uint8_t marker, size_t length) {
        if ((marker == kStartOfFrame0 || marker == kStartOfFrame2) && length >= kFrameBytes) {
            facts.progressive = marker == kStartOfFrame2;
            facts.height = static_cast<int>(Short(at + 3));
            facts.width = static_cast<int>(Short(at + 5));
            facts.components = file[at + 7];
        } else if (marker == kApplication0 && length >= kJfifBytes &&
                   file[at + 9] == kDotsPerInch) {
            facts.xDpi = static_cast<int>(Short(at + 10));
            facts.yDpi = static_cast<int>(Short(at + 12));
        }
    }

    // Coded data runs to the next marker; a zero after FF makes it data, restart markers belong.
    void ScanData() {
        const size_t start = at;
        while (at + 1 < file.size()) {
            const uint8_t next = file[at + 1];
            if (file[at] == 0xFF && next != 0 && (next < kRestart0 || next > kRestart7))
                break;
            ++at;
        }
        if (at + 1 >= file.size())
            Fail("its end is missing");
        else if (at > start)
            ++facts.scans;
    }

    std::span<const uint8_t> file;
    size_t at = 0;
    bool ended = false;
    JpegFacts facts;
};

} // namespace

JpegFacts CheckJpeg(std::span<const uint8_t> file) {
    return Walk(file).Run();
}

} // namespace kowen::host
