#include "handed_picture.h"

#include <QColorSpace>

#include <new>

namespace {

constexpr double kMetresInAnInch = 0.0254;
constexpr int kColoursOfBilevel = 2;
constexpr bool kLittleEndian = Q_BYTE_ORDER == Q_LITTLE_ENDIAN;

// Where the channels of a format's pixels lie.
struct Layout {
    QImage::Format image;
    KowenPixelFormat given;
    int first; // the byte of the first channel
    int pixelStride;
    int channelStride;
};

constexpr Layout kLayouts[] = {
    {QImage::Format_Mono, KOWEN_PIXEL_BILEVEL, 0, 0, 0},
    {QImage::Format_Indexed8, KOWEN_PIXEL_INDEXED, 0, 1, 1},
    {QImage::Format_Grayscale8, KOWEN_PIXEL_GREY, 0, 1, 1},
    {QImage::Format_RGB888, KOWEN_PIXEL_RGB, 0, 3, 1},
    {QImage::Format_BGR888, KOWEN_PIXEL_RGB, 2, 3, -1},
    {QImage::Format_RGBX8888, KOWEN_PIXEL_RGB, 0, 4, 1},
    {QImage::Format_RGBA8888, KOWEN_PIXEL_RGBA, 0, 4, 1},
    // A number of 32 bits, with blue in the lowest.
    {QImage::Format_RGB32, KOWEN_PIXEL_RGB, kLittleEndian ? 2 : 1, 4, kLittleEndian ? -1 : 1},
    {kLittleEndian ? QImage::Format_ARGB32 : QImage::Format_Invalid, KOWEN_PIXEL_BGRA, 0, 4, 1},
};

const Layout *LayoutOf(const QImage &image) {
    for (const Layout &layout : kLayouts)
        if (layout.image == image.format())
            return &layout;
    return nullptr;
}

// Two colours have two, and an index has a colour as far as the table says.
bool HasWholePalette(const QImage &image) {
    return image.format() == QImage::Format_Mono ? image.colorCount() == kColoursOfBilevel
                                                 : image.colorCount() > 0;
}

bool IsIndexed(const QImage &image) {
    return image.format() == QImage::Format_Mono || image.format() == QImage::Format_MonoLSB ||
           image.format() == QImage::Format_Indexed8;
}

QImage InKnownLayout(const QImage &image) {
    if (image.format() == QImage::Format_MonoLSB && image.colorCount() == kColoursOfBilevel)
        return image.convertToFormat(QImage::Format_Mono);
    if (LayoutOf(image) != nullptr && (!IsIndexed(image) || HasWholePalette(image)))
        return image;
    return image.convertToFormat(image.hasAlphaChannel() ? QImage::Format_RGBA8888
                                                         : QImage::Format_RGB888);
}

} // namespace

HandedPicture::HandedPicture(const QImage &image, const QByteArray &comment)
    : picture(InKnownLayout(image)), text(comment) {
    if (picture.isNull())
        throw std::bad_alloc();
    record.size = sizeof record;
    TakePixels();
    if (IsIndexed(picture))
        TakePalette();
    TakeMetadata();
}

void HandedPicture::TakePixels() {
    const Layout &layout = *LayoutOf(picture);
    record.format = layout.given;
    record.width = static_cast<uint32_t>(picture.width());
    record.height = static_cast<uint32_t>(picture.height());
    record.pixels = picture.constBits() + layout.first;
    record.stride = picture.bytesPerLine();
    record.pixelStride = layout.pixelStride;
    record.channelStride = layout.channelStride;
}

void HandedPicture::TakePalette() {
    const auto colours = picture.colorTable();
    for (const QRgb colour : colours) {
        palette.append(static_cast<char>(qRed(colour)));
        palette.append(static_cast<char>(qGreen(colour)));
        palette.append(static_cast<char>(qBlue(colour)));
        opacity.append(static_cast<char>(qAlpha(colour)));
    }
    record.palette = reinterpret_cast<const uint8_t *>(palette.constData());
    record.paletteAlpha = reinterpret_cast<const uint8_t *>(opacity.constData());
    record.paletteSize = static_cast<uint32_t>(colours.size());
}

void HandedPicture::TakeMetadata() {
    record.xDpi = picture.dotsPerMeterX() * kMetresInAnInch;
    record.yDpi = picture.dotsPerMeterY() * kMetresInAnInch;
    profile = picture.colorSpace().isValid() ? picture.colorSpace().iccProfile() : QByteArray();
    if (!profile.isEmpty()) {
        record.icc = profile.constData();
        record.iccSize = static_cast<size_t>(profile.size());
    }
    if (!text.isEmpty())
        record.comment = text.constData();
}
