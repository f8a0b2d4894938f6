// Export settings with names on the outside and the module's codes on the inside.
#pragma once

#include "kowen/codes.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace kowen::host {

/// What a setup holds. The values are the module's own defaults for a setup without a profile.
struct Settings {
    int32_t colourMode = KOWEN_COLOR_UNCHANGED;
    int32_t colourFormat = KOWEN_FORMAT_YCC422;
    int32_t qualityMode = KOWEN_QUALITY_FIXED;
    int32_t quality = KOWEN_MAX_QUALITY;
    int32_t operation = KOWEN_OPERATION_SEQUENTIAL;
    int32_t lineMode = KOWEN_LINE_DEFAULT;
    int32_t resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    int32_t xDpi = 96;
    int32_t yDpi = 96;
    int32_t sizeMode = KOWEN_SIZE_FROM_PICTURE;
    double widthInches = 6.67;
    double heightInches = 5.0;

    bool UserResolution() const;
    bool UserSize() const;
};

/// A width and a height as the user gave them.
struct Extent {
    double width = 0;
    double height = 0;
    bool pixels = false; ///< else inches
};

/// A size setting: a mode and, with KOWEN_SIZE_USER, the box to fit the picture into.
struct SizeChoice {
    int32_t mode = KOWEN_SIZE_FROM_PICTURE;
    Extent box;
};

/// A resolution setting: a mode and, with KOWEN_RESOLUTION_USER, dots per inch.
struct ResolutionChoice {
    int32_t mode = KOWEN_RESOLUTION_FROM_PICTURE;
    int32_t x = 0;
    int32_t y = 0;
};

/// A quality setting; 100 with KOWEN_QUALITY_FIXED.
struct QualityChoice {
    int32_t mode = KOWEN_QUALITY_USER;
    int32_t quality = KOWEN_MAX_QUALITY;
};

/// What the user asks for; what is empty stays as it is.
struct Choices {
    std::optional<int32_t> colourMode;
    std::optional<int32_t> colourFormat;
    std::optional<int32_t> operation;
    std::optional<int32_t> lineMode;
    std::optional<QualityChoice> quality;
    std::optional<ResolutionChoice> resolution;
    std::optional<SizeChoice> size;

    bool Empty() const;
};

/// A name and the code that it stands for.
struct CodeName {
    const char *name;
    int32_t code;
};

/// The names of a setting that is chosen from a list, for help texts: "a, b or c".
std::string ColourFormatNames();
std::string ColourModeNames();

/// Read a value as the user writes it. Throw UsageError that says what is expected.
int32_t ParseColourFormat(const std::string &text);
int32_t ParseColourMode(const std::string &text);
int32_t ParseOperation(const std::string &text);
QualityChoice ParseQuality(const std::string &text);
ResolutionChoice ParseResolution(const std::string &text);
SizeChoice ParseSize(const std::string &text);
Extent ParseExtent(const std::string &text);

/// The keys of SetChoice and ListSettings, in order.
std::vector<std::string> SettingKeys();

/// Stores the setting named by `key`. Throws UsageError for an unknown key or a bad value.
void SetChoice(Choices *choices, const std::string &key, const std::string &value);

/// One setting as text.
struct NamedSetting {
    std::string key;
    std::string value;
};

/// Every setting under its key, in a form that SetChoice takes back.
std::vector<NamedSetting> ListSettings(const Settings &settings);

/// Throws HostError for settings that give no picture: codes without a meaning, and progressive
/// files of any other colour format than ycc422, of which the filter writes the headers only.
void CheckUsable(const Settings &settings);

/// What the user should know about files of these settings; empty when they are ordinary.
std::vector<std::string> Notes(const Settings &settings);

/// Settings with the choices put in. A box in pixels is left out: it is met by the cell.
Settings Apply(const Settings &settings, const Choices &choices);

} // namespace kowen::host
