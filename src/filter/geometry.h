// How many pixels the exported picture gets: fitting a picture into the setup's page.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Width and height in inches.
struct SizeInches {
    double width;
    double height;
};

void GetRasterInfo(MemoryHandle setup, const RasterQuery *query, RasterAnswer *answer) noexcept;
void AdjustAspect(SizeInches *size, int32_t pictureWidth, int32_t pictureHeight) noexcept;
int32_t RasterAdjustAspect(SizeInches *size, double pictureWidth, double pictureHeight) noexcept;
int32_t ScaleImageSize(double *width, double *height) noexcept;

} // namespace kowen
