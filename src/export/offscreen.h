// The platform off-screen: how a drawing routine plugs into the band loop.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

enum DrawingOperation : int32_t { kDrawQuery = 0, kDrawOpen = 1, kDrawClose = 2, kDrawBand = 3 };

/// Pixel-order codes of WriteCellBits: 4 stands for blue, green, red; 1 to 3 leave pixels alone.
enum PixelOrder : uint16_t { kPixelOrderRgb = 1, kPixelOrderBgr = 4 };

/// Filled by a drawing routine's query.
struct PictureQuery {
    double width;        ///< inches after the query, pixels after QueryCellFormat
    double height;       ///< likewise
    int32_t resolution;  ///< dots per inch; its low 16 bits are used
    uint16_t pixelOrder; ///< PixelOrder, handed to WriteCellBits
};

/// What an off-screen is opened with; argument 1 of kDrawOpen.
struct OffscreenFormat {
    uint32_t width;      ///< pixels
    uint32_t bandHeight; ///< rows; the whole picture's when the routine is asked
    uint16_t depth;      ///< bits per pixel
    uint16_t paletteCount;
    uint8_t *palette; ///< 3-byte entries, from qivPtrGlobalAlloc, or null
};

/// A drawing routine.
///
///   operation   record             argument 1          answers
///   kDrawQuery  picture record     PictureQuery *      0; the query is filled
///   kDrawOpen   OffscreenRecord *  OffscreenFormat *   the band height to use, 0 = failed
///   kDrawClose  OffscreenRecord *  -                   ignored; releases what open made
///   kDrawBand   OffscreenRecord *  first, last row     handle of the band's pixels, the
///                                  (arguments 1, 2)    routine's own; rows bottom-up
using DrawingRoutine = uintptr_t (*)(int32_t operation, void *record, uintptr_t argument1,
                                     uintptr_t argument2);

/// An open off-screen. The routine may replace the palette when it is opened: it grows it with
/// qivPtrGlobalReAlloc and the caller of InitPlatformOffscreen frees it.
struct OffscreenRecord {
    void *picture; ///< the drawing routine's picture record
    DrawingRoutine routine;
    uint16_t paletteCount;
    uint8_t *palette;
    uint32_t width;      ///< pixels
    uint32_t bandHeight; ///< rows
    uint16_t depth;
    MemoryHandle privateBlock; ///< the drawing routine's
    uint8_t flag;              ///< the caller's; 0
    bool bandLost;             ///< the routine could not draw the band, for want of memory
};

/// Has the routine fill the query. Returns its answer.
int32_t QueryPlatformOffscreen(PictureQuery *query, void *picture, DrawingRoutine routine) noexcept;

/// Makes and opens an off-screen.
///
/// bandHeight  in: the picture's height in rows; out: the routine's answer.
/// flag        kept in the record.
/// Returns the record, owned by the caller until TermPlatformOffscreen; null without memory, the
/// band height is 0 then.
OffscreenRecord *InitPlatformOffscreen(uint32_t width, uint32_t *bandHeight, uint16_t depth,
                                       uint16_t paletteCount, uint8_t *palette, void *picture,
                                       DrawingRoutine routine, const uint8_t *flag) noexcept;

/// Has the routine render rows firstRow .. lastRow - 1. Returns the handle of the band's pixels.
MemoryHandle DrawPlatformOffscreen(OffscreenRecord *record, uint32_t firstRow,
                                   uint32_t lastRow) noexcept;

/// Closes the off-screen and frees its record; null is ignored.
void TermPlatformOffscreen(OffscreenRecord *record) noexcept;

} // namespace kowen
