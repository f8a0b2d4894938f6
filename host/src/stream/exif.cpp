#include "stream/exif.h"

#include <algorithm>
#include <cstring>
#include <optional>

namespace kowen::host {
namespace {

// Tags (EXIF 2.3, tables 4 to 9, and TIFF 6.0).
enum Tag : uint16_t {
    kImageWidth = 0x0100,
    kImageLength = 0x0101,
    kOrientation = 0x0112,
    kXResolution = 0x011A,
    kYResolution = 0x011B,
    kResolutionUnit = 0x0128,
    kThumbnail = 0x0201,
    kThumbnailBytes = 0x0202,
    kExifDirectory = 0x8769,
    kGpsDirectory = 0x8825,
    kPixelXDimension = 0xA002,
    kPixelYDimension = 0xA003,
    kInteroperability = 0xA005
};

constexpr uint16_t kShort = 3;
constexpr uint16_t kLong = 4;
constexpr uint16_t kRational = 5;
constexpr size_t kRationalBytes = 8;
constexpr uint32_t kInch = 2;
constexpr size_t kHeaderBytes = 8;
constexpr size_t kEntryBytes = 12;
constexpr uint32_t kUpright = 1;
constexpr char kPrefix[] = {'E', 'x', 'i', 'f', 0, 0};

// Bytes of a value of each type; 0 for types that there are not.
size_t TypeBytes(uint16_t type) {
    constexpr uint8_t kBytes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};
    return type < sizeof kBytes ? kBytes[type] : 0;
}

// A part of the data.
struct Range {
    size_t begin;
    size_t end;
};

// A TIFF structure in memory; every access is checked.
class Tiff {
public:
    explicit Tiff(std::span<const uint8_t> exif) : bytes(exif.begin(), exif.end()) {
        if (bytes.size() >= sizeof kPrefix &&
            std::memcmp(bytes.data(), kPrefix, sizeof kPrefix) == 0)
            bytes.erase(bytes.begin(), bytes.begin() + sizeof kPrefix);
        constexpr uint8_t kLittle[] = {'I', 'I', 42, 0};
        constexpr uint8_t kBig[] = {'M', 'M', 0, 42};
        if (bytes.size() < kHeaderBytes)
            return;
        little = std::memcmp(bytes.data(), kLittle, sizeof kLittle) == 0;
        valid = little || std::memcmp(bytes.data(), kBig, sizeof kBig) == 0;
    }

    bool Valid() const { return valid; }
    size_t Size() const { return bytes.size(); }
    std::vector<uint8_t> &Bytes() { return bytes; }

    uint32_t Number(size_t at, size_t count) const {
        uint32_t value = 0;
        for (size_t i = 0; i < count; ++i)
            value = value << 8 | bytes[little ? at + count - 1 - i : at + i];
        return value;
    }

    void Put(size_t at, size_t count, uint32_t value) {
        for (size_t i = 0; i < count; ++i)
            bytes[little ? at + i : at + count - 1 - i] = static_cast<uint8_t>(value >> 8 * i);
    }

    // The entries of a directory; nothing when it does not lie in the data.
    std::optional<size_t> Entries(size_t directory) const {
        if (directory < kHeaderBytes || directory > bytes.size() - 2)
            return std::nullopt;
        const size_t count = Number(directory, 2);
        if (count == 0 || directory + 2 + count * kEntryBytes + 4 > bytes.size())
            return std::nullopt;
        return count;
    }

    // Where the entry of a tag is; 0 when there is none.
    size_t Find(size_t directory, uint16_t tag) const {
        for (size_t i = 0; i < Entries(directory).value_or(0); ++i) {
            const size_t at = directory + 2 + i * kEntryBytes;
            if (Number(at, 2) == tag)
                return at;
        }
        return 0;
    }

    // The value of a tag of one SHORT or LONG.
    std::optional<uint32_t> Value(size_t directory, uint16_t tag) const {
        const size_t at = Find(directory, tag);
        if (at == 0 || Number(at + 4, 4) != 1)
            return std::nullopt;
        const uint32_t type = Number(at + 2, 2);
        if (type != kShort && type != kLong)
            return std::nullopt;
        return Number(at + 8, type == kShort ? 2 : 4);
    }

    // Replaces it; the value fits 16 bits.
    void SetValue(size_t directory, uint16_t tag, uint32_t value) {
        const size_t at = Find(directory, tag);
        if (at == 0 || Number(at + 4, 4) != 1)
            return;
        Put(at + 8, 4, 0);
        Put(at + 8, Number(at + 2, 2) == kLong ? 4 : 2, value);
    }

    size_t First() const { return Number(4, 4); }
    size_t NextPlace(size_t directory) const {
        return directory + 2 + *Entries(directory) * kEntryBytes;
    }

    // Adds where a directory lies, and everything that its entries point at.
    void AddRanges(size_t directory, std::vector<Range> *ranges) const {
        const std::optional<size_t> count = Entries(directory);
        if (!count)
            return;
        ranges->push_back({directory, NextPlace(directory) + 4});
        for (size_t i = 0; i < *count; ++i) {
            const size_t at = directory + 2 + i * kEntryBytes;
            const uint64_t size =
                uint64_t{TypeBytes(static_cast<uint16_t>(Number(at + 2, 2)))} * Number(at + 4, 4);
            const size_t first = Number(at + 8, 4);
            if (size > 4 && first + size <= bytes.size())
                ranges->push_back({first, first + static_cast<size_t>(size)});
        }
    }

    // Where the directories lie that belong to the picture, and the one behind.
    std::vector<Range> Directories() const {
        const size_t exif = Value(First(), kExifDirectory).value_or(0);
        std::vector<Range> ranges;
        for (const size_t directory :
             {First(), exif, size_t{Value(First(), kGpsDirectory).value_or(0)},
              size_t{Value(exif, kInteroperability).value_or(0)},
              size_t{Number(NextPlace(First()), 4)}}) {
            if (Entries(directory))
                ranges.push_back({directory, NextPlace(directory) + 4});
        }
        return ranges;
    }

private:
    std::vector<uint8_t> bytes;
    bool valid = false;
    bool little = false;
};

// Where everything but the thumbnail lies.
std::vector<Range> UsedRanges(const Tiff &tiff) {
    const size_t exif = tiff.Value(tiff.First(), kExifDirectory).value_or(0);
    std::vector<Range> ranges;
    tiff.AddRanges(tiff.First(), &ranges);
    tiff.AddRanges(exif, &ranges);
    tiff.AddRanges(tiff.Value(tiff.First(), kGpsDirectory).value_or(0), &ranges);
    tiff.AddRanges(tiff.Value(exif, kInteroperability).value_or(0), &ranges);
    return ranges;
}

// Where the fraction of a tag is; 0 when it lies outside or in a directory.
size_t FractionOf(const Tiff &tiff, uint16_t tag) {
    const size_t entry = tiff.Find(tiff.First(), tag);
    if (entry == 0 || tiff.Number(entry + 2, 2) != kRational || tiff.Number(entry + 4, 4) != 1)
        return 0;
    const size_t at = tiff.Number(entry + 8, 4);
    if (at < kHeaderBytes || at > tiff.Size() || tiff.Size() - at < kRationalBytes)
        return 0;
    for (const Range &used : tiff.Directories()) {
        if (at < used.end && used.begin < at + kRationalBytes)
            return 0;
    }
    return at;
}

// Both fractions or none: they may be one and the same.
void SetResolution(const ExifFit &fit, Tiff *tiff) {
    const size_t x = FractionOf(*tiff, kXResolution);
    const size_t y = FractionOf(*tiff, kYResolution);
    const bool apart = x > y ? x - y >= kRationalBytes : y - x >= kRationalBytes;
    if (fit.xDpi == 0 || fit.yDpi == 0 || x == 0 || y == 0)
        return;
    if (!apart && (x != y || fit.xDpi != fit.yDpi))
        return;
    tiff->Put(x, 4, fit.xDpi);
    tiff->Put(x + 4, 4, 1);
    tiff->Put(y, 4, fit.yDpi);
    tiff->Put(y + 4, 4, 1);
    tiff->SetValue(tiff->First(), kResolutionUnit, kInch);
}

// Unlinks the second directory, blanks its picture, and cuts both off when they are the last. What
// lies before them stays, also where no tag that is known leads there.
void DropThumbnail(Tiff *tiff) {
    const size_t link = tiff->NextPlace(tiff->First());
    const size_t directory = tiff->Number(link, 4);
    if (directory == 0)
        return;
    tiff->Put(link, 4, 0);
    if (!tiff->Entries(directory))
        return;
    const size_t picture = tiff->Value(directory, kThumbnail).value_or(0);
    const size_t count = tiff->Value(directory, kThumbnailBytes).value_or(0);
    if (picture < kHeaderBytes || picture > tiff->Size() || count > tiff->Size() - picture)
        return;
    size_t end = kHeaderBytes;
    for (const Range &used : UsedRanges(*tiff)) {
        if (picture < used.end && used.begin < picture + count)
            return;
        end = std::max(end, used.end);
    }
    std::fill_n(tiff->Bytes().begin() + static_cast<ptrdiff_t>(picture), count, uint8_t{0});
    const bool isLast = tiff->Size() - (picture + count) < 4;
    if (isLast && picture >= end && directory >= end)
        tiff->Bytes().resize(std::min(picture, directory));
}

} // namespace

std::vector<uint8_t> FitExif(std::span<const uint8_t> exif, const ExifFit &fit) {
    Tiff tiff(exif);
    if (!tiff.Valid() || !tiff.Entries(tiff.First()))
        return {};
    const size_t first = tiff.First();
    const size_t directory = tiff.Value(first, kExifDirectory).value_or(0);
    tiff.SetValue(first, kOrientation, kUpright);
    tiff.SetValue(first, kImageWidth, fit.width);
    tiff.SetValue(first, kImageLength, fit.height);
    tiff.SetValue(directory, kPixelXDimension, fit.width);
    tiff.SetValue(directory, kPixelYDimension, fit.height);
    if (!fit.keepThumbnail)
        DropThumbnail(&tiff);
    SetResolution(fit, &tiff);
    return std::move(tiff.Bytes());
}

ExifSize SizeInExif(std::span<const uint8_t> exif) {
    const Tiff tiff(exif);
    if (!tiff.Valid() || !tiff.Entries(tiff.First()))
        return {};
    const size_t directory = tiff.Value(tiff.First(), kExifDirectory).value_or(0);
    return {tiff.Value(directory, kPixelXDimension).value_or(0),
            tiff.Value(directory, kPixelYDimension).value_or(0)};
}

} // namespace kowen::host
