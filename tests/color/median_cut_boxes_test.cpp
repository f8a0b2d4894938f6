#include "color/median_cut.h"

#include <gtest/gtest.h>

#include <vector>

namespace kowen {
namespace {

uint16_t Key(int red, int green, int blue) {
    return static_cast<uint16_t>(red << 10 | green << 5 | blue);
}

using List = std::vector<ColourCount>;

// Entries that differ in blue only, each counted as often as counts says; and the zero entry.
List Blues(const std::vector<int> &blues, const std::vector<int> &counts) {
    List list;
    for (size_t i = 0; i < blues.size(); ++i)
        list.push_back({Key(0, 0, blues[i]), static_cast<uint16_t>(counts[i])});
    list.push_back({0, 0});
    return list;
}

std::vector<int> BluesOf(const List &list) {
    std::vector<int> blues;
    for (const ColourCount &entry : list)
        blues.push_back(KeyChannel(entry.key, kAxisBlue));
    return blues;
}

std::vector<int> CountsOf(const List &list) {
    std::vector<int> counts;
    for (const ColourCount &entry : list)
        counts.push_back(entry.count);
    return counts;
}

using Numbers = std::vector<int>;

TEST(KeyChannel, TakesFiveBitsEach) {
    EXPECT_EQ(ColourKey(255, 255, 255), 0x7FFF);
    EXPECT_EQ(ColourKey(7, 7, 7), 0);
    EXPECT_EQ(ColourKey(8, 16, 24), Key(1, 2, 3));
    EXPECT_EQ(KeyChannel(Key(1, 2, 3), kAxisRed), 1);
    EXPECT_EQ(KeyChannel(Key(1, 2, 3), kAxisGreen), 2);
    EXPECT_EQ(KeyChannel(Key(1, 2, 3), kAxisBlue), 3);
}

TEST(GetCRectData, MeasuresABox) {
    // Sums over 2 + 4 = 6 counts: red 2 + 20 = 22, green 4 + 8 = 12, blue 6 + 36 = 42.
    const List list = {{9, 9}, {Key(1, 2, 3), 2}, {Key(5, 2, 9), 4}, {9, 9}};
    ColourBox box;
    getCRectData(&box, list.data(), 1, 2);
    EXPECT_EQ(box.first, 1);
    EXPECT_EQ(box.last, 2);
    EXPECT_EQ(box.total, 6u);
    EXPECT_EQ(box.mean[kAxisRed], 3);
    EXPECT_EQ(box.mean[kAxisGreen], 2);
    EXPECT_EQ(box.mean[kAxisBlue], 7);
    EXPECT_EQ(box.min[kAxisRed], 1);
    EXPECT_EQ(box.max[kAxisRed], 5);
    EXPECT_EQ(box.min[kAxisGreen], 2);
    EXPECT_EQ(box.max[kAxisGreen], 2);
    EXPECT_EQ(box.min[kAxisBlue], 3);
    EXPECT_EQ(box.max[kAxisBlue], 9);
    EXPECT_EQ(box.axis, kAxisBlue); // ranges 4, 0, 6
}

uint8_t AxisOf(uint16_t a, uint16_t b) {
    const List list = {{a, 1}, {b, 1}};
    ColourBox box;
    getCRectData(&box, list.data(), 0, 1);
    return box.axis;
}

TEST(GetCRectData, EqualRangesKeepTheEarlierChannel) {
    EXPECT_EQ(AxisOf(Key(0, 0, 0), Key(5, 5, 5)), kAxisRed);
    EXPECT_EQ(AxisOf(Key(0, 0, 0), Key(4, 5, 5)), kAxisGreen);
    EXPECT_EQ(AxisOf(Key(0, 0, 0), Key(5, 4, 5)), kAxisRed);
    EXPECT_EQ(AxisOf(Key(0, 0, 0), Key(4, 5, 6)), kAxisBlue);
    EXPECT_EQ(AxisOf(Key(9, 9, 9), Key(9, 9, 9)), kAxisRed);
}

TEST(GetCRectData, SumsOfLargePicturesDoNotWrap) {
    const List list(32768, {Key(31, 31, 31), 65535}); // sums of 66.6 thousand million
    ColourBox box;
    getCRectData(&box, list.data(), 0, 32767);
    EXPECT_EQ(box.total, 2147450880u);
    EXPECT_EQ(box.mean[kAxisBlue], 31);
}

TEST(GetCRectData, ABoxWithoutCountsHasMeansOfZero) {
    const List list = {{Key(1, 2, 3), 0}, {Key(5, 2, 9), 0}};
    ColourBox box;
    getCRectData(&box, list.data(), 0, 1);
    EXPECT_EQ(box.total, 0u);
    EXPECT_EQ(box.mean[0] + box.mean[1] + box.mean[2], 0);
    EXPECT_EQ(box.axis, kAxisBlue);
}

uint16_t Largest(const std::vector<uint32_t> &totals, const std::vector<uint16_t> &slots) {
    std::vector<ColourBox> boxes(totals.size());
    for (size_t i = 0; i < totals.size(); ++i)
        boxes[i].total = totals[i];
    return GetMaxHistSum(boxes.data(), slots.data(), static_cast<uint16_t>(slots.size()));
}

TEST(GetMaxHistSum, TakesTheFirstOfTheLargestLiveBoxes) {
    EXPECT_EQ(Largest({5, 9, 9, 7}, {0, 1, 2, 3}), 1);
    EXPECT_EQ(Largest({5, 90, 9, 80}, {0, kSlotUncuttable, 2, kSlotFree}), 2);
    EXPECT_EQ(Largest({7, 0xFFFFFFFF, 0, 0}, {0, 1, 2, 3}), 1);
}

TEST(GetMaxHistSum, ZeroWhenNoBoxIsLive) {
    EXPECT_EQ(Largest({5, 9}, {kSlotFree, kSlotUncuttable}), 0);
    EXPECT_EQ(Largest({0, 0}, {0, 1}), 0);
}

TEST(Clrswap, ExchangesWholeEntries) {
    ColourCount a = {1, 2}, b = {3, 4};
    clrswap(&a, &b);
    EXPECT_EQ(a.key, 3);
    EXPECT_EQ(a.count, 4);
    EXPECT_EQ(b.key, 1);
    EXPECT_EQ(b.count, 2);
}

TEST(AdjustHeap, SiftsDownToSmallerChildren) {
    //      2                9
    //    9   8     ->     7   8
    //   5 7 1            5 2 1
    List list = Blues({2, 9, 8, 5, 7, 1}, {1, 1, 1, 1, 1, 1});
    AdjustHeap(list.data(), kAxisBlue, 0, 5);
    EXPECT_EQ(BluesOf(list), Numbers({9, 7, 8, 5, 2, 1, 0}));
}

TEST(AdjustHeap, TakesTheRightOfEqualChildren) {
    List list = Blues({1, 5, 5}, {10, 11, 12});
    AdjustHeap(list.data(), kAxisBlue, 0, 2);
    EXPECT_EQ(CountsOf(list), Numbers({12, 11, 10, 0}));
}

TEST(AdjustHeap, AnEqualParentStays) {
    List list = Blues({5, 5, 5}, {10, 11, 12});
    AdjustHeap(list.data(), kAxisBlue, 0, 2);
    EXPECT_EQ(CountsOf(list), Numbers({10, 11, 12, 0}));
}

TEST(AdjustHeap, StopsAtTheLastIndex) {
    List list = Blues({1, 5, 9, 7}, {1, 1, 1, 1});
    AdjustHeap(list.data(), kAxisBlue, 0, 1); // the right child does not exist
    EXPECT_EQ(BluesOf(list), Numbers({5, 1, 9, 7, 0}));
    AdjustHeap(list.data(), kAxisBlue, 0, 0);
    EXPECT_EQ(BluesOf(list), Numbers({5, 1, 9, 7, 0}));
}

TEST(HeapSort, SortsByItsChannelOnly) {
    List list = {{Key(3, 0, 9), 1}, {Key(1, 9, 8), 2}, {Key(2, 5, 7), 3}, {0, 0}};
    HeapSort(list.data(), kAxisRed, 3);
    EXPECT_EQ(CountsOf(list), Numbers({2, 3, 1, 0}));
    HeapSort(list.data(), kAxisGreen, 3);
    EXPECT_EQ(CountsOf(list), Numbers({1, 3, 2, 0}));
    HeapSort(list.data(), kAxisBlue, 3);
    EXPECT_EQ(CountsOf(list), Numbers({3, 2, 1, 0}));
}

TEST(HeapSort, TheEntryAfterThePartTakesPart) {
    // The part is 5 3, and 9 follows. Building sifts index 0 down to index 2: of 3 and 9 the right
    // one is taken, 9 3 | 5. Then 9 goes to the end of the part: 3 9 | 5.
    List list = Blues({5, 3, 9}, {1, 1, 1});
    HeapSort(list.data(), kAxisBlue, 2);
    EXPECT_EQ(BluesOf(list), Numbers({3, 9, 5, 0}));
}

TEST(HeapSort, APartOfOneTradesWithALargerNeighbour) {
    List list = Blues({2, 9}, {1, 1});
    HeapSort(list.data(), kAxisBlue, 1);
    EXPECT_EQ(BluesOf(list), Numbers({9, 2, 0}));
    HeapSort(list.data(), kAxisBlue, 1);
    EXPECT_EQ(BluesOf(list), Numbers({9, 2, 0}));
    HeapSort(list.data() + 1, kAxisBlue, 0);
    EXPECT_EQ(BluesOf(list), Numbers({9, 2, 0}));
}

uint16_t MedianOf(const List &list, uint16_t first, uint16_t last) {
    ColourBox box = {};
    box.first = first;
    box.last = last;
    box.axis = kAxisBlue;
    return find_median(list.data(), &box);
}

TEST(FindMedian, OfTwoEntriesIsTheFirst) {
    const List list = Blues({1, 2, 3}, {1, 100, 9});
    EXPECT_EQ(MedianOf(list, 0, 1), 0);
    EXPECT_EQ(MedianOf(list, 2, 2), 2);
}

TEST(FindMedian, IsWhereHalfTheCountIsReached) {
    // Total 5, half 2: reached at index 1 with 2. No walks: 2 - 2 > 2 - 2 is false, so low = 1.
    EXPECT_EQ(MedianOf(Blues({1, 2, 3, 4, 5}, {1, 1, 1, 1, 1}), 0, 4), 1);
    // Total 20, half 10: 9 is not enough, 11 at index 1 is.
    EXPECT_EQ(MedianOf(Blues({1, 2, 3}, {9, 2, 9}), 0, 2), 1);
    // Total 12, half 6: reached at once.
    EXPECT_EQ(MedianOf(Blues({1, 2, 3}, {8, 2, 2}), 0, 2), 0);
}

TEST(FindMedian, GoesUpPastEqualChannels) {
    // Total 15, half 7: reached at index 1 with 7. Up: index 2 with 8. Down: index 1 equals 2, so
    // index 0 with 7 - 5 = 2. 7 - 2 = 5 is more than 8 - 7 = 1: up.
    EXPECT_EQ(MedianOf(Blues({2, 2, 2, 9}, {5, 2, 1, 7}), 0, 3), 2);
}

TEST(FindMedian, TheWalkDownTakesOffTheCountItArrivesAt) {
    // Total 13, half 6: reached at index 1 with 9. Up: index 2 with 10. Down: index 0 with
    // 9 - 1 = 8. 6 - 8 = -2 is not more than 10 - 6 = 4: down. (Taking off the count it leaves
    // would give 6 - 1 = 5, and up.)
    EXPECT_EQ(MedianOf(Blues({1, 2, 2, 9}, {1, 8, 1, 3}), 0, 3), 0);
}

TEST(FindMedian, TheWalkDownComparesWithTheEntryAfter) {
    // Total 12, half 6: reached at index 2 with 6. Index 2 differs from index 3, so neither walk
    // begins, although indices 1 and 2 are equal.
    EXPECT_EQ(MedianOf(Blues({1, 2, 2, 9}, {1, 2, 3, 6}), 0, 3), 2);
}

TEST(FindMedian, LooksAtTheZeroEntryPastTheList) {
    // Total 11, half 5: reached at index 2 with 11. Its 0 equals the zero entry's: down to index 1
    // with 11 - 1 = 10, whose 2 differs from 0. 5 - 10 is not more than 11 - 5: down.
    EXPECT_EQ(MedianOf(Blues({3, 2, 0}, {1, 1, 9}), 0, 2), 1);
    EXPECT_EQ(MedianOf(Blues({3, 2, 1}, {1, 1, 9}), 0, 2), 2);
}

TEST(FindMedian, OfABoxWithoutCountsIsFound) {
    // Half 0 is reached at index 0; 0 - 0 > 0 - 0 is false: low, which stays at the first.
    EXPECT_EQ(MedianOf(Blues({1, 2, 3}, {0, 0, 0}), 0, 2), 0);
}

struct Slots {
    List list = Blues({1, 2, 3, 4, 5, 6}, {1, 1, 1, 1, 1, 1});
    std::vector<ColourBox> boxes = std::vector<ColourBox>(5);
    std::vector<uint16_t> map = {0, kSlotFree, kSlotFree, kSlotFree, kSlotFree};
    uint16_t count = 1;

    Slots() { getCRectData(&boxes[0], list.data(), 0, 5); }
    void Split(uint16_t slot, uint16_t median) {
        EXPECT_EQ(split(boxes.data(), slot, median, &count, map.data(), list.data(),
                        static_cast<uint16_t>(map.size())),
                  1);
    }
    std::pair<int, int> Range(size_t slot) const { return {boxes[slot].first, boxes[slot].last}; }
};

using Range = std::pair<int, int>;
using Map = std::vector<uint16_t>;

TEST(Split, MakesTwoBoxesInTheLowestFreeSlots) {
    Slots slots;
    slots.Split(0, 2);
    EXPECT_EQ(slots.map, Map({kSlotFree, 1, 2, kSlotFree, kSlotFree}));
    EXPECT_EQ(slots.Range(1), Range(0, 2));
    EXPECT_EQ(slots.Range(2), Range(3, 5));
    EXPECT_EQ(slots.boxes[1].total, 3u);
    EXPECT_EQ(slots.boxes[2].mean[kAxisBlue], 5);
    EXPECT_EQ(slots.count, 2);
}

TEST(Split, LeavesTheFreedSlotsRecord) {
    Slots slots;
    slots.Split(0, 2);
    EXPECT_EQ(slots.Range(0), Range(0, 5));
    EXPECT_EQ(slots.boxes[0].mean[kAxisBlue], 3);
}

TEST(Split, AtTheFirstEntryMakesABoxThatCannotBeCut) {
    Slots slots;
    slots.Split(0, 0);
    EXPECT_EQ(slots.map, Map({kSlotFree, kSlotUncuttable, 2, kSlotFree, kSlotFree}));
    EXPECT_EQ(slots.Range(1), Range(0, 0));
    EXPECT_EQ(slots.Range(2), Range(1, 5));
}

TEST(Split, AtTheLastEntryLeavesItAlone) {
    Slots slots;
    slots.Split(0, 5);
    EXPECT_EQ(slots.map, Map({kSlotFree, 1, kSlotUncuttable, kSlotFree, kSlotFree}));
    EXPECT_EQ(slots.Range(1), Range(0, 4));
    EXPECT_EQ(slots.Range(2), Range(5, 5));
}

TEST(Split, BeforeTheLastEntryMakesItABoxThatCannotBeCut) {
    Slots slots;
    slots.Split(0, 4);
    EXPECT_EQ(slots.map, Map({kSlotFree, 1, kSlotUncuttable, kSlotFree, kSlotFree}));
    EXPECT_EQ(slots.Range(1), Range(0, 4));
    EXPECT_EQ(slots.Range(2), Range(5, 5));
}

TEST(Split, OfTwoEntriesMakesTwoThatCannotBeCut) {
    Slots slots;
    getCRectData(&slots.boxes[0], slots.list.data(), 3, 4);
    slots.Split(0, 3);
    EXPECT_EQ(slots.map, Map({kSlotFree, kSlotUncuttable, kSlotUncuttable, kSlotFree, kSlotFree}));
    EXPECT_EQ(slots.Range(1), Range(3, 3));
    EXPECT_EQ(slots.Range(2), Range(4, 4));
}

TEST(Split, OfOneEntryMakesItTwice) {
    Slots slots;
    getCRectData(&slots.boxes[0], slots.list.data(), 3, 3);
    slots.Split(0, 3);
    EXPECT_EQ(slots.Range(1), Range(3, 3));
    EXPECT_EQ(slots.Range(2), Range(3, 3));
    EXPECT_EQ(slots.map, Map({kSlotFree, kSlotUncuttable, kSlotUncuttable, kSlotFree, kSlotFree}));
}

TEST(Split, UsesFreedSlotsAgain) {
    Slots slots;
    slots.Split(0, 2); // 0..2 in slot 1, 3..5 in slot 2
    slots.Split(1, 0); // 0 in slot 0, 1..2 in slot 3
    EXPECT_EQ(slots.map, Map({kSlotUncuttable, kSlotFree, 2, 3, kSlotFree}));
    EXPECT_EQ(slots.Range(0), Range(0, 0));
    EXPECT_EQ(slots.Range(3), Range(1, 2));
    EXPECT_EQ(slots.count, 3);
}

TEST(Split, UsesTheLastSlotWhenNoneIsFree) {
    Slots slots;
    slots.map = {0, 1, 2, 3, 4};
    slots.Split(0, 2);
    EXPECT_EQ(slots.Range(4), Range(3, 5)); // the second box, made after the first there
    EXPECT_EQ(slots.map, Map({kSlotFree, 1, 2, 3, 4}));
}

TEST(Split, ReadsItsBoxBeforeWritingWhereItStands) {
    Slots slots; // slot 0 is free, yet its record is cut: no live box was found
    slots.map = {kSlotFree, 1, 2, kSlotFree, 4};
    slots.Split(0, 2);
    EXPECT_EQ(slots.Range(0), Range(0, 2));
    EXPECT_EQ(slots.Range(3), Range(3, 5));
    EXPECT_EQ(slots.map, Map({kSlotFree, 1, 2, 3, 4}));
}

} // namespace
} // namespace kowen
