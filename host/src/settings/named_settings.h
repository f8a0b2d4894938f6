// Settings by name: what KowenSettings is.
#pragma once

#include "settings/values.h"

#include <array>
#include <cstddef>
#include <string>

namespace kowen::host {

/// The settings, in the order of their names' list.
enum class SettingId : uint8_t {
    kQuality,
    kProgressive,
    kColour,
    kColourMode,
    kSize,
    kDpi,
    kPage,
    kBackground,
    kExif,
    kIcc,
    kComment,
    kMaxBytes,
    kAsFilter
};
inline constexpr size_t kSettingCount = static_cast<size_t>(SettingId::kAsFilter) + 1;

/// All quantisers of a file fit their bytes from this quality on.
inline constexpr int32_t kLowestPlainQuality = 45;

/// Where a value comes from.
enum class Origin : uint8_t { kDefault, kProfile, kSet };

/// Values with their origins.
class NamedSettings {
public:
    /// Sets one by name. Throws BadArgument, then nothing has changed.
    void Set(const std::string &name, const std::string &value);

    /// The value as Set takes it back.
    std::string Get(SettingId id) const;

    Origin OriginOf(SettingId id) const { return origins[static_cast<size_t>(id)]; }
    ExportSettings Values() const;
    const std::string &ProfilePath() const { return profilePath; }
    const std::string &ProfileSection() const { return profileSection; }

    /// Takes what a profile's section says, but for what was set.
    void TakeProfile(const FilterSettings &profile, const std::string &path,
                     const std::string &section);

private:
    ExportSettings values;
    std::array<Origin, kSettingCount> origins = {};
    std::string profilePath;
    std::string profileSection;
};

/// The setting of a name. Throws BadArgument that lists the names.
SettingId FindSetting(const std::string &name);

/// The name of a setting. Static.
const char *SettingName(SettingId id);

/// Throws BadArgument for settings that do not go together or give no usable file.
void CheckTogether(const ExportSettings &settings);

/// The part of CheckTogether that is about colours and scans.
void CheckColours(const FilterSettings &filter, bool asFilter);

/// Throws BadArgument for a quality below `lowest` or beyond the filter's range.
void CheckQuality(int32_t quality, int32_t lowest);

/// Throws BadArgument for a size or a resolution that the filter itself does not take.
void CheckFilterLimits(const FilterSettings &filter);

} // namespace kowen::host
