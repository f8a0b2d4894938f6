#include "stream/metadata.h"

#include <algorithm>

namespace kowen::host {
namespace {

// Second bytes of the markers (T.81 table B.1).
constexpr uint8_t kApplication1 = 0xE1;
constexpr uint8_t kApplication2 = 0xE2;
constexpr uint8_t kComment = 0xFE;

constexpr size_t kMostBody = 65533; // of a segment, behind its length word
constexpr char kExifIdentifier[] = {'E', 'x', 'i', 'f', 0, 0};
constexpr char kIccIdentifier[] = {'I', 'C', 'C', '_', 'P', 'R', 'O', 'F', 'I', 'L', 'E', 0};
constexpr size_t kIccChunk = kMostBody - sizeof kIccIdentifier - 2; // 65519
constexpr size_t kMostChunks = 255;

void BeginSegment(uint8_t marker, size_t body, std::vector<uint8_t> *segments) {
    const size_t length = body + 2;
    segments->insert(segments->end(), {0xFF, marker, static_cast<uint8_t>(length >> 8),
                                       static_cast<uint8_t>(length)});
}

template <typename Bytes> void Append(const Bytes &bytes, std::vector<uint8_t> *segments) {
    segments->insert(segments->end(), std::begin(bytes), std::end(bytes));
}

} // namespace

bool ExifFits(size_t size) {
    return size <= kMostBody - sizeof kExifIdentifier;
}

bool IccFits(size_t size) {
    return size <= kIccChunk * kMostChunks;
}

bool CommentFits(size_t size) {
    return size <= kMostBody;
}

void AppendExif(std::span<const uint8_t> tiff, std::vector<uint8_t> *segments) {
    BeginSegment(kApplication1, sizeof kExifIdentifier + tiff.size(), segments);
    Append(kExifIdentifier, segments);
    Append(tiff, segments);
}

void AppendIcc(std::span<const uint8_t> profile, std::vector<uint8_t> *segments) {
    const size_t chunks = (profile.size() + kIccChunk - 1) / kIccChunk;
    for (size_t i = 0; i < chunks; ++i) {
        const std::span<const uint8_t> chunk =
            profile.subspan(i * kIccChunk, std::min(kIccChunk, profile.size() - i * kIccChunk));
        BeginSegment(kApplication2, sizeof kIccIdentifier + 2 + chunk.size(), segments);
        Append(kIccIdentifier, segments);
        segments->push_back(static_cast<uint8_t>(i + 1)); // counted from 1
        segments->push_back(static_cast<uint8_t>(chunks));
        Append(chunk, segments);
    }
}

void AppendComment(const std::string &text, std::vector<uint8_t> *segments) {
    BeginSegment(kComment, text.size(), segments);
    Append(text, segments);
}

} // namespace kowen::host
