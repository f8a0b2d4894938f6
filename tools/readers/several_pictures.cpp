#include "readers/several_pictures.h"

#include "readers/tiff_structure.h"

#include <algorithm>

namespace kowen::cli {
namespace {

constexpr size_t kMostPages = 10000; // directories of a damaged file may go round in circles

// Bytes of a file; what lies behind its end is 0.
class FileBytes {
public:
    explicit FileBytes(std::span<const uint8_t> file) : bytes(file) {}

    uint32_t Byte(size_t at) const { return at < bytes.size() ? bytes[at] : 0; }
    uint32_t Short(size_t at) const { return Byte(at) | Byte(at + 1) << 8; }

private:
    std::span<const uint8_t> bytes;
};

constexpr uint32_t kSubfileType = 254;

// NewSubfileType's lowest bit is set for a smaller version of another page.
bool IsPreview(const TiffStructure &tiff, size_t directory) {
    const size_t entry = tiff.Find(directory, kSubfileType);
    return entry != 0 && (tiff.Long(entry + 8) & 1) != 0;
}

size_t TiffPages(std::span<const uint8_t> file) {
    const TiffStructure tiff(file);
    if (!tiff.Valid())
        return 1;
    size_t pages = 0;
    size_t directory = tiff.First();
    for (size_t i = 0; i < kMostPages && directory != 0 && directory < file.size(); ++i) {
        pages += IsPreview(tiff, directory) ? 0 : 1;
        directory = tiff.Next(directory);
    }
    return pages;
}

constexpr size_t kGifHeader = 13;
constexpr uint32_t kGifFrame = 0x2C;
constexpr uint32_t kGifExtension = 0x21;

size_t GifPalette(uint32_t flags) {
    return (flags & 0x80) != 0 ? size_t{3} << ((flags & 7) + 1) : 0;
}

// Behind the blocks that begin there.
size_t SkipGifBlocks(const FileBytes &gif, size_t at) {
    while (gif.Byte(at) != 0)
        at += gif.Byte(at) + 1;
    return at + 1;
}

size_t GifFrames(std::span<const uint8_t> file) {
    const FileBytes gif(file);
    size_t frames = 0;
    size_t at = kGifHeader + GifPalette(gif.Byte(10));
    for (;;) {
        if (gif.Byte(at) == kGifFrame) {
            ++frames;
            at = SkipGifBlocks(gif, at + 10 + GifPalette(gif.Byte(at + 9)) + 1);
        } else if (gif.Byte(at) == kGifExtension) {
            at = SkipGifBlocks(gif, at + 2);
        } else {
            return frames;
        }
    }
}

constexpr size_t kIcoHeader = 6;
constexpr size_t kIcoEntry = 16;

// A side of 0 is one of 256.
size_t IcoPixels(const FileBytes &ico, size_t icon) {
    const size_t entry = kIcoHeader + icon * kIcoEntry;
    const size_t width = ico.Byte(entry) == 0 ? 256 : ico.Byte(entry);
    const size_t height = ico.Byte(entry + 1) == 0 ? 256 : ico.Byte(entry + 1);
    return width * height;
}

SeveralPictures IcoSizes(std::span<const uint8_t> file) {
    const FileBytes ico(file);
    SeveralPictures icons = {ico.Short(4), 0};
    if (kIcoHeader + icons.count * kIcoEntry > file.size())
        return {};
    for (size_t i = 1; i < icons.count; ++i) {
        if (IcoPixels(ico, i) > IcoPixels(ico, icons.wanted))
            icons.wanted = i;
    }
    return icons;
}

constexpr size_t kWebpFlags = 20;
constexpr uint8_t kWebpAnimated = 2;
constexpr uint8_t kWebpXmp = 4;

bool HasWebpFlag(std::span<const uint8_t> file, uint8_t flag) {
    constexpr uint8_t kExtended[] = {'V', 'P', '8', 'X'};
    return file.size() > kWebpFlags &&
           std::equal(std::begin(kExtended), std::end(kExtended), file.begin() + 12) &&
           (file[kWebpFlags] & flag) != 0;
}

} // namespace

std::string SeveralPictures::Note() const {
    if (count < 2)
        return "";
    const std::string all = std::to_string(count) + " pictures";
    if (wanted == 0)
        return "this is the first of " + all + " in the file; the others were left out";
    return "this is the largest of " + all + " in the file; the others were left out";
}

SeveralPictures CountPictures(std::span<const uint8_t> file, const std::string &format) {
    if (format == "TIFF")
        return {TiffPages(file), 0};
    if (format == "GIF")
        return {GifFrames(file), 0};
    return format == "ICO" ? IcoSizes(file) : SeveralPictures{};
}

bool IsAnimatedWebp(std::span<const uint8_t> file) {
    return HasWebpFlag(file, kWebpAnimated);
}

bool HasWebpXmp(std::span<const uint8_t> file) {
    return HasWebpFlag(file, kWebpXmp);
}

} // namespace kowen::cli
