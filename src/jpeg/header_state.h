// What the stream writer needs to know of a picture; a group of fields of the setup record.
#pragma once

#include "io/file_handle.h"

#include <cstdint>

namespace kowen {

struct JpegHeaderState {
    FileHandle outputFile;
    uint32_t imageWidth;    ///< pixels; the frame header carries the low 16 bits
    uint32_t imageHeight;   ///< rows; the frame header carries the low 16 bits
    int16_t xResolution;    ///< dots per inch: the setting "X Resolution" itself
    int16_t yResolution;    ///< dots per inch: the setting "Y Resolution" itself
    uint8_t componentCount; ///< 3 or 1; 0 until a colour format that is known
};

} // namespace kowen
