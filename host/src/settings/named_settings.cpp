#include "settings/named_settings.h"

#include "base/failure.h"
#include "settings/parse.h"

#include <cstdio>

namespace kowen::host {
namespace {

using Parse = void (*)(const std::string &text, ExportSettings *settings);
using Format = std::string (*)(const ExportSettings &settings);

// A setting's name, how a text becomes its value and how its value becomes a text.
struct Setting {
    const char *name;
    Parse parse;
    Format format;
};

std::string YesNo(bool value) {
    return value ? "yes" : "no";
}

std::string KeepDrop(bool value) {
    return value ? "keep" : "drop";
}

std::string SizeText(const ExportSettings &settings) {
    if (settings.box)
        return NumberText(settings.box->width) + "x" + NumberText(settings.box->height) + "px";
    if (settings.filter.UserSize())
        return NumberText(settings.filter.widthInches) + "x" +
               NumberText(settings.filter.heightInches) + "in";
    return NameOf(SizeModeNames(), settings.filter.sizeMode);
}

std::string DpiText(const ExportSettings &settings) {
    const FilterSettings &filter = settings.filter;
    if (!filter.UserResolution())
        return NameOf(ResolutionModeNames(), filter.resolutionMode);
    const std::string x = std::to_string(filter.xDpi);
    return filter.xDpi == filter.yDpi ? x : x + "x" + std::to_string(filter.yDpi);
}

std::string PageText(const ExportSettings &settings) {
    const Page &page = settings.page;
    if (page.dpi == 0)
        return "";
    return std::to_string(page.width) + "x" + std::to_string(page.height) + "px@" +
           std::to_string(page.dpi);
}

std::string ColourText(const ExportSettings &settings) {
    char text[8];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", settings.background[0],
                  settings.background[1], settings.background[2]);
    return text;
}

constexpr Setting kSettings[kSettingCount] = {
    {"quality",
     [](const std::string &text, ExportSettings *s) {
         s->filter.quality = ParseQuality(text);
         s->filter.qualityMode = KOWEN_QUALITY_USER;
     },
     [](const ExportSettings &s) { return std::to_string(s.filter.quality); }},
    {"progressive",
     [](const std::string &text, ExportSettings *s) {
         s->filter.operation = ParseYesNo("progressive", text) ? KOWEN_OPERATION_PROGRESSIVE
                                                               : KOWEN_OPERATION_SEQUENTIAL;
     },
     [](const ExportSettings &s) {
         return YesNo(s.filter.operation == KOWEN_OPERATION_PROGRESSIVE);
     }},
    {"colour",
     [](const std::string &text, ExportSettings *s) {
         s->filter.colourFormat = ParseName(ColourFormatNames(), "the colour format", text);
         s->filter.namesColourFormat = true;
     },
     [](const ExportSettings &s) { return NameOf(ColourFormatNames(), s.filter.colourFormat); }},
    {"colour-mode",
     [](const std::string &text, ExportSettings *s) {
         s->filter.colourMode = ParseName(ColourModeNames(), "the colour mode", text);
     },
     [](const ExportSettings &s) { return NameOf(ColourModeNames(), s.filter.colourMode); }},
    {"size", ParseSize, SizeText},
    {"dpi", ParseResolution, DpiText},
    {"page", [](const std::string &text, ExportSettings *s) { s->page = ParsePage(text); },
     PageText},
    {"background",
     [](const std::string &text, ExportSettings *s) { s->background = ParseColour(text); },
     ColourText},
    {"exif",
     [](const std::string &text, ExportSettings *s) { s->keepExif = ParseKeep("exif", text); },
     [](const ExportSettings &s) { return KeepDrop(s.keepExif); }},
    {"icc", [](const std::string &text, ExportSettings *s) { s->keepIcc = ParseKeep("icc", text); },
     [](const ExportSettings &s) { return KeepDrop(s.keepIcc); }},
    {"comment",
     [](const std::string &text, ExportSettings *s) {
         s->keepComment = ParseKeep("comment", text);
     },
     [](const ExportSettings &s) { return KeepDrop(s.keepComment); }},
    {"max-bytes",
     [](const std::string &text, ExportSettings *s) { s->maxBytes = ParseByteCount(text); },
     [](const ExportSettings &s) { return std::to_string(s.maxBytes); }},
    {"as-filter",
     [](const std::string &text, ExportSettings *s) {
         s->asFilter = ParseYesNo("as-filter", text);
     },
     [](const ExportSettings &s) { return YesNo(s.asFilter); }},
};

const Setting &Of(SettingId id) {
    return kSettings[static_cast<size_t>(id)];
}

// Names are compared as the user's language may write them: color, color-mode.
std::string BritishName(std::string name) {
    if (name.starts_with("color"))
        name.insert(4, "u");
    return name;
}

} // namespace

void NamedSettings::Set(const std::string &name, const std::string &value) {
    const SettingId id = FindSetting(name);
    ExportSettings changed = values;
    Of(id).parse(value, &changed);
    values = changed;
    origins[static_cast<size_t>(id)] = Origin::kSet;
}

std::string NamedSettings::Get(SettingId id) const {
    return Of(id).format(Values());
}

// A profile that names no colour format means files that open anywhere, but to the filter itself.
ExportSettings NamedSettings::Values() const {
    ExportSettings result = values;
    if (!values.filter.namesColourFormat && !values.asFilter)
        result.filter.colourFormat = KOWEN_FORMAT_YCC422;
    return result;
}

void NamedSettings::TakeProfile(const FilterSettings &profile, const std::string &path,
                                const std::string &section) {
    const auto take = [&](SettingId id) {
        Origin &origin = origins[static_cast<size_t>(id)];
        if (origin == Origin::kSet)
            return false;
        origin = Origin::kProfile;
        return true;
    };
    FilterSettings &filter = values.filter;
    if (take(SettingId::kQuality)) {
        filter.quality = profile.quality; // 100 when the profile's mode is the fixed quality
        filter.qualityMode = KOWEN_QUALITY_USER;
    }
    if (take(SettingId::kProgressive))
        filter.operation = profile.operation;
    if (take(SettingId::kColour)) {
        filter.colourFormat = profile.colourFormat;
        filter.namesColourFormat = profile.namesColourFormat;
    }
    if (take(SettingId::kColourMode))
        filter.colourMode = profile.colourMode;
    if (take(SettingId::kSize)) {
        filter.sizeMode = profile.sizeMode;
        filter.widthInches = profile.widthInches;
        filter.heightInches = profile.heightInches;
        values.box.reset();
    }
    if (take(SettingId::kDpi)) {
        filter.resolutionMode = profile.resolutionMode;
        filter.xDpi = profile.xDpi;
        filter.yDpi = profile.yDpi;
    }
    filter.lineMode = profile.lineMode;
    profilePath = path;
    profileSection = section;
}

SettingId FindSetting(const std::string &name) {
    std::string list;
    for (size_t i = 0; i < kSettingCount; ++i) {
        if (BritishName(name) == kSettings[i].name)
            return static_cast<SettingId>(i);
        list += (i == 0 ? "" : i + 1 == kSettingCount ? " and " : ", ");
        list += kSettings[i].name;
    }
    throw BadArgument("there is no setting '" + name + "'; the settings are " + list);
}

const char *SettingName(SettingId id) {
    return Of(id).name;
}

void CheckColours(const FilterSettings &filter, bool asFilter) {
    if (!HasName(ColourFormatNames(), filter.colourFormat))
        throw BadArgument("the colour format is " +
                          NameOf(ColourFormatNames(), filter.colourFormat) +
                          "; set 'colour' to ycc422 or grey");
    if (filter.colourFormat == KOWEN_FORMAT_RGB444 && !asFilter)
        throw BadArgument("files of the colour format rgb444 show false colours in other programs: "
                          "set 'colour' to ycc422 or grey, or 'as-filter' to yes");
    if (filter.operation == KOWEN_OPERATION_PROGRESSIVE &&
        filter.colourFormat != KOWEN_FORMAT_YCC422)
        throw BadArgument("progressive files are made of the colour format ycc422 only: set "
                          "'progressive' to no, or 'colour' to ycc422");
}

void CheckFilterLimits(const FilterSettings &filter) {
    const auto dpiFits = [](int32_t dpi) {
        return dpi >= KOWEN_MIN_RESOLUTION && dpi <= KOWEN_MAX_RESOLUTION;
    };
    const auto sideFits = [](double inches) {
        return inches >= KOWEN_MIN_INCHES && inches <= KOWEN_MAX_INCHES;
    };
    if (filter.UserResolution() && !(dpiFits(filter.xDpi) && dpiFits(filter.yDpi)))
        throw BadArgument("the filter's resolutions are from 32 to 400 dots per inch");
    if (filter.UserSize() && !(sideFits(filter.widthInches) && sideFits(filter.heightInches)))
        throw BadArgument("the filter's sizes are from 0.03125 to 22 inches each way");
}

int32_t LowestQuality(bool asFilter) {
    return asFilter ? KOWEN_MIN_QUALITY : KOWEN_HOST_MIN_QUALITY;
}

void CheckQuality(int32_t quality, bool asFilter) {
    if (quality >= LowestQuality(asFilter) && quality <= KOWEN_HOST_MAX_QUALITY)
        return;
    throw BadArgument("the quality is from 45 to 100, not " + std::to_string(quality) +
                      ": below 45 some of the file's tables do not fit their bytes, which shows as "
                      "patterns in the picture");
}

void CheckTogether(const ExportSettings &settings) {
    const FilterSettings &filter = settings.filter;
    CheckColours(filter, settings.asFilter);
    if (settings.asFilter)
        CheckFilterLimits(filter);
    if (settings.asFilter && settings.box && filter.resolutionMode == KOWEN_RESOLUTION_FROM_DISPLAY)
        throw BadArgument(
            "with 'as-filter', a size in pixels needs a resolution: set 'dpi' to one");
    CheckQuality(filter.quality, settings.asFilter);
    if (filter.operation != KOWEN_OPERATION_PROGRESSIVE &&
        filter.operation != KOWEN_OPERATION_SEQUENTIAL)
        throw BadArgument("the profile's operation " + std::to_string(filter.operation) +
                          " has no meaning: set 'progressive' to yes or no");
}

} // namespace kowen::host
