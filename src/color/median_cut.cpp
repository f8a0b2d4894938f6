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

uint16_t *LockHistogram(ColorContext *context) noexcept {
    if (context->histogram == 0)
        context->histogram = rlGetMemory(kColorKeys, sizeof(uint16_t));
    return Lock<uint16_t>(context->histogram);
}

// Adds the picture's pixels to the histogram; returns how many keys were new.
uint16_t CountColors(uint16_t *histogram, const uint8_t *pixels, uint32_t width,
                     uint32_t height) noexcept {
    const size_t stride = rlBytesPerLine(width, 24);
    uint16_t distinct = 0;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t *pixel = pixels + y * stride;
        for (uint32_t x = 0; x < width; ++x, pixel += 3) {
            uint16_t &count = histogram[ColorKey(pixel[0], pixel[1], pixel[2])];
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

void WriteKeyColors(const uint16_t *histogram, uint8_t *table) noexcept {
    for (uint32_t key = 0; key < kColorKeys; ++key) {
        if (histogram[key] == 0)
            continue;
        for (uint8_t axis = kAxisRed; axis <= kAxisBlue; ++axis)
            *table++ = Widened(KeyChannel(static_cast<uint16_t>(key), axis));
    }
}

void WriteBoxColors(const ColorBox *boxes, uint16_t wanted, uint8_t *table) noexcept {
    for (uint32_t i = 0; i < wanted; ++i)
        for (uint8_t axis = kAxisRed; axis <= kAxisBlue; ++axis)
            *table++ = Widened(boxes[i].mean[axis]);
}

void ListColors(const uint16_t *histogram, ColorCount *list) noexcept {
    for (uint32_t key = 0; key < kColorKeys; ++key)
        if (histogram[key] != 0)
            *list++ = {static_cast<uint16_t>(key), histogram[key]};
}

void CutBoxes(ColorContext *context, ColorBox *boxes, uint16_t *slots, ColorCount *list,
              uint16_t wanted) noexcept {
    std::fill_n(slots, wanted, kSlotFree);
    context->boxCount = 1;
    slots[0] = 0;
    getCRectData(&boxes[0], list, 0, static_cast<uint16_t>(context->distinctColors - 1));
    while (context->boxCount < wanted - 1) {
        context->selected = GetMaxHistSum(boxes, slots, wanted);
        const ColorBox *box = &boxes[context->selected];
        context->selectedFirst = box->first;
        context->selectedLast = box->last;
        HeapSort(list + box->first, box->axis, box->last - box->first + 1);
        context->median = find_median(list, box);
        split(boxes, context->selected, context->median, &context->boxCount, slots, list, wanted);
    }
}

int32_t BuildTable(ColorContext *context, const uint16_t *histogram, uint16_t *wanted,
                   uint8_t *table) noexcept {
    if (context->distinctColors < *wanted) {
        WriteKeyColors(histogram, table);
        *wanted = context->distinctColors;
        return 0;
    }
    if (*wanted == 0)
        return 0;
    const MemoryHandle listBlock =
        rlGetMemory(sizeof(ColorCount), context->distinctColors + uint32_t{1});
    if (listBlock == 0)
        return -1;
    auto *list = Lock<ColorCount>(listBlock);
    auto *boxes = Lock<ColorBox>(context->boxes);
    ListColors(histogram, list);
    CutBoxes(context, boxes, Lock<uint16_t>(context->slots), list, *wanted);
    WriteBoxColors(boxes, *wanted, table);
    GlobalFree(listBlock);
    return 0;
}

} // namespace

MemoryHandle InitColorLib() noexcept {
    return rlGetMemory(1, sizeof(ColorContext));
}

int32_t TermColorLib(MemoryHandle context) noexcept {
    if (context == 0)
        return 0;
    auto *fields = Lock<ColorContext>(context);
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
    auto *fields = Lock<ColorContext>(context);
    if (fields == nullptr)
        return -1;
    uint16_t *histogram = LockHistogram(fields);
    if (histogram == nullptr)
        return -1;
    if ((flags & kBuildTable) != 0 && (Renew<ColorBox>(&fields->boxes, *wanted) == nullptr ||
                                       Renew<uint16_t>(&fields->slots, *wanted) == nullptr))
        return -1;
    fields->distinctColors += CountColors(histogram, pixels, width, height);
    int32_t result = 0;
    if ((flags & kBuildTable) != 0)
        result = BuildTable(fields, histogram, wanted, table);
    else
        *wanted = 0;
    if ((flags & kKeepHistogram) == 0) {
        std::memset(histogram, 0, kColorKeys * sizeof(uint16_t));
        fields->distinctColors = 0;
    }
    return result;
}

} // namespace kowen
