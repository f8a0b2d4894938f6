// Searches in a small table with one look-up and one comparison: what the ditherer runs on.
//
// Over a finder of 5 bits: each of its leaves, boxes of 4 x 4 x 4 colours, names by one byte a kind
// of leaf: a pair of entries and the plane between them. Small tables have few kinds.
#pragma once

#include "color/nearest_finder.h"

#include <cstdint>

namespace kowen {

/// A pair of entries; see PairPlane.
struct QuickKind {
    PairPlane plane;
    uint8_t index[4]; ///< of the lower and of the higher entry
};

/// Kinds 1 to 200 are the finder's planes of that number, from 201 on single entries. 0 is for
/// boxes whose leaf is not built or not quick.
inline constexpr uint32_t kSingleKinds = 201;

/// A table's largest size.
inline constexpr uint32_t kQuickEntries = 256 - kSingleKinds;

/// Opened, used and closed within one call of the library.
struct QuickCells {
    NearestFinder *finder;
    MemoryHandle block;  ///< of kinds; 0 when the cells do not serve
    uint8_t *kinds;      ///< one for each box: 6 bits of red, green and blue
    uint32_t beginnings; ///< of the finder, when kinds was cleared
    QuickKind kind[256];
};

/// Prepares the cells of a finder, borrowed until CloseQuickCells. They do not serve when the
/// finder searches plainly or in finer cells, when its table is too large, or when memory is
/// exhausted.
void OpenQuickCells(QuickCells *cells, NearestFinder *finder) noexcept;

/// Frees what OpenQuickCells took.
void CloseQuickCells(QuickCells *cells) noexcept;

/// The search in a box of kind 0; may give the box and its neighbours a kind.
uint32_t FindInNewCell(QuickCells *cells, uint8_t red, uint8_t green, uint8_t blue) noexcept;

/// Returns what rlNearestRGBIndex returns for the finder's table.
///
/// pixel  red, green and blue, each 0..255, in bits 0, 16 and 32 and up.
inline uint32_t FindInCells(QuickCells *cells, uint64_t pixel) noexcept {
    // One product moves the upper six bits of all three side by side to the top: red by 56 bits,
    // green by 34, blue by 12. All other parts of the product fall below them or off the end.
    constexpr uint64_t kUpperBits = 0x000000FC00FC00FC;
    constexpr uint64_t kMoves = uint64_t{1} << 56 | uint64_t{1} << 34 | uint64_t{1} << 12;
    const auto box = static_cast<uint32_t>((pixel & kUpperBits) * kMoves >> 46);
    const auto red = static_cast<uint8_t>(pixel);
    const auto green = static_cast<uint8_t>(pixel >> 16);
    const auto blue = static_cast<uint8_t>(pixel >> 32);
    const uint8_t kind = cells->kinds[box];
    if (kind == 0)
        return FindInNewCell(cells, red, green, blue);
    const QuickKind &pair = cells->kind[kind];
    const PairPlane &plane = pair.plane;
    const int32_t side = red * plane.red + green * plane.green + blue * plane.blue + plane.offset;
    return pair.index[static_cast<uint32_t>(side) >> 31];
}

} // namespace kowen
