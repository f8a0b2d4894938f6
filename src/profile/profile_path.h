// Where a profile is found, and its text.
#pragma once

#include "io/file_handle.h"
#include "platform/text_buffer.h"

namespace kowen {

/// Longest path, terminating zero included, that profiles are opened by.
inline constexpr int32_t kLongestPath = 4096;

/// Opens a profile as INIopen does. found, foundSize bytes, receives its path when it was found in
/// the directory INIDIR, else it stays. name may be found itself.
FileHandle OpenProfile(const char *name, int32_t mode, char *found, int32_t foundSize) noexcept;

/// Appends what is left of a file to text. Returns false when reading failed or memory is
/// exhausted; the text holds what was read before a read error.
bool ReadToEnd(FileHandle file, TextBuffer &text) noexcept;

} // namespace kowen
