#include "jpeg/map_colors.h"

#include "jpeg/kernels.h"
#include "kowen/codes.h"

#include <cstddef>

namespace kowen {

namespace {

using MapRow = void (*)(uint8_t *row, uint32_t width);

MapRow ChooseMap(int32_t colorFormat, int32_t byteOrder) {
    const Kernels &kernels = ActiveKernels();
    switch (colorFormat) {
    case KOWEN_FORMAT_RGB444:
        return kernels.swapFirstAndThird;
    case KOWEN_FORMAT_GREY:
        return kernels.mapToGrey;
    default:
        return byteOrder == kByteOrderBgr ? kernels.mapBgrToYcc : kernels.mapRgbToYcc;
    }
}

} // namespace

int32_t MapColors(uint8_t *pixels, uint32_t width, uint32_t strideBytes, uint32_t rows,
                  int32_t colorFormat, int32_t byteOrder) noexcept {
    const MapRow mapRow = ChooseMap(colorFormat, byteOrder);
    for (uint32_t row = 0; row < rows; ++row)
        mapRow(pixels + std::size_t{row} * strideBytes, width);
    return 0;
}

} // namespace kowen
