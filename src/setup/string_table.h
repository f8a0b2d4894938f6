// The built-in texts: every profile key is looked up here by number.
#pragma once

#include <cstdint>

namespace kowen {

/// Ids of the texts that the filter itself asks for.
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

/// Bytes of a buffer that holds every text of the table with room to spare.
inline constexpr int32_t kStringBytes = 144;

/// Copies the text with the given id.
///
/// module  ignored; callers pass hDLLModule.
/// id      its low 16 bits count, as a signed number.
/// buffer  receives the text and its terminating zero.
/// size    bytes of the buffer; below 1 nothing is copied.
/// Returns the length of the text, 0 for an unknown id, which gives "Not Defined".
///
/// Kept deliberately: in a buffer of size bytes or less than the text and its zero need, the text
/// is cut and not terminated. Test: LoadString.CutsWithoutTerminator.
int32_t LoadString(uint32_t module, int32_t id, char *buffer, int32_t size) noexcept;

} // namespace kowen
