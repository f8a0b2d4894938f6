// The platform off-screen: how a drawing routine plugs into the band loop.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

enum DrawingOperation : int32_t { kDrawQuery = 0, kDrawOpen = 1, kDrawClose = 2, kDrawBand = 3 };

/// Pixel-order codes: 4 stands for blue, green, red; 1 to 3 leave the pixels alone.
enum PixelOrder : uint16_t { kPixelOrderRgb = 1, kPixelOrderBgr = 4 };

/// Filled by a drawing routine's query.
struct PictureQuery {
    double width;        ///< inches after the query, pixels after QueryCellFormat
    double height;       ///< likewise
    int32_t resolution;  ///< dots per inch; its low 16 bits are used
    uint16_t pixelOrder; ///< PixelOrder, handed to WriteCellBits
};

/// Argument 1 of kDrawOpen.
struct OffscreenFormat {
    uint32_t width;      ///< pixels
    uint32_t bandHeight; ///< rows
    uint16_t depth;      ///< bits per pixel
    uint16_t paletteCount;
    uint8_t *palette; ///< 3-byte entries
};

struct OffscreenRecord;

/// A drawing routine. record is the OffscreenRecord, for kDrawQuery the picture record itself;
/// arguments and answers are listed in offscreen.cpp.
using DrawingRoutine = uintptr_t (*)(int32_t operation, void *record, uintptr_t argument1,
                                     uintptr_t argument2);

struct OffscreenRecord {
    void *picture; ///< the drawing routine's picture record
    DrawingRoutine routine;
    uint16_t paletteCount;
    uint8_t *palette; ///< 3-byte entries; from qivPtrGlobalAlloc
    uint32_t width;   ///< pixels
    uint32_t bandHeight;
    uint16_t depth;
    MemoryHandle privateBlock; ///< the drawing routine's
    uint8_t flag;
};

} // namespace kowen
