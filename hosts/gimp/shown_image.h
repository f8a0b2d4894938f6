// An image as its window shows it, as rows of 8-bit pixels.
#pragma once

#include "image_metadata.h"

#include <kowen/host.h>

#include <vector>

namespace kowen::gimp {

/// What to say of an image without a visible layer.
constexpr char kNothingShown[] = "the image has no visible layer, so there is nothing to export";

/// All visible layers, merged within the canvas; no pixels when there is none. Where the image is
/// more than one plain layer of the canvas's size a copy of it is merged; the image itself is never
/// changed.
///
/// Everything here speaks with GIMP, so it is called from the plug-in's main thread only.
class ShownImage {
public:
    explicit ShownImage(gint32 image);
    ~ShownImage();
    ShownImage(const ShownImage &) = delete;
    ShownImage &operator=(const ShownImage &) = delete;

    /// For the host library, with a row reader; valid as long as this object.
    const KowenPicture &Picture() const { return picture; }
    const ImageMetadata &Metadata() const { return metadata; }
    size_t RowBytes() const;

    /// Rows that are fetched in one go: what GIMP's tiles hold.
    uint32_t StripRows() const { return gimp_tile_height(); }

    /// Fetches `rows` rows from row `first` on, without gaps. Throws std::bad_alloc.
    void FetchRows(uint32_t first, uint32_t rows, void *pixels);

private:
    static int32_t ReadRow(void *self, uint32_t row, void *pixels);
    const uint8_t *RowInStrip(uint32_t row);
    void Open(gint32 layer);

    gint32 copy = -1; // of the image; -1: none was needed
    GeglBuffer *buffer = nullptr;
    const Babl *format = nullptr;
    // Of linear images with a profile, whose primaries are to stay: the values are given sRGB's
    // curve and nothing else. Null of every other image.
    const Babl *linear = nullptr, *toBytes = nullptr;
    std::vector<uint8_t> light;
    ImageMetadata metadata;
    KowenPicture picture = {};
    std::vector<uint8_t> strip;
    uint32_t stripFirst = 0;
    uint32_t stripCount = 0;
};

} // namespace kowen::gimp
