// A settings profile as text: read as the module reads it, rewritten line by line so that what is
// not changed stays as it was, comments and line ends included.
#pragma once

#include "settings/values.h"

#include <optional>
#include <string>
#include <vector>

namespace kowen::host {

class ProfileText {
public:
    ProfileText() = default;
    explicit ProfileText(const std::string &text);

    std::string Text() const;

    /// Names of the sections, in order, each once.
    std::vector<std::string> Sections() const;

    bool Has(const std::string &section) const;

    /// Whether the filter begins to read the section at a line that is no header, as it does at any
    /// line that has its name: what stands in the section then does not count.
    bool IsHidden(const std::string &section) const;

    /// The value of a key, in any of the sections of that name; nothing when it is in none. Names
    /// match without regard to case.
    std::optional<std::string> Value(const std::string &section, const std::string &key) const;

    /// The value as a number, as the module takes it: hexadecimal after 0x, of which the low 32
    /// bits count, else the leading digits, at most 2147483647, 0 without any.
    int32_t Number(const std::string &section, const std::string &key, int32_t otherwise) const;

    /// Sets a key. A line that has it keeps its comment; a new one goes to the end of the section,
    /// which is made at the end of the file when there is none.
    void Set(const std::string &section, const std::string &key, const std::string &value);

private:
    struct Line {
        std::string text;
        std::string end; ///< CR LF, CR, LF; empty only for the last one
    };

    std::string LineEnd() const;
    void Append(const std::string &text);
    std::optional<size_t> FindHeader(const std::string &section) const;
    size_t SectionEnd(size_t first) const;

    std::vector<Line> lines;
};

/// Names of profile keys.
namespace key {
inline constexpr const char *kMode = "~Mode"; ///< of section kModeSection: the section to use
inline constexpr const char *kModeSection = "KOWEN";
inline constexpr const char *kDriver = "Driver"; ///< a section without it is not read
inline constexpr const char *kDriverValue = "KOWEN.1";
inline constexpr const char *kColourMode = "Color Mode";
inline constexpr const char *kColourFormat = "Color Format";
inline constexpr const char *kOperation = "Operation";
inline constexpr const char *kLineMode = "Line Mode";
inline constexpr const char *kQualityMode = "Quality Mode";
inline constexpr const char *kQuality = "Quality";
inline constexpr const char *kResolutionMode = "Resolution Mode";
inline constexpr const char *kXResolution = "X Resolution";
inline constexpr const char *kYResolution = "Y Resolution";
inline constexpr const char *kSizeMode = "Size Mode";
inline constexpr const char *kWidth = "Width";
inline constexpr const char *kHeight = "Height";
} // namespace key

/// The settings of a section as the module loads them: its defaults for missing keys, its range
/// checks. The section must have the key "Driver".
FilterSettings ReadSettings(const ProfileText &profile, const std::string &section);

/// Writes every setting to a section, the key "Driver" first.
void WriteSettings(const FilterSettings &settings, const std::string &section,
                   ProfileText *profile);

/// Throws BadArgument unless the text can be a section's name.
void CheckSectionName(const std::string &section);

} // namespace kowen::host
