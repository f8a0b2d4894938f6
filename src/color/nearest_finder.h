// Many nearest-colour searches in one table: the same answers as rlNearestRGBIndex, sooner.
//
// Greys. With all entries grey, the squared distance of (r, g, b) to the grey v is
// 3 v v - 2 v (r + g + b) + constant, so the answer depends on r + g + b only: one look-up.
//
// Colours. The colour cube is cut into cells, and a cell into eight leaves where that helps. The
// first search in a leaf lists the entries that can be nearest to any of its colours. There are
// few: mostly one or two, which are compared without a branch.
#pragma once

#include "color/color_table.h"
#include "color/kernels.h"
#include "color/nearest.h"

#include <algorithm>
#include <cstdint>

namespace kowen {

/// Boxes of one size; for each the place of the list of candidates for all of it, 0 at first.
struct ListLevel {
    uint32_t *lists;
    int bits; ///< of each channel that name a box
};

/// Tells the nearer of two entries, low and high: high is strictly nearer to (r, g, b) when
/// red r + green g + blue b + offset, which is (|p - high|^2 - |p - low|^2) / 2 rounded down, is
/// below 0. All 0 for a pair of the same entry.
struct PairPlane {
    int32_t red, green, blue, offset;
};

/// Entries that a leaf can name as a pair: one byte each.
inline constexpr uint32_t kPairEntries = 256;

/// Planes that a leaf can name: 14 bits.
inline constexpr uint32_t kPlanes = 16384;

/// Most levels of lists.
inline constexpr int kLevels = 4;

/// Finer searches are worth their preparation from here on.
inline constexpr uint64_t kFineSearches = 262144;

/// A table prepared for searches. Opened, used and closed within one call of the library.
struct NearestFinder {
    ColorTable table;
    MemoryHandle block; ///< what the pointers below point into; 0 = plain searches
    int cellBits;       ///< of each channel that name a cell: 5 or 6; 0 = plain searches
    uint32_t *cells;    ///< see kCellLeaf
    uint32_t *leaves;   ///< see kLeafPair
    uint32_t leavesUsed;
    ListLevel levels[kLevels]; ///< boxes larger than cells or as large, from coarse to fine
    int levelCount;
    uint16_t *greyBySum;          ///< the nearest grey for each r + g + b
    NearestCandidate *candidates; ///< lists; the first, at 1, holds all entries but the greys
    uint32_t candidatesUsed;
    uint32_t candidatesRoom;
    PairPlane *planes;     ///< the first is that of all pairs of the same entry
    uint16_t *planeOfPair; ///< hash table of planes, 0 for none; see PlaceOfPair
    uint16_t *pairOfPlane; ///< high << 8 | low
    uint32_t planesUsed;
    uint32_t beginnings; ///< how often all cells, leaves and planes began anew
};

/// A cell holds the place of its only leaf or of its eight; for eight, kCellDivided is set too.
/// Unbuilt cells are 0, and so is leaf 0.
inline constexpr uint32_t kCellLeaf = 0x00FFFFFF;
inline constexpr uint32_t kCellDivided = 0x07000000;

/// A leaf is 0 until it is built. With kLeafPair it names two entries of which one is the nearest,
/// the lower one in the low byte and the higher one above it, and above both their plane; else the
/// place of its list of candidates. With kLeafGreys it has grey requests among others, which its
/// candidates do not answer.
inline constexpr uint32_t kLeafPair = 0x80000000;
inline constexpr uint32_t kLeafGreys = 0x40000000;
inline constexpr uint32_t kLeafList = 0x3FFFFFFF;

/// Prepares a table for about searches searches; for few of them, or when memory is exhausted, the
/// finder searches plainly. At most 65535 entries.
void OpenFinder(NearestFinder *finder, const ColorTable &table, uint64_t searches) noexcept;

/// Prepares the lists of a table alone, for CandidatesAround and greyBySum; block is 0 when memory
/// is exhausted. At most 65535 entries.
void OpenLists(NearestFinder *finder, const ColorTable &table) noexcept;

/// Frees what OpenFinder or OpenLists took.
void CloseFinder(NearestFinder *finder) noexcept;

/// A list of the entries, greys aside, that can be nearest to any colour of a box of 8 x 8 x 8, for
/// a finder with all levels. color is one of the box's. Good until the next call.
const NearestCandidate *CandidatesAround(NearestFinder *finder, const uint8_t color[3]) noexcept;

/// The search in all leaves but the quick ones; builds the leaf of the colour when need be.
uint32_t FindNearestSlowly(NearestFinder *finder, uint8_t red, uint8_t green,
                           uint8_t blue) noexcept;

/// The nearer entry of a leaf's pair, the lower one of equally near ones.
inline uint32_t NearestOfPair(const NearestFinder &finder, uint32_t leaf, int32_t red,
                              int32_t green, int32_t blue) noexcept {
    const PairPlane &plane = finder.planes[leaf >> 16 & (kPlanes - 1)];
    const int32_t side = red * plane.red + green * plane.green + blue * plane.blue + plane.offset;
    const uint32_t isHigh = static_cast<uint32_t>(side) >> 31;
    return leaf >> 8 * isHigh & 0xFF;
}

/// The leaf of a colour. Bits is the finder's cellBits.
template <int Bits>
inline uint32_t LeafOf(const NearestFinder &finder, uint32_t red, uint32_t green,
                       uint32_t blue) noexcept {
    constexpr int kShift = 8 - Bits;
    const uint32_t cell =
        finder.cells[red >> kShift << 2 * Bits | green >> kShift << Bits | blue >> kShift];
    constexpr int kBit = kShift - 1; // that tells the halves of a cell apart
    const uint32_t leaf = (red >> kBit & 1) << 2 | (green >> kBit & 1) << 1 | (blue >> kBit & 1);
    return finder.leaves[(cell & kCellLeaf) + (leaf & cell >> 24)];
}

/// Returns what rlNearestRGBIndex returns for the finder's table. Bits is the finder's cellBits.
template <int Bits>
inline uint32_t FindNearest(NearestFinder *finder, uint8_t red, uint8_t green,
                            uint8_t blue) noexcept {
    if constexpr (Bits == 0) {
        return static_cast<uint32_t>(
            rlNearestRGBIndex(red, green, blue, finder->table.entries, finder->table.count));
    } else {
        const uint32_t leaf = LeafOf<Bits>(*finder, red, green, blue);
        if ((leaf & (kLeafPair | kLeafGreys)) == kLeafPair)
            return NearestOfPair(*finder, leaf, red, green, blue);
        return FindNearestSlowly(finder, red, green, blue);
    }
}

} // namespace kowen
