// The recorded exports of tests/data/bitmap_door.json: what a host hands over, and every byte that
// comes of it.
#pragma once

#include "kowen/records.h"
#include "support/bitmaps.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

struct RecordedExport {
    size_t index;
    std::string label;
    std::string profile; ///< text of the profile file
    std::string section;
    TestBitmap bitmap;
    CellRecord cell;
    int32_t statusAnswer; ///< of every status call
    int32_t code;
    std::vector<uint8_t> jpeg;
    std::vector<std::array<int32_t, 5>> statusCalls; ///< command, code, value1 to value3
    std::vector<uint8_t> pixelsAfter;                ///< of the host's bitmap
};

inline constexpr size_t kWorkedExports = 48;

/// Ends the program when the file is not there or has another number of exports.
const RecordedExport &Recorded(size_t index);
