#include "jpeg/row_feeding.h"

#include "io/typed_io.h"
#include "jpeg/bands.h"
#include "jpeg/compress_env.h"
#include "jpeg/map_colors.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {

constexpr uint32_t kWritePiece = 32767;

// Writes through a bounce buffer in pieces; nothing and an error when it cannot be had.
int32_t WriteInPieces(FileHandle output, const uint8_t *bytes, uint32_t count) {
    const MemoryHandle bounce = GlobalAlloc(kGlobalFlags, kWritePiece);
    auto *piece = Lock<uint8_t>(bounce);
    if (piece == nullptr)
        return KOWEN_ERR_MEMORY;
    while (count > 0) {
        const uint32_t length = std::min(count, kWritePiece);
        HugeMemcpy(piece, bytes, length);
        qivWriteChar(output, piece, static_cast<int32_t>(length));
        bytes += length;
        count -= length;
    }
    GlobalUnlock(bounce);
    GlobalFree(bounce);
    return 0;
}

// Hardened: bytes that nobody has written are reported, so that no EOI follows them.
// Test: MapAndWriteBand.AnMcuRowWithoutABounceBufferIsLost.
int32_t WriteBand(FileHandle output, const CompressEnv &env, uint32_t count) {
    if (count > kWritePiece)
        return WriteInPieces(output, env.outputBuffer, count);
    qivWriteChar(output, env.outputBuffer, static_cast<int32_t>(count));
    return 0;
}

// Makes the band buffer; its capacity is less than its size for short bands, deliberately.
bool AllocateBand(CompressEnv &env, uint32_t width, uint32_t rowCount) {
    const uint64_t bytes = uint64_t{std::max(rowCount, kMcuRowHeight)} * width * kPixelBytes;
    if (bytes > UINT32_MAX)
        return false;
    env.outputHandle = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes));
    env.outputBuffer = Lock<uint8_t>(env.outputHandle);
    env.outputCapacity = rowCount * width * kPixelBytes;
    return env.outputBuffer != nullptr;
}

void FreeBand(CompressEnv &env) {
    GlobalUnlock(env.outputHandle);
    GlobalFree(env.outputHandle);
    env.outputHandle = 0;
    env.outputBuffer = nullptr;
    env.outputCapacity = 0;
}

int32_t CodeBand(const uint8_t *rows, uint32_t width, uint32_t rowCount, CompressEnv *env) {
    const bool subsampled = env->colorFormat == KOWEN_FORMAT_YCC422;
    if (env->operation == KOWEN_OPERATION_SEQUENTIAL)
        return (subsampled ? CompressBands422 : CompressBands444)(env->outputBuffer, rows, rowCount,
                                                                  width, env);
    if (env->operation == KOWEN_OPERATION_PROGRESSIVE && subsampled)
        return CompressProgressive(env->outputBuffer, rows, rowCount, width, env);
    return 0;
}

// One MCU row of a sequential band, coded and written; the buffer serves the next one too.
int32_t WriteMcuRow(FileHandle output, const SourceRows &rows, CompressEnv *env) {
    const int32_t count = MapAndCompressBand(rows, env);
    if (env->outputBuffer == nullptr)
        return KOWEN_ERR_MEMORY;
    return WriteBand(output, *env, static_cast<uint32_t>(count));
}

// Ends at the first MCU row that is lost: with a gap in it the picture would look whole.
int32_t WriteMcuRows(FileHandle output, const SourceRows &band, CompressEnv *env) {
    int32_t result = 0;
    for (uint32_t first = 0; first < band.rows && result == 0; first += kMcuRowHeight) {
        const SourceRows rows = {band.Row(first), band.stepBytes,
                                 std::min(kMcuRowHeight, band.rows - first), band.width};
        result = WriteMcuRow(output, rows, env);
    }
    return result;
}

int32_t WriteProgressive(FileHandle output, const SourceRows &band, CompressEnv *env) {
    const int32_t count = MapAndCompressProgressive(band, env);
    if (count < 0)
        return count;
    if (env->outputBuffer == nullptr)
        return KOWEN_ERR_MEMORY;
    return WriteBand(output, *env, static_cast<uint32_t>(count));
}

void MapRows(const SourceRows &band, const CompressEnv &env) {
    for (uint32_t row = 0; row < band.rows; ++row)
        MapColors(band.Row(row), band.width, 0, 1, env.colorFormat, kByteOrderRgb);
}

} // namespace

int32_t JpgPadRow(uint8_t *lastPixel, uint32_t paddedWidth, uint32_t width) noexcept {
    for (uint8_t *p = lastPixel; width < paddedWidth; ++width, p += kPixelBytes)
        std::memcpy(p + kPixelBytes, p, kPixelBytes);
    return 0;
}

int32_t JpgPadTo8Rows(uint8_t *lastRow, uint32_t paddedRows, uint32_t rows,
                      uint32_t strideBytes) noexcept {
    for (uint8_t *row = lastRow; rows < paddedRows; ++rows, row += strideBytes)
        std::memcpy(row + strideBytes, row, strideBytes);
    return 0;
}

int32_t HugeMemcpy(void *destination, const void *source, uint32_t count) noexcept {
    auto *to = static_cast<uint8_t *>(destination);
    const auto *from = static_cast<const uint8_t *>(source);
    while (count > 0) {
        const uint32_t length = std::min(count, kWritePiece);
        std::memcpy(to, from, length);
        to += length;
        from += length;
        count -= length;
    }
    return 0;
}

int32_t CompAndWriteNRows(FileHandle output, const uint8_t *rows, uint32_t width, uint32_t rowCount,
                          CompressEnv *env) noexcept {
    if (!AllocateBand(*env, width, rowCount)) {
        FreeBand(*env);
        return -1;
    }
    const int32_t count = CodeBand(rows, width, rowCount, env);
    int32_t result = count < 0 ? count : KOWEN_ERR_MEMORY;
    // A band that completes no byte is still one write, which an output served by the host sees.
    if (count >= 0 && env->outputBuffer != nullptr)
        result = WriteBand(output, *env, static_cast<uint32_t>(count));
    FreeBand(*env);
    return result;
}

int32_t MapAndWriteBand(FileHandle output, const SourceRows &band, CompressEnv *env) noexcept {
    const bool sequential = env->operation == KOWEN_OPERATION_SEQUENTIAL;
    const bool progressive =
        env->operation == KOWEN_OPERATION_PROGRESSIVE && env->colorFormat == KOWEN_FORMAT_YCC422;
    if (!AllocateBand(*env, band.width,
                      sequential ? kMcuRowHeight : std::max(band.rows, kMcuRowHeight))) {
        FreeBand(*env);
        return KOWEN_ERR_MEMORY;
    }
    int32_t result = 0;
    if (sequential) {
        result = WriteMcuRows(output, band, env);
    } else if (progressive) {
        result = WriteProgressive(output, band, env);
    } else {
        MapRows(band, *env);
        WriteBand(output, *env, 0); // as CompAndWriteNRows does
    }
    FreeBand(*env);
    return result;
}

} // namespace kowen
