#include "settings/parse.h"

#include "base/failure.h"

#include <charconv>
#include <cmath>
#include <limits>
#include <strings.h>
#include <vector>

namespace kowen::host {
namespace {

constexpr double kCentimetresPerInch = 2.54;
constexpr double kMillimetresPerInch = 25.4;
constexpr double kLongestSide = 65535; // pixels; what a frame header can say
constexpr double kMostBytes = 1e15;
constexpr int32_t kMostPageDpi = INT16_MAX;
constexpr int32_t kMostDensity = 65535; // dots per inch; what a JFIF header can say

constexpr CodeName kColourFormats[] = {{"ycc422", KOWEN_FORMAT_YCC422},
                                       {"grey", KOWEN_FORMAT_GREY},
                                       {"rgb444", KOWEN_FORMAT_RGB444},
                                       {"gray", KOWEN_FORMAT_GREY}};

constexpr CodeName kColourModes[] = {{"unchanged", KOWEN_COLOR_UNCHANGED},
                                     {"inverted", KOWEN_COLOR_INVERTED},
                                     {"greys-inverted", KOWEN_COLOR_GREYS_INVERTED},
                                     {"grey", KOWEN_COLOR_GREY_SCALE},
                                     {"grey-inverted", KOWEN_COLOR_GREY_SCALE_INVERTED},
                                     {"grays-inverted", KOWEN_COLOR_GREYS_INVERTED},
                                     {"gray", KOWEN_COLOR_GREY_SCALE},
                                     {"gray-inverted", KOWEN_COLOR_GREY_SCALE_INVERTED}};

constexpr CodeName kSizeModes[] = {{"picture", KOWEN_SIZE_FROM_PICTURE},
                                   {"page", KOWEN_SIZE_FROM_DISPLAY},
                                   {"from-picture", KOWEN_SIZE_FROM_PICTURE},
                                   {"from-page", KOWEN_SIZE_FROM_DISPLAY}};

constexpr CodeName kResolutionModes[] = {{"picture", KOWEN_RESOLUTION_FROM_PICTURE},
                                         {"page", KOWEN_RESOLUTION_FROM_DISPLAY},
                                         {"from-picture", KOWEN_RESOLUTION_FROM_PICTURE},
                                         {"from-page", KOWEN_RESOLUTION_FROM_DISPLAY}};

// The basic colour names of style sheets.
constexpr CodeName kColours[] = {{"white", 0xFFFFFF},   {"black", 0x000000},  {"grey", 0x808080},
                                 {"gray", 0x808080},    {"silver", 0xC0C0C0}, {"red", 0xFF0000},
                                 {"maroon", 0x800000},  {"yellow", 0xFFFF00}, {"olive", 0x808000},
                                 {"lime", 0x00FF00},    {"green", 0x008000},  {"aqua", 0x00FFFF},
                                 {"teal", 0x008080},    {"blue", 0x0000FF},   {"navy", 0x000080},
                                 {"fuchsia", 0xFF00FF}, {"purple", 0x800080}, {"orange", 0xFFA500}};

constexpr CodeName kYesNo[] = {{"yes", 1}, {"no", 0},  {"true", 1}, {"false", 0},
                               {"on", 1},  {"off", 0}, {"1", 1},    {"0", 0}};

constexpr CodeName kKeep[] = {{"keep", 1}, {"drop", 0}};

// Sheets, portrait; ISO 216 in millimetres.
struct Paper {
    const char *name;
    double widthInches;
    double heightInches;
};
constexpr Paper kPapers[] = {
    {"A0", 841 / kMillimetresPerInch, 1189 / kMillimetresPerInch},
    {"A1", 594 / kMillimetresPerInch, 841 / kMillimetresPerInch},
    {"A2", 420 / kMillimetresPerInch, 594 / kMillimetresPerInch},
    {"A3", 297 / kMillimetresPerInch, 420 / kMillimetresPerInch},
    {"A4", 210 / kMillimetresPerInch, 297 / kMillimetresPerInch},
    {"A5", 148 / kMillimetresPerInch, 210 / kMillimetresPerInch},
    {"A6", 105 / kMillimetresPerInch, 148 / kMillimetresPerInch},
    {"letter", 8.5, 11},
    {"legal", 8.5, 14},
    {"tabloid", 11, 17},
};

std::string Names(std::span<const CodeName> names) {
    std::vector<std::string> distinct;
    for (const CodeName &entry : names) {
        if (NameOf(names, entry.code) == entry.name)
            distinct.emplace_back(entry.name);
    }
    std::string list;
    for (size_t i = 0; i < distinct.size(); ++i)
        list += (i == 0 ? "" : i + 1 == distinct.size() ? " or " : ", ") + distinct[i];
    return list;
}

const CodeName *Find(std::span<const CodeName> names, const std::string &text) {
    for (const CodeName &entry : names) {
        if (text == entry.name)
            return &entry;
    }
    return nullptr;
}

template <typename Value> std::optional<Value> Whole(const std::string &text) {
    Value value = 0;
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

std::string LowerCase(std::string text) {
    for (char &c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    return text;
}

std::array<uint8_t, 3> Channels(uint32_t rgb) {
    return {static_cast<uint8_t>(rgb >> 16), static_cast<uint8_t>(rgb >> 8),
            static_cast<uint8_t>(rgb)};
}

// 0xabc becomes 0xaabbcc.
uint32_t EachDigitTwice(uint32_t digits) {
    return ((digits & 0xF00) << 8 | (digits & 0xF0) << 4 | (digits & 0xF)) * 0x11;
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

[[noreturn]] void RejectPage(const std::string &text) {
    throw BadArgument("a page is WxH@DPI, such as 21x29.7cm@150, not '" + text + "'");
}

[[noreturn]] void RejectExtent(const std::string &text) {
    throw BadArgument("a size is two numbers and a unit, such as 640x480px, 6x4in, 15x10cm or "
                      "150x100mm, or a paper such as A4 or letter, not '" +
                      text + "'");
}

void CheckPixels(const Extent &extent) {
    for (const double side : {extent.width, extent.height}) {
        if (side < 1 || side > kLongestSide || side != std::floor(side))
            throw BadArgument("a size in pixels is two whole numbers from 1 to 65535");
    }
}

void CheckInches(const Extent &extent) {
    for (const double side : {extent.width, extent.height}) {
        if (side < KOWEN_MIN_INCHES || side > kLongestSide)
            throw BadArgument("a size is from 0.03125 to 65535 inches (from 0.8 mm) each way");
    }
}

int32_t CheckedDpi(std::optional<int32_t> dpi, const std::string &text) {
    if (!dpi)
        throw BadArgument("a resolution is N or NxM dots per inch, picture or page, not '" + text +
                          "'");
    if (*dpi < 1 || *dpi > kMostDensity)
        throw BadArgument("a resolution is from 1 to 65535 dots per inch, not " +
                          std::to_string(*dpi));
    return *dpi;
}

void SetInches(const Extent &inches, ExportSettings *settings) {
    settings->filter.sizeMode = KOWEN_SIZE_USER;
    settings->filter.widthInches = inches.width;
    settings->filter.heightInches = inches.height;
    settings->box.reset();
}

} // namespace

std::span<const CodeName> ColourFormatNames() {
    return kColourFormats;
}
std::span<const CodeName> ColourModeNames() {
    return kColourModes;
}
std::span<const CodeName> SizeModeNames() {
    return kSizeModes;
}
std::span<const CodeName> ResolutionModeNames() {
    return kResolutionModes;
}

int32_t ParseName(std::span<const CodeName> names, const char *setting, const std::string &text) {
    if (const CodeName *entry = Find(names, text))
        return entry->code;
    throw BadArgument(std::string(setting) + " is " + Names(names) + ", not '" + text + "'");
}

bool HasName(std::span<const CodeName> names, int32_t code) {
    for (const CodeName &entry : names) {
        if (entry.code == code)
            return true;
    }
    return false;
}

std::string NameOf(std::span<const CodeName> names, int32_t code) {
    for (const CodeName &entry : names) {
        if (entry.code == code)
            return entry.name;
    }
    return "unknown (" + std::to_string(code) + ")";
}

bool ParseYesNo(const char *setting, const std::string &text) {
    return ParseName(kYesNo, setting, text) != 0;
}

bool ParseKeep(const char *setting, const std::string &text) {
    return ParseName(kKeep, setting, text) != 0;
}

int32_t ParseQuality(const std::string &text) {
    const std::optional<int32_t> quality = Whole<int32_t>(text);
    if (!quality || *quality < KOWEN_MIN_QUALITY || *quality > KOWEN_MAX_QUALITY)
        throw BadArgument("the quality is a whole number from 45 to 100 (from 1 with 'as-filter'), "
                          "not '" +
                          text + "'");
    return *quality;
}

std::array<uint8_t, 3> ParseColour(const std::string &text) {
    const std::string lower = LowerCase(text);
    uint32_t value = 0;
    for (const CodeName &colour : kColours) {
        if (lower == colour.name)
            return Channels(static_cast<uint32_t>(colour.code));
    }
    const char *end = text.data() + text.size();
    if ((text.size() == 7 || text.size() == 4) && text[0] == '#') {
        const auto result = std::from_chars(text.data() + 1, end, value, 16);
        if (result.ec == std::errc() && result.ptr == end)
            return Channels(text.size() == 7 ? value : EachDigitTwice(value));
    }
    throw BadArgument(
        "a background is #rrggbb, such as #ffffff for white, or a name such as white, "
        "black, grey or navy, not '" +
        text + "'");
}

uint64_t ParseByteCount(const std::string &text) {
    constexpr double kKilo = 1000;
    std::string digits = LowerCase(text);
    double unit = 1;
    if (digits.ends_with('b'))
        digits.pop_back();
    if (digits.ends_with('k'))
        unit = kKilo;
    else if (digits.ends_with('m'))
        unit = kKilo * kKilo;
    if (unit != 1)
        digits.pop_back();
    // A fraction of thousands or millions is a whole number but for the last bit of the product.
    const double product = Number(digits).value_or(-1) * unit;
    const double bytes = std::round(product);
    const double rounding = bytes * std::numeric_limits<double>::epsilon();
    if (!(product >= 0 && product <= kMostBytes && std::abs(product - bytes) <= rounding))
        throw BadArgument(
            "a number of bytes is N, Nk (thousands) or NM (millions), such as 300k or "
            "1.5M, not '" +
            text + "'");
    return static_cast<uint64_t>(bytes);
}

namespace {

// A text that has not the form of one is none.
std::optional<Extent> FindExtent(const std::string &text) {
    std::string numbers = LowerCase(text);
    const double inchesPerUnit = TakeUnit(&numbers);
    const size_t cross = numbers.find('x');
    if (cross == std::string::npos)
        return std::nullopt;
    const std::optional<double> width = Number(numbers.substr(0, cross));
    const std::optional<double> height = Number(numbers.substr(cross + 1));
    if (!width || !height)
        return std::nullopt;
    if (inchesPerUnit == 0) {
        const Extent extent = {*width, *height, true};
        CheckPixels(extent);
        return extent;
    }
    return Extent{*width * inchesPerUnit, *height * inchesPerUnit, false};
}

} // namespace

Extent ParseExtent(const std::string &text) {
    const std::optional<Extent> extent = FindExtent(text);
    if (!extent)
        RejectExtent(text);
    return *extent;
}

Page ParsePage(const std::string &text) {
    constexpr int32_t kUsualDpi = 96;
    const size_t at = text.find('@');
    const std::optional<int32_t> dpi =
        at == std::string::npos ? kUsualDpi : Whole<int32_t>(text.substr(at + 1));
    const std::optional<Extent> size = FindExtent(text.substr(0, at));
    if (!size || !dpi || *dpi < 1 || *dpi > kMostPageDpi)
        RejectPage(text);
    const double scale = size->pixels ? 1 : *dpi;
    const double width = std::round(size->width * scale);
    const double height = std::round(size->height * scale);
    if (!(width >= 1 && height >= 1 && width <= INT32_MAX && height <= INT32_MAX))
        throw BadArgument("a page has at least one pixel each way, unlike '" + text + "'");
    return {static_cast<int32_t>(width), static_cast<int32_t>(height), static_cast<int16_t>(*dpi)};
}

void ParseSize(const std::string &text, ExportSettings *settings) {
    if (const CodeName *mode = Find(kSizeModes, text)) {
        settings->filter.sizeMode = mode->code;
        settings->box.reset();
        return;
    }
    for (const Paper &paper : kPapers) {
        if (strcasecmp(paper.name, text.c_str()) == 0) {
            SetInches({paper.widthInches, paper.heightInches, false}, settings);
            return;
        }
    }
    const Extent extent = ParseExtent(text);
    if (extent.pixels) {
        settings->box = extent;
        return;
    }
    CheckInches(extent);
    SetInches(extent, settings);
}

void ParseResolution(const std::string &text, ExportSettings *settings) {
    FilterSettings &filter = settings->filter;
    if (const CodeName *mode = Find(kResolutionModes, text)) {
        filter.resolutionMode = mode->code;
        return;
    }
    const size_t cross = text.find_first_of("xX");
    const int32_t x = CheckedDpi(Whole<int32_t>(text.substr(0, cross)), text);
    const int32_t y =
        cross == std::string::npos ? x : CheckedDpi(Whole<int32_t>(text.substr(cross + 1)), text);
    filter.resolutionMode = KOWEN_RESOLUTION_USER;
    filter.xDpi = x;
    filter.yDpi = y;
}

std::string NumberText(double value) {
    char text[32];
    const auto result =
        std::to_chars(text, text + sizeof text, value, std::chars_format::general, 10);
    return {text, result.ptr};
}

} // namespace kowen::host
