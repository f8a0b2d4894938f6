#include "color/median_cut.h"

#include "color/pixel.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr uint16_t kMaxCount = 65535;

// Frees the block of a context's field and puts a zero-filled one there; null when memory is
// exhausted.
template <typename T> T *Renew(MemoryHandle *handle, uint16_t count) noexcept {
    rlFreeNewData(*handle);
    *handle = rlGetMemory(count, sizeof(T));
    return Lock<T>(*handle);
}

uint16_t *LockHistogram(ColourContext *context) noexcept {
    if (context->histogram == 0)
        context->histogram = rlGetMemory(kColourKeys, sizeof(uint16_t));
    return Lock<uint16_t>(context->histogram);
}

// Adds the picture's pixels to the histogram; returns how many keys were new.
uint16_t CountColours(uint16_t *histogram, const uint8_t *pixels, uint32_t width,
                      uint32_t height) noexcept {
    const size_t stride = rlBytesPerLine(width, 24);
    uint16_t distinct = 0;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *pixel = pixels + y * stride;
        for (uint32_t x = 0; x < width; ++x, pixel += 3) {
            uint16_t &count = histogram[ColourKey(pixel[0], pixel[1], pixel[2])];
            distinct += count == 0;
            count += count < kMaxCount;
        }
    }
    return distinct;
}

// Five bits to eight: 0 stays 0 and 31 becomes 255.
uint8_t Widened(uint8_t channel5) noexcept {
    return static_cast<uint8_t>(channel5 == 0 ? 0 : channel5 * 8 | 7);
}

void WriteKeyColours(const uint16_t *histogram, uint8_t *table) noexcept {
    for (uint32_t key = 0; key < kColourKeys; ++key) {
        if (histogram[key] == 0)
            continue;
        for (uint8_t axis = kAxisRed; axis <= kAxisBlue; ++axis)
            *table++ = Widened(KeyChannel(static_cast<uint16_t>(key), axis));
    }
}

void WriteBoxColours(const ColourBox *boxes, uint16_t wanted, uint8_t *table) noexcept {
    for (uint32_t i = 0; i < wanted; ++i)
        for (uint8_t axis = kAxisRed; axis <= kAxisBlue; ++axis)
            *table++ = Widened(boxes[i].mean[axis]);
}

void ListColours(const uint16_t *histogram, ColourCount *list) noexcept {
    for (uint32_t key = 0; key < kColourKeys; ++key)
        if (histogram[key] != 0)
            *list++ = {static_cast<uint16_t>(key), histogram[key]};
}

void CutBoxes(ColourContext *context, ColourBox *boxes, uint16_t *slots, ColourCount *list,
              uint16_t wanted) noexcept {
    std::fill_n(slots, wanted, kSlotFree);
    context->boxCount = 1;
    slots[0] = 0;
    getCRectData(&boxes[0], list, 0, static_cast<uint16_t>(context->distinctColours - 1));
    while (context->boxCount < wanted - 1) {
        context->selected = GetMaxHistSum(boxes, slots, wanted);
        const ColourBox *box = &boxes[context->selected];
        context->selectedFirst = box->first;
        context->selectedLast = box->last;
        HeapSort(list + box->first, box->axis, box->last - box->first + 1);
        context->median = find_median(list, box);
        split(boxes, context->selected, context->median, &context->boxCount, slots, list, wanted);
    }
}

int32_t BuildTable(ColourContext *context, const uint16_t *histogram, uint16_t *wanted,
                   uint8_t *table) noexcept {
    if (context->distinctColours < *wanted) {
        WriteKeyColours(histogram, table);
        *wanted = context->distinctColours;
        return 0;
    }
    if (*wanted == 0)
        return 0;
    const MemoryHandle listBlock =
        rlGetMemory(sizeof(ColourCount), context->distinctColours + uint32_t{1});
    if (listBlock == 0)
        return -1;
    auto *list = Lock<ColourCount>(listBlock);
    auto *boxes = Lock<ColourBox>(context->boxes);
    ListColours(histogram, list);
    CutBoxes(context, boxes, Lock<uint16_t>(context->slots), list, *wanted);
    WriteBoxColours(boxes, *wanted, table);
    GlobalFree(listBlock);
    return 0;
}

} // namespace

MemoryHandle InitColorLib() noexcept {
    return rlGetMemory(1, sizeof(ColourContext));
}

int32_t TermColorLib(MemoryHandle context) noexcept {
    if (context == 0)
        return 0;
    auto *fields = Lock<ColourContext>(context);
    if (fields == nullptr)
        return -1;
    rlFreeNewData(fields->histogram);
    rlFreeNewData(fields->boxes);
    rlFreeNewData(fields->slots);
    GlobalFree(context);
    return 0;
}

int32_t direct_indexed(const uint8_t *pixels, uint32_t width, uint32_t height, uint16_t *wanted,
                       uint32_t flags, uint8_t *table, MemoryHandle context) noexcept {
    auto *fields = Lock<ColourContext>(context);
    if (fields == nullptr)
        return -1;
    uint16_t *histogram = LockHistogram(fields);
    if (histogram == nullptr)
        return -1;
    if ((flags & kBuildTable) != 0 && (Renew<ColourBox>(&fields->boxes, *wanted) == nullptr ||
                                       Renew<uint16_t>(&fields->slots, *wanted) == nullptr))
        return -1;
    fields->distinctColours += CountColours(histogram, pixels, width, height);
    int32_t result = 0;
    if ((flags & kBuildTable) != 0)
        result = BuildTable(fields, histogram, wanted, table);
    else
        *wanted = 0;
    if ((flags & kKeepHistogram) == 0) {
        std::memset(histogram, 0, kColourKeys * sizeof(uint16_t));
        fields->distinctColours = 0;
    }
    return result;
}

} // namespace kowen
