#include "settings/profile_keeping.h"

#include "base/failure.h"
#include "settings/parse.h"

namespace kowen::host {
namespace {

constexpr SettingId kKept[] = {SettingId::kQuality,    SettingId::kProgressive, SettingId::kColour,
                               SettingId::kColourMode, SettingId::kSize,        SettingId::kDpi};

bool IsKept(SettingId id) {
    for (const SettingId kept : kKept) {
        if (kept == id)
            return true;
    }
    return false;
}

void CheckKeys(const NamedSettings &settings) {
    for (size_t i = 0; i < kSettingCount; ++i) {
        const auto id = static_cast<SettingId>(i);
        if (settings.OriginOf(id) == Origin::kSet && !IsKept(id))
            throw BadArgument(std::string("a profile cannot keep '") + SettingName(id) +
                              "': set it with each export");
    }
}

// A box in pixels becomes inches at the resolution that the section will have.
void TurnIntoInches(const Extent &box, FilterSettings *filter) {
    if (!filter->UserResolution())
        throw BadArgument("a size in pixels can be kept only together with a resolution: set 'dpi' "
                          "to one, or give the size in inches or centimetres");
    filter->sizeMode = KOWEN_SIZE_USER;
    filter->widthInches = box.width / filter->xDpi;
    filter->heightInches = box.height / filter->yDpi;
}

// What exports refuse is not kept for them either.
void CheckFiles(const NamedSettings &settings, const FilterSettings &filter) {
    const auto wasSet = [&](SettingId id) { return settings.OriginOf(id) == Origin::kSet; };
    if (wasSet(SettingId::kQuality))
        CheckQuality(filter.quality, false);
    if (wasSet(SettingId::kColour) || wasSet(SettingId::kProgressive))
        CheckColours(filter, false);
}

// The section's settings with those that were set.
FilterSettings Merged(const NamedSettings &settings, const FilterSettings &section) {
    NamedSettings merged = settings;
    merged.TakeProfile(section, "", "");
    const ExportSettings values = merged.Values();
    FilterSettings filter = values.filter;
    if (values.box)
        TurnIntoInches(*values.box, &filter);
    CheckFilterLimits(filter);
    CheckFiles(settings, filter);
    return filter;
}

void Write(SettingId id, const FilterSettings &filter, const std::string &section,
           ProfileText *profile) {
    const auto set = [&](const char *name, int32_t value) {
        profile->Set(section, name, std::to_string(value));
    };
    switch (id) {
    case SettingId::kQuality:
        set(key::kQualityMode, KOWEN_QUALITY_USER);
        set(key::kQuality, filter.quality);
        break;
    case SettingId::kProgressive:
        set(key::kOperation, filter.operation);
        break;
    case SettingId::kColour:
        set(key::kColourFormat, filter.colourFormat);
        break;
    case SettingId::kColourMode:
        set(key::kColourMode, filter.colourMode);
        break;
    case SettingId::kSize:
        set(key::kSizeMode, filter.sizeMode);
        if (filter.UserSize()) {
            profile->Set(section, key::kWidth, NumberText(filter.widthInches));
            profile->Set(section, key::kHeight, NumberText(filter.heightInches));
        }
        break;
    case SettingId::kDpi:
        set(key::kResolutionMode, filter.resolutionMode);
        if (filter.UserResolution()) {
            set(key::kXResolution, filter.xDpi);
            set(key::kYResolution, filter.yDpi);
        }
        break;
    default:
        break;
    }
}

} // namespace

void KeepSettings(const NamedSettings &settings, const std::string &section, ProfileText *profile) {
    CheckKeys(settings);
    ProfileText kept = *profile;
    const bool counts = !kept.Value(section, key::kDriver).value_or("").empty();
    // For missing keys the filter has other defaults than for a missing profile.
    if (!counts && kept.Has(section))
        kept.Set(section, key::kDriver, key::kDriverValue);
    else if (!counts)
        WriteSettings(FilterSettings(), section, &kept);
    const FilterSettings merged = Merged(settings, ReadSettings(kept, section));
    for (const SettingId id : kKept) {
        if (settings.OriginOf(id) == Origin::kSet)
            Write(id, merged, section, &kept);
    }
    *profile = kept;
}

} // namespace kowen::host
