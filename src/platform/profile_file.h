// INI profiles: sections, keys and values, read and rewritten in place.
#pragma once

#include "io/file_handle.h"

namespace kowen {

/// Size of the path buffers of the filter, the terminating zero included.
inline constexpr int32_t kPathBytes = 144;

int32_t GetPrivateProfileString(const char *section, const char *key, const char *defaultText,
                                char *buffer, int32_t size, const char *file) noexcept;
int32_t GetProfileString(const char *section, const char *key, const char *defaultText,
                         char *buffer, int32_t size) noexcept;
int32_t GetPrivateProfileInt(const char *section, const char *key, int32_t defaultValue,
                             const char *file) noexcept;
int32_t GetProfileInt(const char *section, const char *key, int32_t defaultValue) noexcept;
int32_t WritePrivateProfileString(const char *section, const char *key, const char *value,
                                  const char *file) noexcept;
int32_t WriteProfileString(const char *section, const char *key, const char *value) noexcept;
FileHandle INIopen(char *name, int32_t nameSize, int32_t mode) noexcept;
void INIclose(FileHandle file) noexcept;
int32_t GetProfileDirectory(char *name, const char *path) noexcept;
int32_t QIVGetTempFileName(uint32_t, uint32_t, uint32_t, char *destination) noexcept;

} // namespace kowen
