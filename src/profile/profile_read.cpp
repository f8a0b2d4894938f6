#include "kowen/codes.h"
#include "profile/profile_file.h"
#include "profile/profile_line.h"
#include "profile/profile_path.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {

constexpr int32_t kNumberBytes = 32;
constexpr char kDefaultProfile[] = "QIV.INI";

int32_t Saturated(uint64_t count) {
    return static_cast<int32_t>(std::min<uint64_t>(count, INT32_MAX));
}

// Walks the entries of all sections of one name.
class EntryWalker {
public:
    EntryWalker(std::string_view text, const CleanLine &name) noexcept
        : rest_(text), section_(name) {}

    // The entry is valid until the next call.
    bool Next(ProfileEntry &entry) {
        std::string_view piece;
        while (NextLine(rest_, kProfilePieceBytes, piece)) {
            if (!inSection_) {
                line_ = Clean(piece, kKeepNothing);
                inSection_ = SameName(line_.Text(), section_.Text());
            } else if (IsHeader(piece)) {
                inSection_ = false;
            } else {
                line_ = Clean(piece, kKeepBrackets | kKeepQuotes);
                if (SplitEntry(line_.Text(), entry))
                    return true;
            }
        }
        return false;
    }

private:
    std::string_view rest_;
    const CleanLine &section_;
    CleanLine line_;
    bool inSection_ = false;
};

// The caller's buffer: the default at first, replaced by what is found.
class Answer {
public:
    Answer(char *target, int32_t targetSize, const char *defaultText) noexcept
        : buffer_(target), size_(!target ? 0 : std::max<int32_t>(targetSize, 0)) {
        Clear();
        if (size_ == 0)
            return;
        const std::size_t length = strnlen(defaultText, static_cast<std::size_t>(size_) - 1);
        std::memmove(buffer_, defaultText, length);
        result_ = length;
    }

    void PutValue(std::string_view value) {
        Clear();
        result_ = Copy(0, value);
    }

    void AppendKey(std::string_view key) {
        if (!listing_) {
            Clear();
            result_ = 0;
            listing_ = true;
        }
        if (offset_ >= size_)
            result_ += key.size() + 1;
        else if (key.size() + offset_ + 1 >= size_)
            CutList(key);
        else {
            result_ += Copy(offset_, key);
            offset_ += key.size() + 1;
        }
    }

    int32_t Result() const { return Saturated(result_); }

private:
    void Clear() {
        if (size_ != 0)
            std::memset(buffer_, 0, size_);
    }

    // Returns the bytes that fitted.
    std::size_t Copy(std::size_t at, std::string_view text) {
        const std::size_t count = std::min<std::size_t>(text.size(), size_ - at);
        if (count != 0)
            std::memcpy(buffer_ + at, text.data(), count);
        return count;
    }

    // No room is left afterwards.
    void CutList(std::string_view key) {
        Copy(offset_, key);
        const std::size_t zeros = std::min<std::size_t>(size_, 2);
        std::memset(buffer_ + size_ - zeros, 0, zeros);
        result_ = size_ - 1;
        offset_ = size_;
    }

    char *buffer_;
    std::size_t size_;
    uint64_t result_ = 0;
    std::size_t offset_ = 0; // of the next key of a list
    bool listing_ = false;
};

void FindValue(EntryWalker &entries, std::string_view key, Answer &answer) {
    ProfileEntry entry;
    while (entries.Next(entry)) {
        if (SameName(entry.key, key)) {
            answer.PutValue(TrimQuotes(entry.value));
            return;
        }
    }
}

void ListKeys(EntryWalker &entries, Answer &answer) {
    ProfileEntry entry;
    while (entries.Next(entry))
        answer.AppendKey(entry.key);
}

// A read error ends the text as the end of the file does.
void LoadText(const char *file, TextBuffer &text) {
    char unused[kLongestPath];
    const FileHandle handle = OpenProfile(file, kModeRead, unused, kLongestPath);
    if (handle == 0)
        return;
    ReadToEnd(handle, text);
    INIclose(handle);
}

int32_t HexDigit(char byte) {
    if (byte >= '0' && byte <= '9')
        return byte - '0';
    const int32_t letter = (byte | 0x20) - 'a';
    return letter >= 0 && letter < 6 ? letter + 10 : -1;
}

int32_t ParseHex(const char *text) {
    uint32_t value = 0;
    for (; HexDigit(*text) >= 0; ++text)
        value = value << 4 | static_cast<uint32_t>(HexDigit(*text));
    return static_cast<int32_t>(value);
}

int32_t ParseDecimal(const char *text) {
    int64_t value = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        value = std::min<int64_t>(value * 10 + (*text - '0'), INT32_MAX);
    return static_cast<int32_t>(value);
}

} // namespace

int32_t GetPrivateProfileString(const char *section, const char *key, const char *defaultText,
                                char *buffer, int32_t size, const char *file) noexcept {
    if (!section || *section == '\0' || !defaultText)
        return 0;
    Answer answer(buffer, size, defaultText);
    CleanLine name;
    // A line of which cleaning leaves nothing is skipped, so that no header has an empty name.
    if (!CleanSectionName(section, name) || name.size == 0)
        return answer.Result();
    TextBuffer text;
    LoadText(file, text);
    EntryWalker entries(text.Text(), name);
    if (!key)
        ListKeys(entries, answer);
    else
        FindValue(entries, key, answer);
    return answer.Result();
}

int32_t GetProfileString(const char *section, const char *key, const char *defaultText,
                         char *buffer, int32_t size) noexcept {
    return GetPrivateProfileString(section, key, defaultText, buffer, size, kDefaultProfile);
}

int32_t GetPrivateProfileInt(const char *section, const char *key, int32_t defaultValue,
                             const char *file) noexcept {
    char text[kNumberBytes + 1] = {};
    if (GetPrivateProfileString(section, key, "", text, kNumberBytes, file) == 0)
        return defaultValue;
    const bool hexadecimal = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    return hexadecimal ? ParseHex(text + 2) : ParseDecimal(text);
}

int32_t GetProfileInt(const char *section, const char *key, int32_t defaultValue) noexcept {
    return GetPrivateProfileInt(section, key, defaultValue, kDefaultProfile);
}

} // namespace kowen
