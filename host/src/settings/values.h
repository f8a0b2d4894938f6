// What an export is made with.
#pragma once

#include "kowen/codes.h"

#include <array>
#include <cstdint>
#include <optional>

namespace kowen::host {

/// What the filter's setup holds, in its codes; what a profile can say. The defaults are those of
/// a setup without a profile.
struct FilterSettings {
    int32_t colourMode = KOWEN_COLOR_UNCHANGED;
    int32_t colourFormat = KOWEN_FORMAT_YCC422;
    bool namesColourFormat = true; ///< false: a profile does not, for which the filter takes rgb444
    int32_t qualityMode = KOWEN_QUALITY_USER;
    int32_t quality = KOWEN_MAX_QUALITY;
    int32_t operation = KOWEN_OPERATION_SEQUENTIAL;
    int32_t lineMode = KOWEN_LINE_DEFAULT;
    int32_t resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    int32_t xDpi = 96;
    int32_t yDpi = 96;
    int32_t sizeMode = KOWEN_SIZE_FROM_PICTURE;
    double widthInches = 6.67;
    double heightInches = 5.0;

    bool UserResolution() const {
        return resolutionMode != KOWEN_RESOLUTION_FROM_PICTURE &&
               resolutionMode != KOWEN_RESOLUTION_FROM_DISPLAY;
    }
    bool UserSize() const {
        return sizeMode != KOWEN_SIZE_FROM_PICTURE && sizeMode != KOWEN_SIZE_FROM_DISPLAY;
    }
};

/// A width and a height as the user gave them.
struct Extent {
    double width = 0;
    double height = 0;
    bool pixels = false; ///< else inches
};

/// The page that "page" stands for; zeros leave it to the filter.
struct Page {
    int32_t width = 0;  ///< pixels
    int32_t height = 0; ///< pixels
    int16_t dpi = 0;
};

/// Everything that can be set.
struct ExportSettings {
    FilterSettings filter;
    std::optional<Extent> box; ///< a size in pixels to fit the picture into; then filter has none
    Page page;
    std::array<uint8_t, 3> background = {255, 255, 255};
    bool keepExif = true;
    bool keepIcc = true;
    bool keepComment = false;
    uint64_t maxBytes = 0; ///< 0 = no limit
    bool asFilter = false;
};

} // namespace kowen::host
