#include "failure.h"
#include "readers/jpeg_source.h"
#include "readers/magick_library.h"
#include "readers/picture_format.h"
#include "readers/png_source.h"
#include "readers/pnm_source.h"
#include "readers/source.h"

namespace kowen::cli {

std::string NameOf(const std::string &path) {
    return path == "-" ? "standard input" : path;
}

size_t RowBytes(const PictureFacts &facts) {
    const size_t width = facts.width;
    switch (facts.format) {
    case KOWEN_PIXEL_RGB:
        return width * 3;
    case KOWEN_PIXEL_RGBA:
    case KOWEN_PIXEL_BGRA:
        return width * 4;
    case KOWEN_PIXEL_GREY_ALPHA:
        return width * 2;
    case KOWEN_PIXEL_BILEVEL:
        return (width + 7) / 8;
    case KOWEN_PIXEL_GREY:
    case KOWEN_PIXEL_INDEXED:
        break;
    }
    return width;
}

std::unique_ptr<Source> OpenPicture(const std::string &path, const ReadOptions &options) {
    auto input = std::make_unique<ByteInput>(path);
    const std::span<const uint8_t> start = input->LookAhead();
    if (start.empty())
        throw Failure(NameOf(path) + ": the file is empty");
    const std::string format = PictureFormat(start, path);
    if (format.empty())
        throw Failure(NameOf(path) + ": not a picture in a format that is known here; "
                                     "'kowen info' lists the formats");
    if (format == "PNG")
        return OpenPng(std::move(input), options);
    if (format == "PNM" || format == "PAM")
        return OpenPnm(std::move(input), options);
    if (format == "JPEG")
        return OpenJpeg(std::move(input), options);
    return LoadMagickLibrary().open(NameOf(path), input->Rest(), format, options);
}

} // namespace kowen::cli
