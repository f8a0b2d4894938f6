#include "color/pixel.h"

#include "color/nearest.h"
#include "platform/global_memory.h"
#include "platform/row_bytes.h"

#include <cstdio>

namespace kowen {

int16_t _debug_color_res = 0;

namespace {

constexpr uint64_t BytesOfBits(uint64_t bits) noexcept {
    return bits / 8 + (bits % 8 != 0);
}

constexpr uint32_t SaturatedSize(uint64_t bytes) noexcept {
    return bytes < kSizeTooLarge ? static_cast<uint32_t>(bytes) : kSizeTooLarge;
}

size_t ByteOffset(uint32_t bytesPerLine, uint32_t x, uint32_t y, uint16_t bits) noexcept {
    return static_cast<size_t>(uint64_t{y} * bytesPerLine + uint64_t{x} * bits / 8);
}

// Of the pixel's first bit within its byte, counted from the highest.
unsigned BitOffset(uint32_t x, uint16_t bits) noexcept {
    return static_cast<unsigned>(uint64_t{x} * bits % 8);
}

} // namespace

uint32_t rlBytesPerLine(uint32_t width, uint16_t bits) noexcept {
    return SaturatedSize(PaddedRowBytes(width, bits));
}

uint32_t rlCalcNewSize(uint32_t width, uint32_t height, uint16_t bits) noexcept {
    return SaturatedSize(uint64_t{rlBytesPerLine(width, bits)} * height);
}

bool BitmapFits(MemoryHandle pixels, uint32_t width, uint32_t height, uint16_t bits) noexcept {
    if (width == 0 || height == 0)
        return true;
    const uint64_t rowsBefore = uint64_t{rlBytesPerLine(width, bits)} * (height - 1);
    const uint64_t lastRow = BytesOfBits(uint64_t{width} * bits);
    return pixels != 0 && GlobalSize(pixels) >= rowsBefore && // no sum wraps
           GlobalSize(pixels) - rowsBefore >= lastRow;
}

uint32_t rlGetPixel(const uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y,
                    uint16_t bits) noexcept {
    const uint8_t *at = pixels + ByteOffset(bytesPerLine, x, y, bits);
    switch (bits) {
    case 1:
        return at[0] >> (7 - BitOffset(x, bits)) & 1;
    case 4:
        return BitOffset(x, bits) != 4 ? at[0] >> 4 : at[0] & 0x0F;
    case 8:
        return at[0];
    case 24:
        return ColourValue(at[0], at[1], at[2]);
    case 32:
        return ColourValue(at[0], at[1], at[2]) | at[3];
    default:
        return 0;
    }
}

uint32_t StoredValue(uint16_t bits, uint32_t value, const uint32_t *indexMap,
                     const uint8_t *colourTable, uint32_t colourCount) noexcept {
    if (indexMap == nullptr) {
        if (colourTable == nullptr || bits >= 24)
            return value;
        return static_cast<uint32_t>(rlNearestRGBIndex(RedOf(value), GreenOf(value), BlueOf(value),
                                                       colourTable, colourCount));
    }
    const uint32_t mapped = indexMap[value];
    if (colourTable == nullptr || (bits != 24 && bits != 32))
        return mapped;
    if (mapped >= colourCount)
        return ColourValue(0, 0, 0);
    const uint8_t *entry = colourTable + size_t{mapped} * kTableEntryBytes;
    return ColourValue(entry[0], entry[1], entry[2]);
}

int32_t rlSetPixel(uint8_t *pixels, uint32_t bytesPerLine, uint32_t x, uint32_t y, uint16_t bits,
                   uint32_t value, const uint32_t *indexMap, const uint8_t *colourTable,
                   uint32_t colourCount) noexcept {
    TracePixel(x, y);
    const uint32_t stored = StoredValue(bits, value, indexMap, colourTable, colourCount);
    uint8_t *at = pixels + ByteOffset(bytesPerLine, x, y, bits);
    const unsigned offset = BitOffset(x, bits);
    switch (bits) {
    case 1:
        at[0] =
            static_cast<uint8_t>((at[0] & ~(1u << (7 - offset))) | (stored & 1) << (7 - offset));
        break;
    case 4:
        at[0] = static_cast<uint8_t>((at[0] & 0x0Fu << offset) | (stored & 0x0F) << (4 - offset));
        break;
    case 8:
        at[0] = LowByteOf(stored);
        break;
    case 32:
        at[3] = LowByteOf(stored);
        [[fallthrough]];
    case 24:
        at[0] = RedOf(stored);
        at[1] = GreenOf(stored);
        at[2] = BlueOf(stored);
        break;
    default:
        break;
    }
    return 0;
}

void TracePixel(uint32_t x, uint32_t y) noexcept {
    if (TracesPixels())
        std::fprintf(stderr, "(%d,%d): ", static_cast<int>(x), static_cast<int>(y));
}

MemoryHandle rlGetMemory(uint16_t count, uint32_t size) noexcept {
    return GlobalAlloc(kGlobalFlags, SaturatedSize(uint64_t{count} * size));
}

void *rlLockMemory(MemoryHandle handle) noexcept {
    return GlobalLock(handle);
}

int32_t rlUnlockMemory(MemoryHandle handle) noexcept {
    GlobalUnlock(handle);
    return 0;
}

MemoryHandle rlPointertoHandle(const void *data) noexcept {
    return GlobalHandle(data);
}

int32_t rlFreeNewData(MemoryHandle handle) noexcept {
    if (handle == 0)
        return 0;
    GlobalFree(handle);
    return 1;
}

} // namespace kowen
