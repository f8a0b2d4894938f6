#include "compare/plain_picture.h"

#include "batch/picture_rows.h"
#include "byte_count.h"
#include "readers/jpeg_source.h"
#include "readers/plain_rows.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <utility>

namespace kowen::cli {
namespace {

constexpr uint32_t kFirstTurned = 5;

PlainPicture ReadRows(Source *source, const Rgb &background) {
    const PictureFacts &facts = source->Facts();
    PlainPicture picture = {facts.width, facts.height, {}, facts.xDpi, facts.yDpi, facts.icc};
    picture.pixels.resize(BytesOf({facts.width, facts.height, 3}));
    PlainRows rows(source, background);
    std::vector<uint8_t> grey(facts.width);
    for (uint32_t y = 0; y < facts.height; ++y) {
        uint8_t *out = picture.Row(y);
        if (rows.Channels() == 3) {
            rows.ReadRow(out);
            continue;
        }
        rows.ReadRow(grey.data());
        for (const uint8_t value : grey) {
            std::memset(out, value, 3);
            out += 3;
        }
    }
    source->Finish();
    return picture;
}

struct Place {
    uint32_t x;
    uint32_t y;
};

// Where a pixel of the upright picture is stored, for each of EXIF's orientations.
Place StoredPlace(uint32_t orientation, Place shown, uint32_t width, uint32_t height) {
    const uint32_t right = width - 1;
    const uint32_t bottom = height - 1;
    switch (orientation) {
    case 2:
        return {right - shown.x, shown.y};
    case 3:
        return {right - shown.x, bottom - shown.y};
    case 4:
        return {shown.x, bottom - shown.y};
    case 5:
        return {shown.y, shown.x};
    case 6:
        return {shown.y, bottom - shown.x};
    case 7:
        return {right - shown.y, bottom - shown.x};
    case 8:
        return {right - shown.y, shown.x};
    default:
        return shown;
    }
}

PlainPicture TurnUpright(PlainPicture stored, uint32_t orientation) {
    if (orientation <= 1)
        return stored;
    PlainPicture shown = stored;
    if (orientation >= kFirstTurned) {
        std::swap(shown.width, shown.height);
        std::swap(shown.xDpi, shown.yDpi);
    }
    for (uint32_t y = 0; y < shown.height; ++y) {
        for (uint32_t x = 0; x < shown.width; ++x) {
            const Place from = StoredPlace(orientation, {x, y}, stored.width, stored.height);
            std::memcpy(shown.Row(y) + size_t{x} * 3, stored.Row(from.y) + size_t{from.x} * 3, 3);
        }
    }
    return shown;
}

} // namespace

PlainPicture LoadPlainPicture(const std::string &path, const PictureOptions &options,
                              const ReadOptions &reading) {
    const std::unique_ptr<Source> source =
        OpenResized(path, options.resize, options.settings, reading);
    const Rgb background = ParseColour(options.settings.Get("background"));
    return TurnUpright(ReadRows(source.get(), background), source->Facts().orientation);
}

PlainPicture DecodeJpeg(const std::vector<uint8_t> &jpeg) {
    const std::unique_ptr<Source> source =
        OpenJpeg(std::make_unique<ByteInput>("the JPEG", jpeg), {});
    return ReadRows(source.get(), {255, 255, 255});
}

KowenPicture RecordOf(const PlainPicture &picture) {
    KowenPicture record = {};
    record.size = sizeof record;
    record.format = KOWEN_PIXEL_RGB;
    record.width = picture.width;
    record.height = picture.height;
    record.pixels = picture.pixels.data();
    record.xDpi = picture.xDpi;
    record.yDpi = picture.yDpi;
    record.icc = picture.icc.empty() ? nullptr : picture.icc.data();
    record.iccSize = picture.icc.size();
    return record;
}

double Psnr(const PlainPicture &picture, const PlainPicture &result) {
    if (picture.width != result.width || picture.height > result.height)
        return std::numeric_limits<double>::quiet_NaN();
    uint64_t sum = 0;
    for (size_t i = 0; i < picture.pixels.size(); ++i) {
        const int difference = picture.pixels[i] - result.pixels[i];
        sum += static_cast<uint64_t>(difference * difference);
    }
    const double mean = static_cast<double>(sum) / static_cast<double>(picture.pixels.size());
    return 10 * std::log10(255.0 * 255.0 / mean);
}

} // namespace kowen::cli
