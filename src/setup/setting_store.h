// One setting in a setup's section of its profile file.
#pragma once

#include "setup/setup.h"
#include "setup/string_table.h"

#include <cstdint>

namespace kowen {

/// Reads a setting as text, as GetPrivateProfileString does.
///
/// key          id of the key's name.
/// defaultText  used when the key is absent; not null, shorter than the buffer.
/// buffer       cleared and filled. Not terminated when the value is as long as the buffer.
/// size         bytes of the buffer.
/// Returns the number of characters placed.
int32_t ReadSettingText(const SetupRecord &setup, StringId key, const char *defaultText,
                        char *buffer, int32_t size) noexcept;

/// Reads a setting as an integer; a value that is found replaces the default, also when it is no
/// number (then it counts as 0).
int32_t ReadSettingInt(const SetupRecord &setup, StringId key, int32_t defaultValue) noexcept;

/// Reads a setting as a decimal number with a point, whatever the host's locale.
double ReadSettingInches(const SetupRecord &setup, StringId key, const char *defaultText) noexcept;

/// Writes a setting, formatted as printf does, with a decimal point whatever the host's locale.
/// A setup without a profile file persists nothing; a failed write is not reported.
void WriteSetting(const SetupRecord &setup, StringId key, const char *format, ...) noexcept
    __attribute__((format(printf, 3, 4)));

} // namespace kowen
