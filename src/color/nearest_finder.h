// Many nearest-colour searches in one table: the same answers as rlNearestRGBIndex, sooner.
//
// Greys. With all entries grey, the squared distance of (r, g, b) to the grey v is
// 3 v v - 2 v (r + g + b) + constant, so the answer depends on r + g + b only: one look-up.
//
// Colours. The colour cube is cut into 32 x 32 x 32 cells. The first search in a cell lists the
// entries that can be nearest to any of its colours; there are few, often one.
#pragma once

#include "color/color_table.h"
#include "color/nearest.h"

#include <algorithm>
#include <cstdint>

namespace kowen {

/// An entry that a search looks at. The head of a list has the list's length as index.
struct NearestCandidate {
    uint16_t index;
    uint8_t color[3];
};

/// A table prepared for searches. Opened, used and closed within one call of the library.
struct NearestFinder {
    ColorTable table;
    MemoryHandle block;           ///< what the pointers below point into; 0 = plain searches
    uint32_t *cells;              ///< 32 x 32 x 32, see kCellSingle
    uint32_t *coarseCells;        ///< 8 x 8 x 8, likewise
    uint16_t *greyBySum;          ///< the nearest grey for each r + g + b
    NearestCandidate *candidates; ///< lists of candidates; the first holds all that are not grey
    uint32_t used;
    uint32_t capacity;
};

/// A cell is 0 while it was not built; else the place of its list; or, with this bit, the index of
/// its only candidate.
inline constexpr uint32_t kCellSingle = 0x80000000;

/// Prepares a table for about searches searches; for few of them, or when memory is exhausted, the
/// finder searches plainly. At most 65535 entries.
void OpenFinder(NearestFinder *finder, const ColorTable &table, uint64_t searches) noexcept;

/// Frees what OpenFinder took.
void CloseFinder(NearestFinder *finder) noexcept;

/// Lists the candidates of the cell of a colour; returns the cell's new value.
uint32_t BuildCell(NearestFinder *finder, uint8_t red, uint8_t green, uint8_t blue) noexcept;

/// The nearest of a list of candidates, lowest index first.
inline uint32_t NearestOfList(const NearestCandidate *list, int red, int green, int blue) noexcept {
    const NearestCandidate *const end = list + 1 + list->index;
    int best = INT32_MAX;
    uint32_t index = 0;
    while (++list != end) {
        const int r = red - list->color[0];
        const int g = green - list->color[1];
        const int b = blue - list->color[2];
        const int distance = r * r + g * g + b * b;
        index = distance < best ? list->index : index;
        best = std::min(distance, best);
    }
    return index;
}

/// Returns what rlNearestRGBIndex returns for the finder's table.
inline uint32_t FindNearest(NearestFinder *finder, uint8_t red, uint8_t green,
                            uint8_t blue) noexcept {
    if (finder->block == 0)
        return static_cast<uint32_t>(
            rlNearestRGBIndex(red, green, blue, finder->table.entries, finder->table.count));
    if (std::max({red, green, blue}) - std::min({red, green, blue}) <= kGreyTolerance)
        return finder->greyBySum[red + green + blue];
    uint32_t cell = finder->cells[(red >> 3) << 10 | (green >> 3) << 5 | blue >> 3];
    if (cell == 0)
        cell = BuildCell(finder, red, green, blue);
    if ((cell & kCellSingle) != 0)
        return cell & 0xFFFF;
    return NearestOfList(finder->candidates + cell, red, green, blue);
}

} // namespace kowen
