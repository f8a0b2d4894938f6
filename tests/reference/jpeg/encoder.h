// The whole encoder, as plain as can be: a bottom-up bitmap in, a JPEG file out.
//
// This is the definition that the module's output is compared with, byte for byte. It favours
// being read over being fast and shares no line, table or header with the module.
#pragma once

#include "reference/jpeg/coder.h"
#include "reference/jpeg/progressive.h"
#include "reference/jpeg/stream.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace kowen::reference {

/// Bytes of a 24-bit row, rounded up to a multiple of 4.
inline int RowBytes(int width) {
    return (width * 3 + 3) / 4 * 4;
}

/// pixels: rows of red, green, blue, the bottom row first, each RowBytes long.
inline Picture MappedPicture(const std::vector<uint8_t> &pixels, int width, int height,
                             int colorFormat) {
    Picture picture{width, height, {}};
    for (int y = height - 1; y >= 0; --y)
        for (int x = 0; x < width; ++x) {
            const uint8_t *p = pixels.data() + y * RowBytes(width) + x * 3;
            picture.pixels.push_back(Mapped({p[0], p[1], p[2]}, colorFormat));
        }
    return picture;
}

inline void CodeSequential(Coder &coder, const Picture &picture, const Header &header) {
    for (int top = 0; top < picture.height; top += 8) {
        const Picture band = picture.Rows(top, std::min(8, picture.height - top));
        if (header.colorFormat == 212)
            CodeBand422(coder, band);
        else
            CodeBand444(coder, band, header.Components());
    }
    coder.bits.PadWithOnes();
}

/// Exports a 24-bit bitmap that needs no conversion. pixels as MappedPicture; the codes are the
/// settings'; resolutions in dots per inch. Operations other than 245 write no scan unless it is
/// 246 and the colour format 212.
inline std::vector<uint8_t> ReferenceExport(const std::vector<uint8_t> &pixels, int width,
                                            int height, int colorFormat, int operation, int quality,
                                            int xResolution, int yResolution) {
    const Header header = {width,   height,      colorFormat, operation,
                           quality, xResolution, yResolution};
    const Picture picture = MappedPicture(pixels, width, height, colorFormat);
    Coder coder(operation, quality);
    if (header.Sequential()) {
        coder.bits.Append(ScanHeader(header.Components(), 0, 0, 63));
        CodeSequential(coder, picture, header);
    } else if (operation == 246 && colorFormat == 212) {
        CodeProgressive(coder, picture);
    }
    Bytes file = FileHeader(header);
    const Bytes &scans = coder.bits.Bytes();
    file.insert(file.end(), scans.begin(), scans.end());
    PutWord(file, 0xFFD9);
    return file;
}

/// The file of a picture whose pixels are not to be had: its headers and the end.
inline std::vector<uint8_t> ReferenceHeaders(int width, int height, int colorFormat, int operation,
                                             int quality, int xResolution, int yResolution) {
    const Header header = {width,   height,      colorFormat, operation,
                           quality, xResolution, yResolution};
    Bytes file = FileHeader(header);
    if (header.Sequential()) {
        const Bytes scan = ScanHeader(header.Components(), 0, 0, 63);
        file.insert(file.end(), scan.begin(), scan.end());
    }
    PutWord(file, 0xFFD9);
    return file;
}

} // namespace kowen::reference
