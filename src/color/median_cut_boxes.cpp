#include "color/median_cut.h"

#include <utility>

namespace kowen {
namespace {

int Range(const ColourBox &box, int axis) noexcept {
    return box.max[axis] - box.min[axis];
}

uint8_t LongestAxis(const ColourBox &box) noexcept {
    uint8_t longest = kAxisRed;
    for (uint8_t axis = kAxisGreen; axis <= kAxisBlue; ++axis)
        if (Range(box, axis) > Range(box, longest))
            longest = axis;
    return longest;
}

// The lowest free slot from a given one on; the last slot when none is free.
uint16_t FreeSlot(const uint16_t *slots, uint32_t from, uint16_t wanted) noexcept {
    for (uint32_t i = from; i < wanted; ++i)
        if (slots[i] == kSlotFree)
            return static_cast<uint16_t>(i);
    return static_cast<uint16_t>(wanted - 1);
}

int64_t TotalOf(const ColourCount *list, const ColourBox &box) noexcept {
    int64_t total = 0;
    for (uint32_t i = box.first; i <= box.last; ++i)
        total += list[i].count;
    return total;
}

bool SameChannelAsNext(const ColourCount *list, uint32_t i, uint8_t axis) noexcept {
    return KeyChannel(list[i].key, axis) == KeyChannel(list[i + 1].key, axis);
}

} // namespace

void getCRectData(ColourBox *box, const ColourCount *list, uint16_t first, uint16_t last) noexcept {
    uint64_t sums[3] = {};
    *box = {};
    box->first = first;
    box->last = last;
    for (int axis = 0; axis < 3; ++axis)
        box->min[axis] = 255;
    for (uint32_t i = first; i <= last; ++i) {
        box->total += list[i].count;
        for (uint8_t axis = kAxisRed; axis <= kAxisBlue; ++axis) {
            const uint8_t channel = KeyChannel(list[i].key, axis);
            sums[axis] += uint64_t{list[i].count} * channel;
            box->min[axis] = channel < box->min[axis] ? channel : box->min[axis];
            box->max[axis] = channel > box->max[axis] ? channel : box->max[axis];
        }
    }
    box->axis = LongestAxis(*box);
    for (int axis = 0; box->total != 0 && axis < 3; ++axis)
        box->mean[axis] = static_cast<uint8_t>(sums[axis] / box->total);
}

uint16_t GetMaxHistSum(const ColourBox *boxes, const uint16_t *slots, uint16_t wanted) noexcept {
    uint32_t largest = 0;
    uint16_t slot = 0;
    for (uint16_t i = 0; i < wanted; ++i) {
        if (slots[i] < kSlotUncuttable && boxes[i].total > largest) {
            largest = boxes[i].total;
            slot = i;
        }
    }
    return slot;
}

void clrswap(ColourCount *a, ColourCount *b) noexcept {
    std::swap(*a, *b);
}

void AdjustHeap(ColourCount *part, uint8_t axis, int32_t start, int32_t last) noexcept {
    const auto channel = [&](int32_t i) noexcept { return KeyChannel(part[i].key, axis); };
    for (int32_t parent = start, child; (child = 2 * parent + 1) <= last; parent = child) {
        if (child < last && channel(child) <= channel(child + 1))
            ++child;
        if (channel(parent) >= channel(child))
            return;
        clrswap(&part[parent], &part[child]);
    }
}

void HeapSort(ColourCount *part, uint8_t axis, int32_t n) noexcept {
    for (int32_t i = (n - 2) / 2; i >= 0; --i)
        AdjustHeap(part, axis, i, n); // n, not n - 1: see the contract
    for (int32_t i = n - 1; i >= 1; --i) {
        clrswap(&part[0], &part[i]);
        AdjustHeap(part, axis, 0, i - 1);
    }
}

uint16_t find_median(const ColourCount *list, const ColourBox *box) noexcept {
    if (box->last - box->first <= 1)
        return box->first;
    const int64_t half = TotalOf(list, *box) / 2;
    uint16_t middle = box->first;
    int64_t count = list[middle].count;
    while (count < half)
        count += list[++middle].count;

    uint16_t high = middle;
    int64_t highCount = count;
    while (high < box->last && SameChannelAsNext(list, high, box->axis))
        highCount += list[++high].count;

    uint16_t low = middle;
    int64_t lowCount = count;
    while (low > box->first && SameChannelAsNext(list, low, box->axis))
        lowCount -= list[--low].count;

    return half - lowCount > highCount - half ? high : low;
}

int32_t split(ColourBox *boxes, uint16_t k, uint16_t median, uint16_t *boxCount, uint16_t *slots,
              const ColourCount *list, uint16_t wanted) noexcept {
    const uint16_t first = boxes[k].first;
    const uint16_t last = boxes[k].last;
    const auto before = static_cast<uint16_t>(median - 1);
    const auto after = static_cast<uint16_t>(median + 1);

    const uint16_t lower = FreeSlot(slots, 0, wanted);
    slots[lower] = median == first ? kSlotUncuttable : lower;
    getCRectData(&boxes[lower], list, first, median != first && median == last ? before : median);

    const uint16_t upper = FreeSlot(slots, lower + uint32_t{1}, wanted);
    slots[upper] = median == last || after == last ? kSlotUncuttable : upper;
    getCRectData(&boxes[upper], list, median == last ? median : after, last);

    slots[k] = kSlotFree;
    ++*boxCount;
    return 1;
}

} // namespace kowen
