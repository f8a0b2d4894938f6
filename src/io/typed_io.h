// Values moved between memory and a file in the file's byte order, number and line format.
//
// The buffers of the numbers need no alignment. In the file there is never any padding. Counts are
// elements; a count of 0 or less moves nothing. Handle 0 reads and writes nothing.
//
// Not on the export path, except qivWriteChar, qivWriteShort and qivSetDataFormat.
#pragma once

#include "io/file_handle.h"

namespace kowen {

/// byteOrder: any value but kBigEndian means least significant byte first, as after an open.
inline constexpr uint16_t kLittleEndian = 0;
inline constexpr uint16_t kBigEndian = 1;

/// numberFormat: any value but kFixedPoint means IEEE 754, as after an open.
inline constexpr uint16_t kIeeeNumbers = 0;
inline constexpr uint16_t kFixedPoint = 1;

/// lineFormat: kLinesEndLf after an open; any other value than these three counts as CR LF.
inline constexpr uint16_t kLinesEndCrLf = 0;
inline constexpr uint16_t kLinesEndCr = 1;
inline constexpr uint16_t kLinesEndLf = 2;

/// qivRead and qivWrite: bytes moved.
int32_t qivReadChar(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivWriteChar(FileHandle file, const void *buffer, int32_t count) noexcept;

/// Read count values of 2, 4, 4 or 8 bytes. Return count; 0 when the file has fewer, and then the
/// bytes that came stay in the buffer unconverted.
int32_t qivReadShort(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivReadLong(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivReadDouble(FileHandle file, void *buffer, int32_t count) noexcept;

/// As qivReadLong, for floats; in kFixedPoint format 16.16 numbers divided by 65536.
int32_t qivReadFloat(FileHandle file, void *buffer, int32_t count) noexcept;

/// Write count values, each in its own qivWrite. Return count, or the result (0 or -1) of the
/// write that failed.
int32_t qivWriteShort(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivWriteLong(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivWriteDouble(FileHandle file, const void *buffer, int32_t count) noexcept;

/// As qivWriteLong, for floats.
///
/// Kept deliberately: in kFixedPoint format the file receives the fraction and then the integer
/// half, both truncated toward zero and in the host's byte order, whatever the file's. So -1.5
/// is written as -32768 and -1, and read back as -0.5.
/// Test: QivWriteFloat.FixedPointHalvesOfANegativeNumberAreBothTruncated.
int32_t qivWriteFloat(FileHandle file, const void *buffer, int32_t count) noexcept;

/// Reads a line that ends with CR, LF or CR LF, which are not stored.
/// buffer  size bytes; untouched when size is below 1.
/// Returns the characters stored; -1 at the end of the file or on error.
///
/// Kept deliberately: a line of size or more characters fills the buffer without a terminating
/// zero; the next call goes on with the rest.
/// Test: QivReadLine.ALongLineFillsTheBufferUnterminated.
///
/// Kept deliberately: a line that the end of the file ends gives -1, though it is in the buffer.
/// Test: QivReadLine.ALastLineWithoutAnEndGivesMinusOne.
///
/// Kept deliberately: so does one whose CR is the file's last byte.
/// Test: QivReadLine.ACrAsTheLastByteGivesMinusOne.
int32_t qivReadLine(FileHandle file, char *buffer, int32_t size) noexcept;

/// Writes length bytes and the line end of the file's format. Returns the result of writing the
/// bytes, or that of the line end when it is not 1.
int32_t qivWriteLine(FileHandle file, const char *buffer, int32_t length) noexcept;

/// Store and fetch the settings. Return 0. With handle 0 nothing is stored or fetched.
int32_t qivSetDataFormat(FileHandle file, uint16_t byteOrder, uint16_t numberFormat) noexcept;
int32_t qivGetDataFormat(FileHandle file, uint16_t *byteOrder, uint16_t *numberFormat) noexcept;
int32_t qivSetLineFormat(FileHandle file, uint16_t lineFormat) noexcept;

/// Reads to the first line end and goes back to the start of the file. Returns its format,
/// to be set by the caller; -1 without any.
int32_t qivGetLineFormat(FileHandle file) noexcept;

/// Store the count least significant bytes of value, least or most significant first; bytes
/// beyond the fourth are 0.
void qivNativeToLE(void *destination, uint32_t value, int32_t count) noexcept;
void qivNativeToBE(void *destination, uint32_t value, int32_t count) noexcept;

} // namespace kowen
