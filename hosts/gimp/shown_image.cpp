#include "shown_image.h"

#include <libgimp/gimpui.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace kowen::gimp {
namespace {

// What gimp_export_image need not change. Without a name of a format it asks nothing.
constexpr auto kHandled = static_cast<GimpExportCapabilities>(
    GIMP_EXPORT_CAN_HANDLE_RGB | GIMP_EXPORT_CAN_HANDLE_GRAY | GIMP_EXPORT_CAN_HANDLE_INDEXED |
    GIMP_EXPORT_CAN_HANDLE_ALPHA | GIMP_EXPORT_NEEDS_CROP);

struct Encoding {
    KowenPixelFormat format;
    const char *bytes;
    const char *linear;
};

Encoding EncodingOf(gint32 drawable) {
    const bool alpha = gimp_drawable_has_alpha(drawable);
    if (gimp_drawable_is_gray(drawable))
        return alpha ? Encoding{KOWEN_PIXEL_GREY_ALPHA, "Y'A u8", "YA float"}
                     : Encoding{KOWEN_PIXEL_GREY, "Y' u8", "Y float"};
    return alpha ? Encoding{KOWEN_PIXEL_RGBA, "R'G'B'A u8", "RGBA float"}
                 : Encoding{KOWEN_PIXEL_RGB, "R'G'B' u8", "RGB float"};
}

// -1 when there is none.
gint32 AVisibleLayer(gint32 image) {
    gint count = 0;
    gint32 found = -1;
    gint *layers = gimp_image_get_layers(image, &count);
    for (gint i = 0; i < count && found < 0; ++i)
        found = gimp_item_get_visible(layers[i]) ? layers[i] : -1;
    g_free(layers);
    return found;
}

} // namespace

ShownImage::ShownImage(gint32 image) : metadata(MetadataOf(image)) {
    picture.size = sizeof picture;
    picture.format = KOWEN_PIXEL_RGB;
    picture.readRow = ReadRow;
    picture.rowContext = this;
    picture.exif = metadata.exif.data();
    picture.exifSize = metadata.exif.size();
    picture.icc = metadata.icc.data();
    picture.iccSize = metadata.icc.size();
    picture.comment = metadata.comment.empty() ? nullptr : metadata.comment.c_str();
    gimp_image_get_resolution(image, &picture.xDpi, &picture.yDpi);
    gint32 layer = AVisibleLayer(image);
    if (layer < 0)
        return;
    if (gimp_export_image(&image, &layer, nullptr, kHandled) == GIMP_EXPORT_EXPORT)
        copy = image;
    Open(layer);
}

ShownImage::~ShownImage() {
    g_clear_object(&buffer);
    if (copy >= 0)
        gimp_image_delete(copy);
}

// In the layer's own colour space the values stay what they are; only precision and curve change.
void ShownImage::Open(gint32 layer) {
    const Encoding encoding = EncodingOf(layer);
    const Babl *space = gimp_drawable_get_format(layer);
    picture.format = encoding.format;
    picture.width = static_cast<uint32_t>(gimp_drawable_width(layer));
    picture.height = static_cast<uint32_t>(gimp_drawable_height(layer));
    format = babl_format_with_space(encoding.bytes, space);
    if (metadata.curved) {
        format = babl_format(encoding.bytes);
        linear = babl_format_with_space(encoding.linear, space);
        toBytes = babl_fish(babl_format(encoding.linear), format);
    }
    buffer = gimp_drawable_get_buffer(layer);
}

size_t ShownImage::RowBytes() const {
    if (format == nullptr)
        return 0;
    return size_t{picture.width} * static_cast<size_t>(babl_format_get_bytes_per_pixel(format));
}

void ShownImage::FetchRows(uint32_t first, uint32_t rows, void *pixels) {
    const GeglRectangle area = {0, static_cast<gint>(first), static_cast<gint>(picture.width),
                                static_cast<gint>(rows)};
    if (linear == nullptr) {
        gegl_buffer_get(buffer, &area, 1.0, format, pixels, GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
        return;
    }
    const size_t count = size_t{picture.width} * rows;
    light.resize(count * static_cast<size_t>(babl_format_get_bytes_per_pixel(linear)));
    gegl_buffer_get(buffer, &area, 1.0, linear, light.data(), GEGL_AUTO_ROWSTRIDE, GEGL_ABYSS_NONE);
    babl_process(toBytes, light.data(), pixels, static_cast<glong>(count));
}

const uint8_t *ShownImage::RowInStrip(uint32_t row) {
    if (row - stripFirst >= stripCount) {
        const uint32_t count = std::min(StripRows(), picture.height - row);
        stripCount = 0; // until it is there
        strip.resize(RowBytes() * count);
        FetchRows(row, count, strip.data());
        stripFirst = row;
        stripCount = count;
    }
    return strip.data() + RowBytes() * (row - stripFirst);
}

// The library is called through C, which nothing may be thrown across.
int32_t ShownImage::ReadRow(void *self, uint32_t row, void *pixels) {
    auto *image = static_cast<ShownImage *>(self);
    try {
        std::memcpy(pixels, image->RowInStrip(row), image->RowBytes());
        return 0;
    } catch (const std::bad_alloc &) {
        KowenSetRowError("not enough memory for the image's rows; close other images and export "
                         "again");
        return 1;
    }
}

} // namespace kowen::gimp
