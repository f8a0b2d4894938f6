// Values moved between memory and a file in the file's byte order, number and line format.
#pragma once

#include "io/file_handle.h"

namespace kowen {

int32_t qivReadChar(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivReadShort(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivReadLong(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivReadFloat(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivReadDouble(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivReadLine(FileHandle file, char *buffer, int32_t size) noexcept;
int32_t qivWriteChar(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivWriteShort(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivWriteLong(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivWriteFloat(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivWriteDouble(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivWriteLine(FileHandle file, const char *buffer, int32_t length) noexcept;
int32_t qivSetDataFormat(FileHandle file, uint16_t byteOrder, uint16_t numberFormat) noexcept;
int32_t qivGetDataFormat(FileHandle file, uint16_t *byteOrder, uint16_t *numberFormat) noexcept;
int32_t qivSetLineFormat(FileHandle file, uint16_t lineFormat) noexcept;
int32_t qivGetLineFormat(FileHandle file) noexcept;
void qivNativeToLE(void *destination, uint32_t value, int32_t count) noexcept;
void qivNativeToBE(void *destination, uint32_t value, int32_t count) noexcept;

} // namespace kowen
