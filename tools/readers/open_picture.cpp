#include "byte_count.h"
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
    switch (facts.format) {
    case KOWEN_PIXEL_RGB:
        return BytesOf({facts.width, 3});
    case KOWEN_PIXEL_RGBA:
    case KOWEN_PIXEL_BGRA:
        return BytesOf({facts.width, 4});
    case KOWEN_PIXEL_GREY_ALPHA:
        return BytesOf({facts.width, 2});
    case KOWEN_PIXEL_BILEVEL:
        return facts.width / 8 + (facts.width % 8 != 0 ? 1 : 0);
    case KOWEN_PIXEL_GREY:
    case KOWEN_PIXEL_INDEXED:
        break;
    }
    return facts.width;
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
