#include "profile/profile_line.h"

#include "platform/text.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {

constexpr std::size_t kNowhere = std::string_view::npos;

bool EndsLine(char byte) {
    return byte == '\r' || byte == '\n';
}

void DropLineEnd(std::string_view &rest) {
    const bool carriageReturn = rest[0] == '\r';
    rest.remove_prefix(1);
    if (carriageReturn && !rest.empty() && rest[0] == '\n')
        rest.remove_prefix(1);
}

// A profile line is text up to its first zero byte.
std::string_view Visible(std::string_view line) {
    return {line.data(), std::min(line.size(), line.find('\0'))};
}

std::string_view TrimSpaces(std::string_view text) {
    while (!text.empty() && text.front() == ' ')
        text.remove_prefix(1);
    while (!text.empty() && text.back() == ' ')
        text.remove_suffix(1);
    return text;
}

// Takes one byte off rest. Returns whether it stays, as `byte`.
bool KeepNext(std::string_view &rest, uint32_t keep, char &byte) {
    byte = rest.front();
    rest.remove_prefix(1);
    if (EndsLine(byte))
        return false;
    if (byte == '[' || byte == ']')
        return (keep & kKeepBrackets) != 0;
    if (byte != '"' || (keep & kKeepQuotes) != 0)
        return true;
    // Line ends inside a section name are gone before quotes are looked at.
    while (!rest.empty() && EndsLine(rest.front()))
        rest.remove_prefix(1);
    if (rest.empty() || rest.front() != '"')
        return false;
    rest.remove_prefix(1);
    return true;
}

// Adds a byte behind the spaces that were held back, which only now are known to be inside.
void AddByte(CleanLine &clean, uint32_t &spaces, char byte) {
    if (!clean.whole || spaces >= kProfilePieceBytes - clean.size) {
        clean.whole = false;
        return;
    }
    std::memset(clean.bytes + clean.size, ' ', spaces);
    clean.size += spaces;
    clean.bytes[clean.size++] = byte;
    spaces = 0;
}

} // namespace

bool NextLine(std::string_view &rest, std::size_t longest, std::string_view &line) noexcept {
    if (rest.empty())
        return false;
    const auto window = std::min(rest.size(), longest);
    const char *end = std::find_if(rest.data(), rest.data() + window, EndsLine);
    line = {rest.data(), static_cast<std::size_t>(end - rest.data())};
    rest.remove_prefix(line.size());
    // A line of exactly `longest` bytes leaves its end for the next piece, which is then empty.
    if (line.size() < longest && !rest.empty())
        DropLineEnd(rest);
    return true;
}

std::string_view FirstLineEnd(std::string_view text) noexcept {
    const char *end = text.data() + text.size();
    const char *first = std::find_if(text.data(), end, EndsLine);
    if (first == end)
        return "\r\n";
    if (*first == '\n')
        return "\n";
    return first + 1 != end && first[1] == '\n' ? "\r\n" : "\r";
}

CleanLine Clean(std::string_view line, uint32_t keep) noexcept {
    CleanLine clean;
    clean.size = 0;
    clean.whole = true;
    uint32_t spaces = 0;
    std::string_view rest = Visible(line);
    rest = {rest.data(), std::min(rest.size(), rest.find(';'))};
    while (!rest.empty()) {
        char byte;
        if (!KeepNext(rest, keep, byte))
            continue;
        if (byte != ' ')
            AddByte(clean, spaces, byte);
        else if (clean.size != 0 && spaces < kProfilePieceBytes)
            ++spaces;
    }
    if (!clean.whole)
        clean.size = 0;
    return clean;
}

bool CleanSectionName(const char *section, CleanLine &name) noexcept {
    const std::size_t length = strnlen(section, kProfilePieceBytes);
    if (length == kProfilePieceBytes)
        return false;
    name = Clean({section, length}, kKeepNothing);
    return true;
}

bool SameName(std::string_view a, std::string_view b) noexcept {
    return a.size() == b.size() && a.size() <= INT32_MAX &&
           strnicmp(a.data(), b.data(), static_cast<int32_t>(a.size())) == 0;
}

bool SplitEntry(std::string_view cleaned, ProfileEntry &entry) noexcept {
    const std::size_t sign = cleaned.find('=');
    if (sign == kNowhere)
        return false;
    entry.key = {cleaned.data(), sign};
    entry.value = cleaned;
    entry.value.remove_prefix(sign + 1);
    return true;
}

std::string_view TrimQuotes(std::string_view value) noexcept {
    if (!value.empty() && value.front() == '"')
        value.remove_prefix(1);
    if (!value.empty() && value.back() == '"')
        value.remove_suffix(1);
    return value;
}

bool HasKey(std::string_view line, std::string_view key) noexcept {
    ProfileEntry entry;
    if (!SplitEntry(Visible(line), entry))
        return false;
    const std::size_t comment = entry.key.find(';');
    if (comment != kNowhere)
        entry.key = {entry.key.data(), comment};
    const std::string_view name = TrimSpaces(entry.key);
    // A comment line never is the entry of an empty key.
    return SameName(name, key) && !(name.empty() && comment != kNowhere);
}

} // namespace kowen
