#include "raster/cell_array.h"

#include "color/color_mode.h"
#include "device/device_record.h"
#include "device/request.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "raster/cell_output.h"
#include "raster/picture_size.h"

#include <algorithm>

namespace kowen {
namespace {

constexpr size_t kCornerPy = 24;
constexpr size_t kCornerQy = 48;
constexpr size_t kColumns = 88;
constexpr size_t kRows = 92;
constexpr size_t kPrecision = 96;
constexpr size_t kCells = 102;
constexpr int32_t kPrecisionOneBit = -32768;
constexpr uint32_t kTrueColor = 24;

// A cell-array request, and how its rows lie in the bitmap and in the source.
struct CellArray {
    uint32_t columns;
    uint32_t rows;
    uint32_t depth;
    const uint8_t *cells;
    bool flipped;
    RowLayout layout;
    uint32_t sourceStep; // bytes from one source row to the next
};

const uint8_t *CellsOf(const DdRequest *request, int32_t precision) {
    if (precision >= 0 || precision == kPrecisionOneBit)
        return Bytes(request, kCells);
    return Argument<const uint8_t *>(request, kCells);
}

bool RunsBottomUp(const DdRequest *request) {
    const auto p = Argument<double>(request, kCornerPy);
    const auto q = Argument<double>(request, kCornerQy);
    const DeviceRectangle &window = lpEMData->window;
    return (q < p && window.y2 > window.y1) || (q > p && window.y2 < window.y1);
}

// Returns false when a size does not fit into 32 bits. Rows that go into an open picture need no
// bitmap of their own: there may be any number of them.
bool LayOut(CellArray *array) {
    const uint64_t width = std::min<uint64_t>(WindowColumns(), array->columns);
    const uint32_t rows = lpEMData->pictureOpen ? 1 : array->rows;
    if (!LayOutRows(width, array->depth, rows, &array->layout))
        return false;
    const bool cutsTrueColor = array->depth == kTrueColor && width < array->columns;
    RowLayout source = array->layout;
    if (cutsTrueColor && !LayOutRows(array->columns, kTrueColor, rows, &source))
        return false;
    array->sourceStep = source.stride;
    return true;
}

bool ReadCellArray(const DdRequest *request, CellArray *array) {
    const auto precision = Argument<int32_t>(request, kPrecision);
    array->columns = Argument<uint32_t>(request, kColumns);
    array->rows = Argument<uint32_t>(request, kRows);
    array->depth = DepthOfPrecision(precision);
    array->cells = CellsOf(request, precision);
    array->flipped = RunsBottomUp(request);
    return array->cells && LayOut(array);
}

// Gives the rows a bitmap of their own.
void MakeOwnBitmap(const CellArray &array) {
    GlobalFree(lpEMData->pictureBitmap);
    lpEMData->pictureBitmap = GlobalAlloc(kGlobalFlags, array.layout.bytes);
}

// How often the row counter moves.
uint32_t CountedRows(const CellArray &array) {
    const uint32_t height = lpEMData->pictureHeight;
    if (!array.flipped)
        return std::min(array.rows, height - lpEMData->rowsDone);
    if (lpEMData->rowsDone == 0)
        lpEMData->rowsDone = height - 1;
    const uint32_t left = lpEMData->rowsDone;
    return static_cast<int32_t>(left) < static_cast<int32_t>(array.rows) ? left : array.rows;
}

void CopyRow(const CellArray &array, uint8_t *row, uint64_t sourceRow) {
    std::memcpy(row, array.cells + array.sourceStep * sourceRow, array.layout.stride);
    if (array.depth == kTrueColor && lpEMData->colorMode != 0)
        rev_rgb(static_cast<int32_t>(array.layout.width), row, lpEMData->colorMode);
}

// Copies the source rows whose place lies inside the bitmap. Rows are numbered as 32-bit words:
// a run that starts outside may come in later, so runs outside are stepped over.
void CopyRows(const CellArray &array, uint8_t *bitmap, uint32_t bitmapRows, uint32_t copied) {
    for (uint64_t r = 0; r < copied;) {
        const auto moved = static_cast<uint32_t>(r);
        const uint32_t row =
            array.flipped ? lpEMData->rowsDone - 1 - moved : lpEMData->rowsDone + moved;
        if (row < bitmapRows) {
            CopyRow(array, bitmap + size_t{row} * array.layout.stride, r);
            ++r;
        } else {
            r += array.flipped ? uint64_t{row} - (bitmapRows - 1) : (uint64_t{1} << 32) - row;
        }
    }
}

// Rows that the source has: those that are given and lie within 4 GiB.
uint32_t SourceRowsOf(const CellArray &array) {
    return std::min(array.rows, UINT32_MAX / array.sourceStep);
}

void DrawRows(const CellArray &array, uint8_t *bitmap, uint32_t counted) {
    const uint32_t bitmapRows =
        array.layout.stride ? GlobalSize(lpEMData->pictureBitmap) / array.layout.stride : 0;
    if (bitmapRows > 0)
        CopyRows(array, bitmap, bitmapRows, std::min(counted, SourceRowsOf(array)));
    lpEMData->rowsDone += array.flipped ? 0u - counted : counted;
}

void WriteOwnBitmap(const CellArray &array) {
    RasterWriteCellData(lpEMData->pictureBitmap, array.layout.width, array.rows,
                        lpEMData->resolution, static_cast<uint16_t>(array.depth),
                        array.depth == kTrueColor ? kCellsRgb : kCellsIndexed);
    GlobalFree(lpEMData->pictureBitmap);
    lpEMData->pictureBitmap = 0;
}

} // namespace

DdRequest *d_ca(DdRequest *request) noexcept {
    CellArray array = {};
    if (!ReadCellArray(request, &array)) {
        push_er(KOWEN_ERR_MEMORY);
        return request;
    }
    if (!lpEMData->pictureOpen)
        MakeOwnBitmap(array);
    const uint32_t counted = CountedRows(array);
    auto *bitmap = Lock<uint8_t>(lpEMData->pictureBitmap);
    if (!bitmap) {
        push_er(KOWEN_ERR_MEMORY);
        return request;
    }
    DrawRows(array, bitmap, counted);
    GlobalUnlock(lpEMData->pictureBitmap);
    if (!lpEMData->pictureOpen)
        WriteOwnBitmap(array);
    return request;
}

} // namespace kowen
