#include "picture/given_picture.h"

#include "base/failure.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

namespace kowen::host {
namespace {

constexpr uint32_t kLongestSide = 65535; // of the filter's bitmap record
constexpr uint32_t kLastOrientation = 8;
constexpr uint32_t kMostColours = 256;

PixelLayout LayoutOf(KowenPixelFormat format) {
    switch (format) {
    case KOWEN_PIXEL_RGB:
        return {3, 0, 1, 2, -1};
    case KOWEN_PIXEL_RGBA:
        return {4, 0, 1, 2, 3};
    case KOWEN_PIXEL_GREY:
    case KOWEN_PIXEL_INDEXED:
        return {1, 0, 0, 0, -1};
    case KOWEN_PIXEL_BILEVEL:
        return {0, 0, 0, 0, -1};
    case KOWEN_PIXEL_GREY_ALPHA:
        return {2, 0, 0, 0, 1};
    case KOWEN_PIXEL_BGRA:
        return {4, 2, 1, 0, 3};
    }
    throw BadArgument("the picture's format " + std::to_string(format) + " is none that is known");
}

double Resolution(double dpi) {
    return std::isfinite(dpi) && dpi > 0 ? dpi : 0;
}

} // namespace

GivenPicture::GivenPicture(const KowenPicture *given) : KowenPicture{} {
    if (given == nullptr)
        throw BadArgument("there is no picture");
    std::memcpy(static_cast<KowenPicture *>(this), given,
                std::min<size_t>(given->size, sizeof(KowenPicture)));
    CheckRecord();
    FillIn();
}

void GivenPicture::CheckRecord() const {
    if (width == 0 || height == 0 || width > kLongestSide || height > kLongestSide)
        throw Failure(KOWEN_HOST_ERR_SIZE, "the picture has " + std::to_string(width) + " x " +
                                               std::to_string(height) +
                                               " pixels; 1 to 65535 each way can be saved");
    if ((pixels == nullptr) == (readRow == nullptr))
        throw BadArgument("a picture has either pixels or a function that reads its rows");
    if (orientation > kLastOrientation)
        throw BadArgument("an orientation is 1 to 8, not " + std::to_string(orientation));
    if (format == KOWEN_PIXEL_INDEXED &&
        (palette == nullptr || paletteSize == 0 || paletteSize > kMostColours))
        throw BadArgument("an indexed picture has a palette of 1 to 256 colours");
    if (format == KOWEN_PIXEL_BILEVEL && palette != nullptr && paletteSize != 2)
        throw BadArgument("the palette of a picture of two colours has two");
    if ((exif == nullptr && exifSize != 0) || (icc == nullptr && iccSize != 0))
        throw BadArgument("metadata of a size has an address");
}

void GivenPicture::FillIn() {
    layout = LayoutOf(format);
    if (orientation == 0)
        orientation = 1;
    xDpi = Resolution(xDpi);
    yDpi = Resolution(yDpi);
    if (xDpi == 0 || yDpi == 0)
        xDpi = yDpi = 0;
    if (channelStride == 0 || readRow != nullptr)
        channelStride = 1;
    if (pixelStride == 0 || readRow != nullptr)
        pixelStride = layout.channels;
    if (stride == 0)
        stride = static_cast<ptrdiff_t>(PackedRowBytes());
}

size_t GivenPicture::PackedRowBytes() const {
    return layout.channels == 0 ? (size_t{width} + 7) / 8
                                : size_t{width} * static_cast<size_t>(layout.channels);
}

} // namespace kowen::host
