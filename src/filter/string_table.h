// The built-in texts: every profile key is looked up here by number.
#pragma once

#include <cstdint>

namespace kowen {

enum StringId : int32_t {
    kStringDefaults = 0,
    kStringMode = 1,
    kStringDriver = 4,
    kStringColorMode = 11,
    kStringColorFormat = 17,
    kStringResolutionMode = 18,
    kStringXResolution = 19,
    kStringYResolution = 20,
    kStringWidth = 21,
    kStringHeight = 22,
    kStringQualityMode = 24,
    kStringQuality = 25,
    kStringSizeMode = 26,
    kStringOperation = 27,
    kStringLineMode = 28,
};

int32_t LoadString(uint32_t module, int32_t id, char *buffer, int32_t size) noexcept;

} // namespace kowen
