// Settings as text. The Parse functions throw BadArgument that says what is expected.
#pragma once

#include "settings/values.h"

#include <array>
#include <cstdint>
#include <span>
#include <string>

namespace kowen::host {

/// A name and the code that it stands for. A code has one name for the output: the first in its
/// list; later ones are other spellings.
struct CodeName {
    const char *name;
    int32_t code;
};

std::span<const CodeName> ColourFormatNames();
std::span<const CodeName> ColourModeNames();
std::span<const CodeName> SizeModeNames();
std::span<const CodeName> ResolutionModeNames();

/// The code of a name; `setting` begins the sentence of the failure.
int32_t ParseName(std::span<const CodeName> names, const char *setting, const std::string &text);

/// The name of a code; "unknown (N)" for one without.
std::string NameOf(std::span<const CodeName> names, int32_t code);
bool HasName(std::span<const CodeName> names, int32_t code);

/// "yes" or "no"; "true", "false", "on", "off", "1" and "0" as well.
bool ParseYesNo(const char *setting, const std::string &text);

/// "keep" or "drop".
bool ParseKeep(const char *setting, const std::string &text);

int32_t ParseQuality(const std::string &text);
std::array<uint8_t, 3> ParseColour(const std::string &text);
uint64_t ParseByteCount(const std::string &text);

/// A width and a height with a unit; the unit "px" and none at all mean pixels.
Extent ParseExtent(const std::string &text);

/// The size and the resolution of the page.
Page ParsePage(const std::string &text);

/// Puts a size into the settings: picture, page, an extent or a paper's name.
void ParseSize(const std::string &text, ExportSettings *settings);

/// Puts a resolution into the settings: picture, page, N or NxM dots per inch.
void ParseResolution(const std::string &text, ExportSettings *settings);

/// A number without needless digits, with a decimal point whatever the program's locale.
std::string NumberText(double value);

} // namespace kowen::host
