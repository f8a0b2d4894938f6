#include "host/settings.h"

#include "host/error.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <span>

namespace kowen::host {
namespace {

constexpr double kCentimetresPerInch = 2.54;
constexpr double kMillimetresPerInch = 25.4;
constexpr int32_t kLowestPlainQuality = 45; // all quantisers fit a byte from here on
constexpr double kLongestSide = 65535;      // pixels; what a frame header can say

constexpr CodeName kColourFormats[] = {{"ycc422", KOWEN_FORMAT_YCC422},
                                       {"rgb444", KOWEN_FORMAT_RGB444},
                                       {"grey", KOWEN_FORMAT_GREY},
                                       {"gray", KOWEN_FORMAT_GREY}};

constexpr CodeName kColourModes[] = {{"unchanged", KOWEN_COLOR_UNCHANGED},
                                     {"inverted", KOWEN_COLOR_INVERTED},
                                     {"greys-inverted", KOWEN_COLOR_GREYS_INVERTED},
                                     {"grey", KOWEN_COLOR_GREY_SCALE},
                                     {"grey-inverted", KOWEN_COLOR_GREY_SCALE_INVERTED},
                                     {"grays-inverted", KOWEN_COLOR_GREYS_INVERTED},
                                     {"gray", KOWEN_COLOR_GREY_SCALE},
                                     {"gray-inverted", KOWEN_COLOR_GREY_SCALE_INVERTED}};

constexpr CodeName kOperations[] = {{"sequential", KOWEN_OPERATION_SEQUENTIAL},
                                    {"progressive", KOWEN_OPERATION_PROGRESSIVE}};

constexpr CodeName kLineModes[] = {{"default", KOWEN_LINE_DEFAULT}};

constexpr CodeName kSizeModes[] = {{"from-picture", KOWEN_SIZE_FROM_PICTURE},
                                   {"from-page", KOWEN_SIZE_FROM_DISPLAY},
                                   {"picture", KOWEN_SIZE_FROM_PICTURE},
                                   {"page", KOWEN_SIZE_FROM_DISPLAY}};

constexpr CodeName kResolutionModes[] = {{"from-picture", KOWEN_RESOLUTION_FROM_PICTURE},
                                         {"from-page", KOWEN_RESOLUTION_FROM_DISPLAY},
                                         {"picture", KOWEN_RESOLUTION_FROM_PICTURE},
                                         {"page", KOWEN_RESOLUTION_FROM_DISPLAY}};

const CodeName *Find(std::span<const CodeName> names, const std::string &text) {
    for (const CodeName &entry : names) {
        if (text == entry.name)
            return &entry;
    }
    return nullptr;
}

std::string UnknownName(int32_t code) {
    return "unknown (" + std::to_string(code) + ")";
}

// A code has one name for the output: the first in its list. Later ones are other spellings.
std::string NameOf(std::span<const CodeName> names, int32_t code) {
    for (const CodeName &entry : names) {
        if (entry.code == code)
            return entry.name;
    }
    return UnknownName(code);
}

std::string Names(std::span<const CodeName> names) {
    std::vector<std::string> distinct;
    for (size_t i = 0; i < names.size(); ++i) {
        if (NameOf(names, names[i].code) == names[i].name)
            distinct.push_back(names[i].name);
    }
    std::string list;
    for (size_t i = 0; i < distinct.size(); ++i)
        list += (i == 0 ? "" : i + 1 == distinct.size() ? " or " : ", ") + distinct[i];
    return list;
}

int32_t ParseName(std::span<const CodeName> names, const char *setting, const std::string &text) {
    if (const CodeName *entry = Find(names, text))
        return entry->code;
    throw UsageError(std::string(setting) + " is " + Names(names) + ", not '" + text + "'");
}

std::optional<int32_t> WholeNumber(const std::string &text) {
    int32_t value = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return std::nullopt;
    return value;
}

std::optional<double> Number(const std::string &text) {
    double value = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value, std::chars_format::fixed);
    if (result.ec != std::errc() || result.ptr != end || !std::isfinite(value))
        return std::nullopt;
    return value;
}

// Takes a unit off the end of the text. Returns inches per unit, 0 for pixels.
double TakeUnit(std::string *text) {
    struct Unit {
        const char *name;
        double inches;
    };
    constexpr Unit kUnits[] = {
        {"in", 1.0}, {"cm", 1 / kCentimetresPerInch}, {"mm", 1 / kMillimetresPerInch}, {"px", 0}};
    for (const Unit &unit : kUnits) {
        if (text->ends_with(unit.name)) {
            text->resize(text->size() - 2);
            return unit.inches;
        }
    }
    return 0;
}

[[noreturn]] void RejectExtent(const std::string &text) {
    throw UsageError("a size is two numbers and a unit, such as 640x480px, 6x4in, 15x10cm or "
                     "150x100mm, not '" +
                     text + "'");
}

void CheckPixels(const Extent &extent) {
    for (const double side : {extent.width, extent.height}) {
        if (side < 1 || side > kLongestSide || side != std::floor(side))
            throw UsageError("a size in pixels is two whole numbers from 1 to 65535");
    }
}

void CheckInches(const Extent &extent) {
    for (const double side : {extent.width, extent.height}) {
        if (side < KOWEN_MIN_INCHES || side > KOWEN_MAX_INCHES)
            throw UsageError("a size is from 0.03125 to 22 inches each way (0.8 to 558.8 mm)");
    }
}

void CheckResolution(int32_t dpi) {
    if (dpi < KOWEN_MIN_RESOLUTION || dpi > KOWEN_MAX_RESOLUTION)
        throw UsageError("a resolution is from 32 to 400 dots per inch, not " +
                         std::to_string(dpi));
}

std::string NumberText(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.10g", value);
    return text;
}

} // namespace

bool Settings::UserResolution() const {
    return resolutionMode != KOWEN_RESOLUTION_FROM_PICTURE &&
           resolutionMode != KOWEN_RESOLUTION_FROM_DISPLAY;
}

bool Settings::UserSize() const {
    return sizeMode != KOWEN_SIZE_FROM_PICTURE && sizeMode != KOWEN_SIZE_FROM_DISPLAY;
}

bool Choices::Empty() const {
    return !colourMode && !colourFormat && !operation && !lineMode && !quality && !resolution &&
           !size;
}

std::string ColourFormatNames() {
    return Names(kColourFormats);
}
std::string ColourModeNames() {
    return Names(kColourModes);
}

int32_t ParseColourFormat(const std::string &text) {
    return ParseName(kColourFormats, "the colour format", text);
}

int32_t ParseColourMode(const std::string &text) {
    return ParseName(kColourModes, "the colour mode", text);
}

int32_t ParseOperation(const std::string &text) {
    return ParseName(kOperations, "the operation", text);
}

QualityChoice ParseQuality(const std::string &text) {
    if (text == "fixed")
        return {KOWEN_QUALITY_FIXED, KOWEN_MAX_QUALITY};
    const std::optional<int32_t> quality = WholeNumber(text);
    if (!quality || *quality < KOWEN_MIN_QUALITY || *quality > KOWEN_MAX_QUALITY)
        throw UsageError("the quality is a whole number from 1 to 100, or fixed, not '" + text +
                         "'");
    return {KOWEN_QUALITY_USER, *quality};
}

ResolutionChoice ParseResolution(const std::string &text) {
    if (const CodeName *mode = Find(kResolutionModes, text))
        return {mode->code, 0, 0};
    const size_t cross = text.find('x');
    const std::optional<int32_t> x = WholeNumber(text.substr(0, cross));
    const std::optional<int32_t> y =
        cross == std::string::npos ? x : WholeNumber(text.substr(cross + 1));
    if (!x || !y)
        throw UsageError("a resolution is N or NxM dots per inch, picture or page, not '" + text +
                         "'");
    CheckResolution(*x);
    CheckResolution(*y);
    return {KOWEN_RESOLUTION_USER, *x, *y};
}

Extent ParseExtent(const std::string &text) {
    std::string numbers = text;
    const double inchesPerUnit = TakeUnit(&numbers);
    const size_t cross = numbers.find('x');
    if (cross == std::string::npos)
        RejectExtent(text);
    const std::optional<double> width = Number(numbers.substr(0, cross));
    const std::optional<double> height = Number(numbers.substr(cross + 1));
    if (!width || !height)
        RejectExtent(text);
    if (inchesPerUnit == 0) {
        const Extent extent = {*width, *height, true};
        CheckPixels(extent);
        return extent;
    }
    return {*width * inchesPerUnit, *height * inchesPerUnit, false};
}

SizeChoice ParseSize(const std::string &text) {
    if (const CodeName *mode = Find(kSizeModes, text))
        return {mode->code, {}};
    const Extent box = ParseExtent(text);
    if (!box.pixels)
        CheckInches(box);
    return {KOWEN_SIZE_USER, box};
}

std::vector<std::string> SettingKeys() {
    return {"colour", "colour-mode", "quality", "operation", "size", "dpi", "line-mode"};
}

void SetChoice(Choices *choices, const std::string &key, const std::string &value) {
    if (key == "colour" || key == "color")
        choices->colourFormat = ParseColourFormat(value);
    else if (key == "colour-mode" || key == "color-mode")
        choices->colourMode = ParseColourMode(value);
    else if (key == "quality")
        choices->quality = ParseQuality(value);
    else if (key == "operation")
        choices->operation = ParseOperation(value);
    else if (key == "size")
        choices->size = ParseSize(value);
    else if (key == "dpi")
        choices->resolution = ParseResolution(value);
    else if (key == "line-mode")
        choices->lineMode = ParseName(kLineModes, "the line mode", value);
    else
        throw UsageError("there is no setting '" + key +
                         "'; the settings are colour, colour-mode, quality, operation, size, dpi "
                         "and line-mode");
}

std::vector<NamedSetting> ListSettings(const Settings &settings) {
    const bool fixed = settings.qualityMode != KOWEN_QUALITY_USER;
    std::string size = NameOf(kSizeModes, settings.sizeMode);
    if (settings.UserSize())
        size = NumberText(settings.widthInches) + "x" + NumberText(settings.heightInches) + "in";
    std::string dpi = NameOf(kResolutionModes, settings.resolutionMode);
    if (settings.UserResolution())
        dpi = std::to_string(settings.xDpi) + "x" + std::to_string(settings.yDpi);
    return {{"colour", NameOf(kColourFormats, settings.colourFormat)},
            {"colour-mode", NameOf(kColourModes, settings.colourMode)},
            {"quality", fixed ? "fixed" : std::to_string(settings.quality)},
            {"operation", NameOf(kOperations, settings.operation)},
            {"size", size},
            {"dpi", dpi},
            {"line-mode", NameOf(kLineModes, settings.lineMode)}};
}

void CheckUsable(const Settings &settings) {
    const auto known = [](std::span<const CodeName> names, int32_t code) {
        return NameOf(names, code) != UnknownName(code);
    };
    if (!known(kColourFormats, settings.colourFormat))
        throw HostError("the colour format is " + UnknownName(settings.colourFormat) +
                        "; choose one with --colour");
    if (!known(kOperations, settings.operation))
        throw HostError("the operation is " + UnknownName(settings.operation) +
                        "; choose one with --progressive or --sequential");
    if (settings.quality < KOWEN_MIN_QUALITY || settings.quality > KOWEN_MAX_QUALITY)
        throw HostError("the quality is " + std::to_string(settings.quality) +
                        "; choose one with --quality");
    if (settings.operation == KOWEN_OPERATION_PROGRESSIVE &&
        settings.colourFormat != KOWEN_FORMAT_YCC422)
        throw UsageError("progressive files are made of the colour format ycc422 only, not of " +
                         NameOf(kColourFormats, settings.colourFormat));
}

std::vector<std::string> Notes(const Settings &settings) {
    std::vector<std::string> notes;
    if (settings.colourFormat == KOWEN_FORMAT_GREY)
        notes.push_back("files of the colour format grey say 24 bits a sample, which most "
                        "programs do not open; --colour-mode grey makes a grey picture that they "
                        "do open");
    if (settings.colourFormat == KOWEN_FORMAT_RGB444)
        notes.push_back("files of the colour format rgb444 code every component as the first one, "
                        "which other programs do not expect: they show false colours or nothing; "
                        "ycc422 is what they open");
    if (settings.quality < kLowestPlainQuality)
        notes.push_back("at qualities below 45 some of the file's quantisers do not fit their "
                        "byte, which shows as patterns in the picture");
    return notes;
}

Settings Apply(const Settings &settings, const Choices &choices) {
    Settings result = settings;
    result.colourMode = choices.colourMode.value_or(settings.colourMode);
    result.colourFormat = choices.colourFormat.value_or(settings.colourFormat);
    result.operation = choices.operation.value_or(settings.operation);
    result.lineMode = choices.lineMode.value_or(settings.lineMode);
    if (choices.quality) {
        result.qualityMode = choices.quality->mode;
        result.quality = choices.quality->quality;
    }
    if (choices.resolution) {
        result.resolutionMode = choices.resolution->mode;
        if (choices.resolution->mode == KOWEN_RESOLUTION_USER) {
            result.xDpi = choices.resolution->x;
            result.yDpi = choices.resolution->y;
        }
    }
    if (choices.size && !choices.size->box.pixels) {
        result.sizeMode = choices.size->mode;
        if (choices.size->mode == KOWEN_SIZE_USER) {
            result.widthInches = choices.size->box.width;
            result.heightInches = choices.size->box.height;
        }
    }
    return result;
}

} // namespace kowen::host
