// File handles: disk files, memory blocks, host-served files and document streams behind one type.
#pragma once

#include "kowen/records.h"

#include <cstdint>
#include <cstdio>

namespace kowen {

/// A global memory handle to a QivFile; 0 for none.
using FileHandle = MemoryHandle;

/// qivOpen answers a handle, or for the modes that make none the answer of the test or deletion.
intptr_t qivOpen(const char *name, QivIODesc *descriptor, int32_t mode) noexcept;
int32_t qivClose(FileHandle file) noexcept;
int32_t qivCloseandDelete(FileHandle file, const char *name) noexcept;
int32_t qivRead(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t qivWrite(FileHandle file, const void *buffer, int32_t count) noexcept;
int32_t qivSeek(FileHandle file, int32_t offset, int32_t whence) noexcept;
int32_t qivCopy(const char *source, const char *target) noexcept;
int32_t FillQivIOBuf(FileHandle file) noexcept;
int32_t FlushQivIO(FileHandle file) noexcept;
int32_t docRead(FileHandle file, void *buffer, int32_t count) noexcept;
int32_t docSeek(FileHandle file, int32_t offset, int32_t whence) noexcept;
int32_t unxSeek(std::FILE *stream, int32_t offset, int32_t whence) noexcept;
void s_getpath(char *destination, const char *path) noexcept;
void s_getname(char *destination, const char *path) noexcept;

} // namespace kowen
