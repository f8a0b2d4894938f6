// Records described by a short text, moved between a packed file and aligned memory.
#pragma once

#include "io/file_handle.h"

namespace kowen {

int32_t qivReadStruct(FileHandle file, const char *description, void *buffer,
                      int32_t records) noexcept;
int32_t qivWriteStruct(FileHandle file, const char *description, const void *buffer,
                       int32_t records) noexcept;
int32_t GetPadWidth(const char *text) noexcept;
const char *GetUnionSize(const char *text, uint32_t *size) noexcept;

} // namespace kowen
