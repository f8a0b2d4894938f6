// Records and arguments as the trace shows them.
#pragma once

#include "kowen/kowen.h"
#include "trace.h"

#include <optional>

namespace kowen::check {

/// A string, or null.
Json DescribeText(const char *text);

/// Each takes null too.
Json DescribeBitmap(const BitmapRecord *bitmap);
Json DescribeCell(const CellRecord *cell);
Json DescribeHost(const HostRecord *host);
Json DescribeExportRecord(const ExportRecord *record);
Json DescribeOpenRecord(const OpenRecord *record);

/// What an initialisation has written to the record. Of the capabilities, which the raster door
/// writes, the colour mode is the one that differs.
Json DescribeOpenRecordOutputs(const OpenRecord &record, bool ofRasterDoor);

/// What an I/O procedure is asked.
Json DescribeIo(uintptr_t handleOrContext, int32_t operation, const void *argument, int32_t count);

/// The value in front of an escape, or the one that it gave; null where it has none.
Json DescribeEscapeInput(int32_t code, uint32_t size, const void *in);
Json DescribeEscapeOutput(int32_t code, const void *out);

/// A request, with its opcode's arguments where the device reads them.
Json DescribeRequest(const void *request, bool withArguments);

/// What a request has appended to the return area: corners, or a number.
Json DescribeAnswer(const void *bytes, uint32_t count);

/// The data of primitive -5.
struct PictureData {
    uint32_t width;
    uint32_t height;
    int32_t bits;
};

/// Nothing when they are not where hosts put them.
std::optional<PictureData> ReadPicture(const void *request);

/// Bytes of a record or request that need no alignment.
template <typename T> T ValueAt(const void *bytes, size_t offset = 0) {
    T value;
    __builtin_memcpy(&value, static_cast<const char *>(bytes) + offset, sizeof value);
    return value;
}

} // namespace kowen::check
