#include "color/pixel_bytes.h"

#include <cstring>

namespace kowen {
namespace {

void UnpackBits(const uint8_t *row, uint32_t count, uint8_t *values) noexcept {
    for (; count >= 8; count -= 8, values += 8, ++row)
        for (int bit = 0; bit < 8; ++bit)
            values[bit] = *row >> (7 - bit) & 1;
    for (uint32_t bit = 0; bit < count; ++bit)
        values[bit] = *row >> (7 - bit) & 1;
}

void UnpackNibbles(const uint8_t *row, uint32_t count, uint8_t *values) noexcept {
    for (uint32_t i = 0; i < count / 2; ++i) {
        values[2 * i] = row[i] >> 4;
        values[2 * i + 1] = row[i] & 0x0F;
    }
    if (count % 2 != 0)
        values[count - 1] = row[count / 2] >> 4;
}

void PackBits(const uint8_t *values, uint32_t count, uint8_t *row) noexcept {
    for (; count >= 8; count -= 8, values += 8) {
        unsigned byte = 0;
        for (int bit = 0; bit < 8; ++bit)
            byte = byte << 1 | (values[bit] & 1u);
        *row++ = static_cast<uint8_t>(byte);
    }
    if (count == 0)
        return;
    unsigned byte = 0;
    for (uint32_t bit = 0; bit < count; ++bit)
        byte |= (values[bit] & 1u) << (7 - bit);
    *row = static_cast<uint8_t>(byte);
}

void PackNibbles(const uint8_t *values, uint32_t count, uint8_t *row) noexcept {
    for (uint32_t i = 0; i < count / 2; ++i)
        row[i] = static_cast<uint8_t>((values[2 * i] & 0x0F) << 4 | (values[2 * i + 1] & 0x0F));
    if (count % 2 != 0)
        row[count / 2] = static_cast<uint8_t>((values[count - 1] & 0x0F) << 4);
}

} // namespace

void UnpackPixels(uint16_t bits, const uint8_t *row, uint32_t count, uint8_t *values) noexcept {
    switch (bits) {
    case 1:
        return UnpackBits(row, count, values);
    case 4:
        return UnpackNibbles(row, count, values);
    case 8:
        std::memcpy(values, row, count);
        return;
    default:
        std::memset(values, 0, count);
    }
}

void PackPixels(uint16_t bits, const uint8_t *values, uint32_t count, uint8_t *row) noexcept {
    switch (bits) {
    case 1:
        return PackBits(values, count, row);
    case 4:
        return PackNibbles(values, count, row);
    case 8:
        std::memcpy(row, values, count);
        return;
    default:
        return;
    }
}

} // namespace kowen
