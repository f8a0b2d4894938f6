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

/// The lowest quality of exports: of plain ones, all of whose quantisers fit their bytes from it
/// on, or the filter's own.
int32_t LowestQuality(bool asFilter);

/// Throws BadArgument for a quality that exports are not made with.
void CheckQuality(int32_t quality, bool asFilter);

/// Throws BadArgument for a size or a resolution that the filter itself does not take.
void CheckFilterLimits(const FilterSettings &filter);

} // namespace kowen::host
