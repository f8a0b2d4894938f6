// The marker segments of a JFIF file: T.81 annex B, JFIF 1.02.
#pragma once

#include "io/file_handle.h"

#include <cstdint>

namespace kowen {

struct CompressEnv;
struct JpegHeaderState;

/// Bytes of the largest scan header that OutputScanHeader builds: three components.
inline constexpr uint32_t kMaxScanHeaderBytes = 14;

/// Writes SOI, APP0, DQT, SOF and DHT to the state's output file, whose byte order must be
/// big-endian. Results of the writes are not checked; a failing output shows in the file layer.
/// Returns 0.
int32_t WriteJPGHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept;

/// APP0: JFIF 1.02, the state's resolutions in dots per inch, no thumbnail. Returns 0.
int32_t WriteJFIFHdr(FileHandle output, const JpegHeaderState *state) noexcept;

/// DQT: both tables, 8 bits each, in zig-zag order. Returns 0.
///
/// Kept deliberately: of a quantiser above 255 the low 8 bits are written, while the coder
/// divides by the whole value. Test: WriteQTblHdr.WritesQuantisersModulo256.
int32_t WriteQTblHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept;

/// SOF0 for operation 245, SOF2 for 246 and any other. Returns 0.
///
/// Kept deliberately: the sample precision is 24 / component count, so a grey picture says 24.
/// Test: WriteFrameHdr.GreyPrecisionIs24. Without components the precision is 0.
int32_t WriteFrameHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept;

/// DHT: all four code tables in one segment; the AC lists follow the operation. Returns 0.
int32_t WriteHuffHdr(const JpegHeaderState *state, const CompressEnv *env) noexcept;

/// SOS to the output file, whose byte order must be big-endian.
///
/// componentCount  below 2: one component, componentIndex; else components 0 .. count - 1.
/// ss, se          first and last zig-zag position of the scan.
/// ah, al          successive approximation, high and low.
/// Returns 0.
int32_t WriteSHdr(FileHandle output, int32_t componentCount, int32_t componentIndex, int32_t ss,
                  int32_t se, int32_t ah, int32_t al) noexcept;

/// The same segment built in memory.
///
/// position   where the segment is stored; room for kMaxScanHeaderBytes.
/// fillCount  in/out: raised by the segment's length.
/// Returns 0.
int32_t OutputScanHeader(uint8_t *position, uint32_t *fillCount, int32_t componentCount,
                         int32_t componentIndex, int32_t ss, int32_t se, int32_t ah,
                         int32_t al) noexcept;

/// Stores a 16-bit value big-endian. Returns 0.
int32_t OutputSHORT(uint8_t *destination, uint16_t value) noexcept;

/// Completes the last byte of a scan with 1-bits; nothing at a byte boundary. Arguments as
/// OutputBits. Returns 0, 300 if the output buffer cannot be grown.
int32_t WriteScanPad(uint8_t *outputIgnored, uint32_t *fillCount, CompressEnv *env) noexcept;

} // namespace kowen
