// The median-cut quantiser: a colour table of at most a wanted number of colours for a picture.
//
// Colours are counted by their upper five bits per channel; the occupied keys are cut into boxes
// by the median of their longest channel, and each box gives its weighted mean as one colour.
//
// Not on the export path.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Number of colour keys: red5 << 10 | green5 << 5 | blue5.
inline constexpr uint32_t kColourKeys = 32768;

constexpr uint16_t ColourKey(uint8_t red, uint8_t green, uint8_t blue) noexcept {
    return static_cast<uint16_t>((red >> 3) << 10 | (green >> 3) << 5 | blue >> 3);
}

/// The channel a box is sorted and cut along.
enum ColourAxis : uint8_t { kAxisRed = 0, kAxisGreen = 1, kAxisBlue = 2 };

/// One channel of a key, 0 to 31.
constexpr uint8_t KeyChannel(uint16_t key, uint8_t axis) noexcept {
    return static_cast<uint8_t>(key >> (10 - 5 * axis) & 31);
}

/// One occupied key and how many pixels have it, at most 65535.
///
/// A colour list holds these, in key order at first.
///
/// Hardened: there is one zero entry past its end, since sorting and the median look at the entry
/// after a box. Test: FindMedian.LooksAtTheZeroEntryPastTheList.
struct ColourCount {
    uint16_t key;
    uint16_t count;
};
static_assert(sizeof(ColourCount) == 4);

/// A box: entries first to last of the colour list, and what getCRectData measured of them.
struct ColourBox {
    uint16_t first;
    uint16_t last;
    uint32_t total; ///< sum of the counts
    uint8_t min[3]; ///< per channel, in the order of ColourAxis
    uint8_t max[3];
    uint8_t axis;    ///< a ColourAxis: the channel of the greatest range
    uint8_t mean[3]; ///< weighted by the counts
    uint8_t reserved[2];
};
static_assert(sizeof(ColourBox) == 20);

/// Values of the slot map that are no slot's own index.
inline constexpr uint16_t kSlotFree = 65535;
inline constexpr uint16_t kSlotUncuttable = 65534; ///< a box of one colour

/// A colour-library context: the quantiser's work tables and the state of the current cut.
struct ColourContext {
    MemoryHandle histogram; ///< kColourKeys counts of 16 bits; kept until TermColorLib
    MemoryHandle boxes;     ///< wanted ColourBox records
    MemoryHandle slots;     ///< wanted slot map values of 16 bits
    uint16_t distinctColours;
    uint16_t boxCount;
    uint16_t selected;
    uint16_t selectedFirst;
    uint16_t selectedLast;
    uint16_t median;
};
static_assert(sizeof(ColourContext) == (sizeof(void *) == 4 ? 24 : 40));

/// Returns the handle of a new context, ended by TermColorLib; 0 when memory is exhausted.
MemoryHandle InitColorLib() noexcept;

/// Frees a context and its work tables. Returns 0, also for handle 0; -1 when the handle cannot be
/// locked, and frees nothing then.
int32_t TermColorLib(MemoryHandle context) noexcept;

/// Flags of direct_indexed.
inline constexpr uint32_t kBuildTable = 1;    ///< build the table after counting
inline constexpr uint32_t kKeepHistogram = 2; ///< keep the counts for further calls

/// Counts a picture's colours and builds a table from all that was counted so far.
///
/// pixels   height rows of width 24-bit pixels, padded; borrowed. The last row's padding may be
///          missing.
/// wanted   in: entries wanted, as many as table holds; out: the entries made, fewer when the
///          picture has fewer distinct keys; 0 without kBuildTable.
/// flags    kBuildTable, kKeepHistogram.
/// table    out: 3 bytes per entry.
/// context  from InitColorLib.
///
/// Returns 0, or -1: no context or no memory, nothing was built.
///
/// Kept deliberately: the cutting stops one box short of the wanted number, and all entries are
/// written nevertheless: one from each slot, used, freed or never used.
/// Test: DirectIndexed.StopsOneBoxShortAndWritesEverySlot.
int32_t direct_indexed(const uint8_t *pixels, uint32_t width, uint32_t height, uint16_t *wanted,
                       uint32_t flags, uint8_t *table, MemoryHandle context) noexcept;

/// Makes box the box of entries first to last: total, range, axis and means.
///
/// Hardened: sums are wide enough for any picture.
/// Test: GetCRectData.SumsOfLargePicturesDoNotWrap.
/// Hardened: a box without counts has means of 0. Test:
/// GetCRectData.ABoxWithoutCountsHasMeansOfZero.
void getCRectData(ColourBox *box, const ColourCount *list, uint16_t first, uint16_t last) noexcept;

/// Returns the slot of the live box with the largest total, the lowest of equal ones; 0 when none
/// has a count.
uint16_t GetMaxHistSum(const ColourBox *boxes, const uint16_t *slots, uint16_t wanted) noexcept;

/// Sorts n entries by one channel, ascending; axis is a ColourAxis. There is an entry after them.
///
/// Kept deliberately: the heap is built with the entry after the part, which may trade places with
/// one of the part. Test: HeapSort.TheEntryAfterThePartTakesPart.
void HeapSort(ColourCount *part, uint8_t axis, int32_t n) noexcept;

/// Sifts entry start down to where its children, up to index last, are not greater. Of two
/// children the right one is taken unless the left is strictly greater.
void AdjustHeap(ColourCount *part, uint8_t axis, int32_t start, int32_t last) noexcept;

/// Exchanges two entries.
void clrswap(ColourCount *a, ColourCount *b) noexcept;

/// Returns the index of the entry after which box, sorted by its axis, is cut.
///
/// Kept deliberately: the walk down compares each entry with the one after it, and takes off the
/// count of the entry it arrives at. Test: FindMedian.TheWalkDownTakesOffTheCountItArrivesAt.
uint16_t find_median(const ColourCount *list, const ColourBox *box) noexcept;

/// Cuts the box of slot k at entry median into the two lowest free slots and frees slot k, whose
/// record stays. wanted is the number of slots. Returns 1.
int32_t split(ColourBox *boxes, uint16_t k, uint16_t median, uint16_t *boxCount, uint16_t *slots,
              const ColourCount *list, uint16_t wanted) noexcept;

} // namespace kowen
