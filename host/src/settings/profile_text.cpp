#include "settings/profile_text.h"

#include "base/failure.h"
#include "settings/parse.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <locale.h>
#include <strings.h>

namespace kowen::host {
namespace {

constexpr size_t kSectionBytes = 144; // of the module's setup, the terminating zero included
constexpr size_t kNumberBytes = 30;   // of the text that the module converts to a size

bool Same(const std::string &a, const std::string &b) {
    return strcasecmp(a.c_str(), b.c_str()) == 0;
}

std::string Trimmed(const std::string &text) {
    const size_t first = text.find_first_not_of(' ');
    if (first == std::string::npos)
        return "";
    return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

std::string WithoutComment(const std::string &text) {
    return text.substr(0, text.find(';'));
}

// A section's name as the module compares it: no brackets, no quotes, no comment.
std::string HeaderName(const std::string &line) {
    std::string name;
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') {
            if (i + 1 < line.size() && line[i + 1] == '"')
                name += line[i++];
        } else if (line[i] != '[' && line[i] != ']') {
            name += line[i];
        }
    }
    return Trimmed(WithoutComment(name));
}

bool IsHeader(const std::string &line) {
    return !line.empty() && line[0] == '[';
}

struct Entry {
    std::string key;
    std::string value;
};

// The entry of a line: spaces count beside the "=", one pair of quotes does not.
std::optional<Entry> EntryOf(const std::string &line) {
    const std::string text = Trimmed(WithoutComment(line));
    const size_t equals = text.find('=');
    if (equals == std::string::npos)
        return std::nullopt;
    std::string value = text.substr(equals + 1);
    if (value.starts_with('"'))
        value.erase(0, 1);
    if (value.ends_with('"'))
        value.pop_back();
    return Entry{text.substr(0, equals), value};
}

// The key of a line that is to be replaced; here spaces before the "=" do not hide it.
std::string KeyOf(const std::string &line) {
    return Trimmed(WithoutComment(line.substr(0, line.find('='))));
}

std::string CommentOf(const std::string &line) {
    const size_t semicolon = line.find(';');
    if (semicolon == std::string::npos)
        return "";
    const size_t lastOfValue = line.find_last_not_of(" \t", semicolon - 1);
    return line.substr(lastOfValue + 1);
}

int32_t InRange(int32_t value, int32_t low, int32_t high, int32_t otherwise) {
    return value >= low && value <= high ? value : otherwise;
}

// atof with a decimal point whatever the program's locale, as the module reads it.
double LeadingNumber(const std::string &text) {
    const locale_t plain = newlocale(LC_NUMERIC_MASK, "C", nullptr);
    if (plain == nullptr)
        return std::atof(text.c_str());
    const double number = strtod_l(text.c_str(), nullptr, plain);
    freelocale(plain);
    return number;
}

double InchesOr(const ProfileText &profile, const std::string &section, const char *name,
                double otherwise) {
    const std::optional<std::string> text = profile.Value(section, name);
    const double inches = text ? LeadingNumber(text->substr(0, kNumberBytes - 1)) : otherwise;
    return inches >= KOWEN_MIN_INCHES && inches <= KOWEN_MAX_INCHES ? inches : otherwise;
}

} // namespace

ProfileText::ProfileText(const std::string &text) {
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find_first_of("\r\n", at), text.size());
        size_t next = end;
        if (next < text.size())
            next += text.compare(next, 2, "\r\n") == 0 ? 2 : 1;
        lines.push_back({text.substr(at, end - at), text.substr(end, next - end)});
        at = next;
    }
}

std::string ProfileText::Text() const {
    std::string text;
    for (const Line &line : lines)
        text += line.text + line.end;
    return text;
}

std::vector<std::string> ProfileText::Sections() const {
    std::vector<std::string> names;
    for (const Line &line : lines) {
        if (!IsHeader(line.text))
            continue;
        const std::string name = HeaderName(line.text);
        const bool known = std::any_of(names.begin(), names.end(),
                                       [&](const std::string &other) { return Same(name, other); });
        if (!name.empty() && !known)
            names.push_back(name);
    }
    return names;
}

bool ProfileText::Has(const std::string &section) const {
    return FindHeader(section).has_value();
}

std::optional<size_t> ProfileText::FindHeader(const std::string &section) const {
    for (size_t i = 0; i < lines.size(); ++i) {
        if (IsHeader(lines[i].text) && Same(HeaderName(lines[i].text), HeaderName(section)))
            return i;
    }
    return std::nullopt;
}

bool ProfileText::IsHidden(const std::string &section) const {
    const std::string wanted = HeaderName(section);
    const auto first = std::find_if(lines.begin(), lines.end(), [&](const Line &line) {
        return !wanted.empty() && Same(HeaderName(line.text), wanted);
    });
    return first != lines.end() && !IsHeader(first->text);
}

size_t ProfileText::SectionEnd(size_t first) const {
    size_t end = first;
    while (end < lines.size() && !IsHeader(lines[end].text))
        ++end;
    return end;
}

std::optional<std::string> ProfileText::Value(const std::string &section,
                                              const std::string &name) const {
    const std::string wanted = HeaderName(section);
    bool inSection = false;
    for (const Line &line : lines) {
        if (!inSection) {
            inSection = !wanted.empty() && Same(HeaderName(line.text), wanted);
        } else if (IsHeader(line.text)) {
            inSection = false; // the module does not look at its name
        } else if (const std::optional<Entry> entry = EntryOf(line.text)) {
            if (Same(entry->key, name))
                return entry->value;
        }
    }
    return std::nullopt;
}

int32_t ProfileText::Number(const std::string &section, const std::string &name,
                            int32_t otherwise) const {
    const std::optional<std::string> value = Value(section, name);
    if (!value || value->empty())
        return otherwise;
    if (value->starts_with("0x") || value->starts_with("0X"))
        return static_cast<int32_t>(std::strtoull(value->c_str() + 2, nullptr, 16));
    if (std::isdigit(static_cast<unsigned char>((*value)[0])) == 0)
        return 0;
    return static_cast<int32_t>(
        std::min<unsigned long long>(std::strtoull(value->c_str(), nullptr, 10), INT32_MAX));
}

std::string ProfileText::LineEnd() const {
    return lines.empty() || lines[0].end.empty() ? "\n" : lines[0].end;
}

void ProfileText::Append(const std::string &text) {
    const std::string end = LineEnd();
    if (!lines.empty() && lines.back().end.empty())
        lines.back().end = end;
    lines.push_back({text, end});
}

void ProfileText::Set(const std::string &section, const std::string &name,
                      const std::string &value) {
    const std::string text = name + "=" + value;
    const std::optional<size_t> header = FindHeader(section);
    if (!header) {
        if (!lines.empty())
            Append("");
        Append("[" + section + "]");
        Append(text);
        return;
    }
    const size_t end = SectionEnd(*header + 1);
    bool found = false;
    for (size_t i = *header + 1; i < end; ++i) {
        if (!Same(KeyOf(lines[i].text), name))
            continue;
        lines[i].text = text + CommentOf(lines[i].text);
        found = true;
    }
    if (found)
        return;
    size_t at = end; // blank lines that part the sections stay behind the new entry
    while (at > *header + 1 && Trimmed(lines[at - 1].text).empty())
        --at;
    const std::string lineEnd = LineEnd();
    if (lines[at - 1].end.empty())
        lines[at - 1].end = lineEnd;
    lines.insert(lines.begin() + static_cast<std::ptrdiff_t>(at), Line{text, lineEnd});
}

FilterSettings ReadSettings(const ProfileText &profile, const std::string &section) {
    const auto number = [&](const char *name, int32_t otherwise) {
        return profile.Number(section, name, otherwise);
    };
    const auto word = [&](const char *name, int32_t otherwise) { // in 16 bits of the setup
        return static_cast<int16_t>(number(name, otherwise));
    };
    FilterSettings settings;
    const FilterSettings standard;
    settings.colourMode = number(key::kColourMode, standard.colourMode);
    settings.sizeMode = number(key::kSizeMode, standard.sizeMode);
    settings.resolutionMode = number(key::kResolutionMode, standard.resolutionMode);
    settings.colourFormat = number(key::kColourFormat, KOWEN_FORMAT_RGB444);
    settings.namesColourFormat = profile.Value(section, key::kColourFormat).has_value();
    settings.operation = number(key::kOperation, standard.operation);
    settings.qualityMode = number(key::kQualityMode, KOWEN_QUALITY_FIXED);
    settings.lineMode = number(key::kLineMode, standard.lineMode);
    if (settings.qualityMode == KOWEN_QUALITY_USER)
        settings.quality = InRange(word(key::kQuality, standard.quality), KOWEN_MIN_QUALITY,
                                   KOWEN_MAX_QUALITY, standard.quality);
    // The module knows no printer and takes the display, which is the page, in its place.
    if (settings.resolutionMode == KOWEN_RESOLUTION_FROM_PRINTER)
        settings.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    if (settings.sizeMode == KOWEN_SIZE_FROM_PRINTER)
        settings.sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    // The module checks the resolutions together with the size, which it does not read then.
    const bool checked = settings.sizeMode != KOWEN_SIZE_FROM_DISPLAY;
    const int32_t low = checked ? KOWEN_MIN_RESOLUTION : 1;
    const int32_t high = checked ? KOWEN_MAX_RESOLUTION : INT16_MAX;
    settings.xDpi = InRange(word(key::kXResolution, standard.xDpi), low, high, standard.xDpi);
    settings.yDpi = InRange(word(key::kYResolution, standard.yDpi), low, high, standard.yDpi);
    settings.widthInches = InchesOr(profile, section, key::kWidth, standard.widthInches);
    settings.heightInches = InchesOr(profile, section, key::kHeight, standard.heightInches);
    return settings;
}

void WriteSettings(const FilterSettings &settings, const std::string &section,
                   ProfileText *profile) {
    const auto set = [&](const char *name, int32_t value) {
        profile->Set(section, name, std::to_string(value));
    };
    profile->Set(section, key::kDriver, key::kDriverValue);
    set(key::kColourMode, settings.colourMode);
    set(key::kColourFormat, settings.colourFormat);
    set(key::kOperation, settings.operation);
    set(key::kLineMode, settings.lineMode);
    set(key::kQualityMode, settings.qualityMode);
    set(key::kQuality, settings.quality);
    set(key::kResolutionMode, settings.resolutionMode);
    set(key::kXResolution, settings.xDpi);
    set(key::kYResolution, settings.yDpi);
    set(key::kSizeMode, settings.sizeMode);
    profile->Set(section, key::kWidth, NumberText(settings.widthInches));
    profile->Set(section, key::kHeight, NumberText(settings.heightInches));
}

void CheckSectionName(const std::string &section) {
    const bool forbidden = section.find_first_of("[]\";\r\n") != std::string::npos;
    if (section.empty() || section.size() >= kSectionBytes || forbidden ||
        Trimmed(section) != section)
        throw BadArgument("a section's name has 1 to 143 characters, no brackets, quotes or "
                          "semicolons and no spaces at its ends");
}

} // namespace kowen::host
