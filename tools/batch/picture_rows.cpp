#include "batch/picture_rows.h"

#include "resize/resized_source.h"

#include <cstdlib>
#include <utility>

namespace kowen::cli {
namespace {

constexpr uint32_t kFirstTurned = 5; // of the orientations, those that lie on their side

} // namespace

Rgb ParseColour(const std::string &text) {
    const unsigned long value = std::strtoul(text.c_str() + 1, nullptr, 16);
    return {static_cast<uint8_t>(value >> 16), static_cast<uint8_t>(value >> 8),
            static_cast<uint8_t>(value)};
}

std::unique_ptr<Source> OpenResized(const std::string &path, const ResizeChoice &resize,
                                    const Settings &settings, const ReadOptions &reading) {
    std::unique_ptr<Source> source = OpenPicture(path, reading);
    if (!resize.Wanted())
        return source;
    const PictureFacts &facts = source->Facts();
    const bool turned = facts.orientation >= kFirstTurned;
    PixelSize shown = {facts.width, facts.height};
    if (turned)
        std::swap(shown.width, shown.height);
    PixelSize size = ResizedSize(resize, shown);
    if (size == shown)
        return source;
    if (turned)
        std::swap(size.width, size.height);
    return ResizePicture(std::move(source), size, ParseColour(settings.Get("background")));
}

void KeepPixels(const PictureOptions &options, KowenPicture *picture) {
    std::string dpi = options.settings.Get("dpi");
    if (!options.resize.Wanted() || dpi == "picture")
        return;
    if (dpi == "page") {
        const std::string page = options.settings.Get("page");
        dpi = page.substr(page.find('@') + 1);
    }
    // Without a page nothing is known, and pictures without a resolution keep their pixels.
    picture->xDpi = std::strtod(dpi.c_str(), nullptr);
    const size_t cross = dpi.find('x');
    picture->yDpi =
        cross == std::string::npos ? picture->xDpi : std::strtod(dpi.c_str() + cross + 1, nullptr);
    if (picture->orientation >= kFirstTurned)
        std::swap(picture->xDpi, picture->yDpi);
}

PictureRows::PictureRows(Source *rows, const PictureOptions &options) : source(rows) {
    const PictureFacts &facts = source->Facts();
    picture.size = sizeof picture;
    picture.format = facts.format;
    picture.width = facts.width;
    picture.height = facts.height;
    picture.readRow = ReadRow;
    picture.rowContext = this;
    picture.orientation = facts.orientation;
    picture.xDpi = facts.xDpi;
    picture.yDpi = facts.yDpi;
    if (!facts.palette.empty()) {
        picture.palette = facts.palette.data();
        picture.paletteSize = static_cast<uint32_t>(facts.palette.size() / 3);
    }
    if (!facts.paletteAlpha.empty())
        picture.paletteAlpha = facts.paletteAlpha.data();
    if (!facts.exif.empty()) {
        picture.exif = facts.exif.data();
        picture.exifSize = facts.exif.size();
    }
    if (!facts.icc.empty()) {
        picture.icc = facts.icc.data();
        picture.iccSize = facts.icc.size();
    }
    if (!facts.comment.empty())
        picture.comment = facts.comment.c_str();
    KeepPixels(options, &picture);
}

// Called by the library, which knows no exceptions.
int32_t PictureRows::ReadRow(void *context, uint32_t row, void *pixels) {
    auto *self = static_cast<PictureRows *>(context);
    try {
        self->source->ReadRow(static_cast<uint8_t *>(pixels));
        if (row + 1 == self->picture.height)
            self->source->Finish();
        return 0;
    } catch (...) {
        self->failure = std::current_exception();
        return 1;
    }
}

void PictureRows::Rethrow() const {
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace kowen::cli
