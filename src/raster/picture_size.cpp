#include "raster/picture_size.h"

#include "device/device_record.h"
#include "platform/row_bytes.h"
#include "platform/text.h"

namespace kowen {
namespace {

constexpr int32_t kPrecisionOneBit = -32768;

uint64_t Span(double from, double to) {
    const int64_t difference = int64_t{TruncateToInt32(to)} - TruncateToInt32(from);
    return static_cast<uint64_t>(difference < 0 ? -difference : difference) + 1;
}

} // namespace

uint64_t WindowColumns() noexcept {
    return Span(lpEMData->window.x1, lpEMData->window.x2);
}

uint64_t WindowRows() noexcept {
    return Span(lpEMData->window.y1, lpEMData->window.y2);
}

uint32_t DepthOfPrecision(int32_t precision) noexcept {
    if (precision == kPrecisionOneBit)
        return 1;
    const auto word = static_cast<uint32_t>(precision);
    return precision < 0 ? 0u - word : word;
}

// A row is measured in bits first, so the bits of a row must fit as well.
bool LayOutRows(uint64_t width, uint32_t depth, uint32_t rows, RowLayout *layout) noexcept {
    if (width > UINT32_MAX || width * depth > UINT32_MAX - 7)
        return false;
    const uint64_t stride = PaddedRowBytes(width, depth);
    const uint64_t bytes = stride * rows;
    if (bytes > UINT32_MAX)
        return false;
    *layout = {static_cast<uint32_t>(width), static_cast<uint32_t>(stride),
               static_cast<uint32_t>(bytes)};
    return true;
}

} // namespace kowen
