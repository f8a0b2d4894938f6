// Records and arguments as the trace shows them.
#pragma once

#include "kowen/kowen.h"
#include "trace.h"

namespace kowen::check {

/// A string, or null.
Json DescribeText(const char *text);

/// Each takes null too.
Json DescribeBitmap(const BitmapRecord *bitmap);
Json DescribeCell(const CellRecord *cell);
Json DescribeHost(const HostRecord *host);
Json DescribeExportRecord(const ExportRecord *record);
Json DescribeOpenRecord(const OpenRecord *record);

/// The value in front of an escape, or the one that it gave; null where it has none.
Json DescribeEscapeInput(int32_t code, uint32_t size, const void *in);
Json DescribeEscapeOutput(int32_t code, const void *out);

/// A request with its opcode's arguments.
Json DescribeRequest(const void *request);

/// Bytes of a record or request that need no alignment.
template <typename T> T ValueAt(const void *bytes, size_t offset = 0) {
    T value;
    __builtin_memcpy(&value, static_cast<const char *>(bytes) + offset, sizeof value);
    return value;
}

} // namespace kowen::check
