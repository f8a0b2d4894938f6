// The bitmap door, as plain as can be: a host's bitmap, cell and settings in, a JPEG file out.
// For the colour formats whose pixels are 24-bit. Link reference/color/bitmap.cpp and resample.cpp.
#pragma once

#include "reference/color/bitmap.h"
#include "reference/color/resample.h"
#include "reference/jpeg/encoder.h"

#include <cmath>
#include <cstdint>

namespace kowen::reference {

/// A host's bitmap: bottom row first, rows padded to 4 bytes.
struct DoorBitmap {
    int depth;
    int width;
    int height;
    Bytes pixels;
    Bytes palette; ///< red, green, blue; empty for none
};

struct DoorCell {
    int resolution; ///< of the page; dots per inch, as all of them
    int targetResolution;
    int targetWidth; ///< pixels, as all sizes
    int targetHeight;
    int pageWidth;
    int pageHeight;
};

struct DoorSettings {
    int colorFormat = 212;
    int operation = 245;
    int quality = 100;
    int sizeMode = 602;
    int resolutionMode = 309;
    int xResolution = 96;
    int yResolution = 96;
    double width = 6.67; ///< inches
    double height = 5.0;
};

/// How large the picture becomes and what its header says.
struct DoorSize {
    int width;
    int height;
    int xResolution;
    int yResolution;
};

/// Fits a picture into the page of the settings: the page loses what the picture leaves over at
/// its sides, or above and below.
inline void FitIntoPage(const DoorSettings &page, double ratio, double &width, double &height) {
    int w = static_cast<int>(page.xResolution * page.width);
    int h = static_cast<int>(page.yResolution * page.height);
    const double pageRatio = static_cast<double>(w) / h;
    if (ratio < pageRatio)
        w -= static_cast<int>(w - h * ratio);
    else if (ratio > pageRatio)
        h -= static_cast<int>(h - w / ratio);
    width = static_cast<double>(w) / page.xResolution;
    height = static_cast<double>(h) / page.yResolution;
}

/// The settings are changed as an export changes them.
inline DoorSize SizeOf(DoorSettings &settings, const DoorCell &cell) {
    double width = cell.targetWidth;
    double height = cell.targetHeight;
    const int resolution = cell.targetResolution;
    if (resolution != 0) {
        width /= resolution;
        height /= resolution;
    }
    const double ratio = width / height;
    const int display = cell.resolution != 0 ? cell.resolution : 96;
    if (settings.sizeMode == 602 && resolution != 0) {
        settings.width = width;
        settings.height = height;
    } else if (settings.sizeMode == 600) {
        settings.width = (cell.pageWidth != 0 ? cell.pageWidth : 1280.0) / display;
        settings.height = (cell.pageHeight != 0 ? cell.pageHeight : 1078.0) / display;
    }
    if (settings.resolutionMode == 309 && resolution != 0)
        settings.xResolution = settings.yResolution = resolution;
    else if (settings.resolutionMode == 307)
        settings.xResolution = settings.yResolution = display;
    if (resolution == 0 || settings.sizeMode != 602)
        FitIntoPage(settings, ratio, width, height);
    const int pixelsAcross = static_cast<int>(width * settings.xResolution);
    const int pixelsDown = static_cast<int>(height * settings.yResolution);
    return {pixelsAcross, (pixelsDown + 1) / 2 * 2, settings.xResolution, settings.yResolution};
}

/// Shrinks first, makes 24-bit pixels, stretches last. A picture may have no columns.
inline Bytes FittedPixels(const DoorBitmap &bitmap, int width, int height) {
    if (width == 0)
        return {};
    Bytes pixels = bitmap.pixels;
    auto w = static_cast<uint32_t>(bitmap.width);
    auto h = static_cast<uint32_t>(bitmap.height);
    const auto targetWidth = static_cast<uint32_t>(width);
    const auto targetHeight = static_cast<uint32_t>(height);
    const auto depth = static_cast<uint16_t>(bitmap.depth);
    if (targetWidth < w || targetHeight < h) {
        pixels = Resample(pixels, depth, w, h, targetWidth, targetHeight);
        w = targetWidth;
        h = targetHeight;
    }
    if (depth != 24)
        pixels = ConvertBitmapDepth(pixels, w, h, depth, 24,
                                    bitmap.palette.empty() ? nullptr : &bitmap.palette, nullptr, 0);
    if (targetWidth > w || targetHeight > h)
        pixels = Resample(pixels, 24, w, h, targetWidth, targetHeight);
    return pixels;
}

/// What ExportCellData writes when nobody stops it.
inline Bytes ReferenceDoor(const DoorBitmap &bitmap, const DoorCell &cell, DoorSettings settings) {
    const DoorSize size = SizeOf(settings, cell);
    return ReferenceExport(FittedPixels(bitmap, size.width, size.height), size.width, size.height,
                           settings.colorFormat, settings.operation, settings.quality,
                           size.xResolution, size.yResolution);
}

/// The same of a picture whose pixels are not to be had.
inline Bytes ReferenceDoorWithoutPixels(const DoorCell &cell, DoorSettings settings) {
    const DoorSize size = SizeOf(settings, cell);
    return ReferenceHeaders(size.width, size.height, settings.colorFormat, settings.operation,
                            settings.quality, size.xResolution, size.yResolution);
}

} // namespace kowen::reference
