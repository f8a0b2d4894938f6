#include "setup/geometry.h"

#include "platform/text.h"
#include "setup/setup.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace kowen {

namespace {

static_assert(std::numeric_limits<double>::is_iec559, "a ratio over 0 must be infinite");

constexpr int32_t kAnswerBitsPerPixel = 24;

int32_t PagePixels(int16_t dotsPerInch, double inches) {
    return TruncateToInt32(dotsPerInch * inches);
}

int32_t PagePixelsRoundedUp(int16_t dotsPerInch, double inches) {
    return TruncateToInt32(std::ceil(dotsPerInch * inches));
}

double Inches(int32_t pixels, int16_t dotsPerInch) {
    return dotsPerInch == 0 ? 0.0 : static_cast<double>(pixels) / dotsPerInch;
}

// side - trunc(side - target): the part that is cut off is truncated, so the rest rounds up.
int32_t ShrinkSide(int32_t side, double target) {
    const int64_t rest = int64_t{side} - TruncateToInt32(side - target);
    return static_cast<int32_t>(std::clamp<int64_t>(rest, INT32_MIN, INT32_MAX));
}

void FitPage(const SetupRecord &setup, double pictureRatio, SizeInches *size) {
    const int16_t xResolution = setup.header.xResolution;
    const int16_t yResolution = setup.header.yResolution;
    int32_t width = PagePixels(xResolution, setup.width);
    int32_t height = PagePixels(yResolution, setup.height);
    const double pageRatio = static_cast<double>(width) / height;
    if (pictureRatio < pageRatio)
        width = ShrinkSide(width, height * pictureRatio);
    else if (pictureRatio > pageRatio)
        height = ShrinkSide(height, width / pictureRatio);
    size->width = Inches(width, xResolution);
    size->height = Inches(height, yResolution);
}

double InclusiveExtent(int32_t pixels) {
    return std::abs(static_cast<double>(pixels)) + 1.0;
}

int16_t Low16(int32_t value) {
    return static_cast<int16_t>(value);
}

void TakeSize(SetupRecord &setup, int32_t width, int32_t height, int16_t dotsPerInch) {
    setup.width = Inches(width, dotsPerInch);
    setup.height = Inches(height, dotsPerInch);
}

void TakeResolution(SetupRecord &setup, int16_t dotsPerInch) {
    setup.header.xResolution = dotsPerInch;
    setup.header.yResolution = dotsPerInch;
}

void TakeQuery(SetupRecord &setup, const RasterQuery &query) {
    const int16_t picture = Low16(query.pictureResolution);
    const int16_t display = Low16(query.displayResolution);
    if (setup.sizeMode == KOWEN_SIZE_FROM_PICTURE && picture != 0)
        TakeSize(setup, query.pictureWidth, query.pictureHeight, picture);
    else if (setup.sizeMode == KOWEN_SIZE_FROM_DISPLAY && display != 0)
        TakeSize(setup, query.displayWidth, query.displayHeight, display);
    if (setup.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE && picture != 0)
        TakeResolution(setup, picture);
    else if (setup.resolutionMode == KOWEN_RESOLUTION_FROM_DISPLAY && display != 0)
        TakeResolution(setup, display);
}

double CapAt(double side, double longerSide) {
    return side * KOWEN_MAX_INCHES / longerSide;
}

} // namespace

void GetRasterInfo(MemoryHandle /*setup*/, const RasterQuery *query,
                   RasterAnswer *answer) noexcept {
    if (!lpRaster)
        return;
    SetupRecord &setup = *lpRaster;
    TakeQuery(setup, *query);
    SizeInches size = {setup.width, setup.height};
    if (Low16(query->pictureResolution) == 0 || setup.sizeMode != KOWEN_SIZE_FROM_PICTURE)
        AdjustAspect(&size, query->pictureWidth, query->pictureHeight);
    answer->width = PagePixelsRoundedUp(setup.header.xResolution, size.width);
    answer->height = PagePixelsRoundedUp(setup.header.yResolution, size.height);
    answer->bitsPerPixel = kAnswerBitsPerPixel;
}

void AdjustAspect(SizeInches *size, int32_t pictureWidth, int32_t pictureHeight) noexcept {
    if (lpRaster)
        FitPage(*lpRaster, InclusiveExtent(pictureWidth) / InclusiveExtent(pictureHeight), size);
}

int32_t RasterAdjustAspect(SizeInches *size, double pictureWidth, double pictureHeight) noexcept {
    if (lpRaster)
        FitPage(*lpRaster, pictureWidth / pictureHeight, size);
    return 0;
}

int32_t ScaleImageSize(double *width, double *height) noexcept {
    if (!width || !height)
        return 0;
    if (*width >= *height && *width > KOWEN_MAX_INCHES) {
        *height = CapAt(*height, *width);
        *width = KOWEN_MAX_INCHES;
    } else if (*height > *width && *height > KOWEN_MAX_INCHES) {
        *width = CapAt(*width, *height);
        *height = KOWEN_MAX_INCHES;
    }
    return 0;
}

} // namespace kowen
