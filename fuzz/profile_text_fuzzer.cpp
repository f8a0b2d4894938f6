// Settings kept in a profile of any bytes through the host library's interface, and loaded again.
//
// The input is text. Its first line is the section ("-" for the one that the profile names), the
// second one settings, "name=value" parted by tabs, the rest the profile; without a second line
// there is none.
//
// Beside what the sanitizers see: a refusal leaves every byte; what is kept changes the lines of
// its section that have its keys and adds others to that section, all else stays byte for byte,
// comments and line ends included; what was set is read back, by the module's reader as well; what
// was not set is as before; the same again changes nothing; no other file is left.
#include "fuzz/input.h"

#include "kowen/host.h"
#include "profile/profile_file.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using kowen::fuzz::Require;

constexpr const char *kKept[] = {"quality", "progressive", "color", "color-mode", "size", "dpi"};
constexpr size_t kMostInOnePiece = 200; // longer lines are several for the module's reader

struct Line {
    std::string text, end;
};

std::vector<Line> SplitLines(const std::string &text) {
    std::vector<Line> lines;
    std::string line;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' && text[i] != '\n') {
            line += text[i];
            continue;
        }
        const bool both = text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        lines.push_back({line, both ? "\r\n" : std::string(1, text[i])});
        line.clear();
        i += both ? 1 : 0;
    }
    if (!line.empty())
        lines.push_back({line, ""});
    return lines;
}

std::string Small(std::string text) {
    for (char &c : text)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    return text;
}

std::string WithoutSpacesAround(std::string text) {
    while (!text.empty() && text.back() == ' ')
        text.pop_back();
    while (!text.empty() && text.front() == ' ')
        text.erase(0, 1);
    return text;
}

bool IsHeader(const Line &line) {
    return line.text.starts_with("[");
}

// Brackets do not belong to a name, quotes neither unless doubled, and nothing from a semicolon on.
std::string SectionOf(const Line &line) {
    std::string name;
    for (size_t i = 0; i < line.text.size(); ++i) {
        const char c = line.text[i];
        if (c == '"' && line.text.substr(i, 2) == "\"\"")
            ++i;
        else if (c == '"' || c == '[' || c == ']')
            continue;
        name += c;
    }
    return Small(WithoutSpacesAround(name.substr(0, name.find(';'))));
}

// What stands before a "=" or a ";".
std::string KeyOf(const Line &line) {
    return Small(WithoutSpacesAround(line.text.substr(0, line.text.find_first_of("=;"))));
}

// A semicolon with what follows it, and the blanks before it.
std::string CommentOf(const Line &line) {
    size_t at = line.text.find(';');
    if (at == std::string::npos)
        return "";
    while (at > 0 && (line.text[at - 1] == ' ' || line.text[at - 1] == '\t'))
        --at;
    return line.text.substr(at);
}

std::vector<Line>::const_iterator FindSection(const std::vector<Line> &lines,
                                              const std::string &section) {
    return std::find_if(lines.begin(), lines.end(), [&](const Line &line) {
        return IsHeader(line) && SectionOf(line) == Small(section);
    });
}

/// Keys and values that a rewrite has put into a section, in the text that stands there.
using Entries = std::map<std::string, std::string>;

void AddEntry(const Line &line, Entries *entries) {
    const size_t equals = line.text.find('=');
    Require(equals != std::string::npos, "a new line is an entry");
    const std::string value = line.text.substr(equals + 1, line.text.find(';') - equals - 1);
    (*entries)[KeyOf(line)] = WithoutSpacesAround(value);
}

// Compares texts before and after a rewrite. Only the last line may have no end; it gets the first
// one's when others follow.
class Comparison {
public:
    Comparison(const std::string &beforeText, const std::string &afterText)
        : old(beforeText), whole(afterText), before(SplitLines(old)), after(SplitLines(whole)) {
        if (!before.empty() && !before.front().end.empty())
            usualEnd = before.front().end;
    }

    /// What the rewrite has put into the section.
    Entries Run(const std::string &section) const {
        const auto header = FindSection(before, section);
        if (header == before.end())
            return CompareNewSection(section);
        const auto first = header - before.begin() + 1;
        const auto behind = std::find_if(header + 1, before.end(), IsHeader);
        const auto rest = before.end() - behind;
        Require(static_cast<std::ptrdiff_t>(after.size()) >= first + rest, "other sections stay");
        Require(Stay(before.begin(), header + 1, after.begin()), "lines before the section stay");
        Require(Stay(behind, before.end(), after.end() - rest), "lines behind it stay");
        return CompareLines({header + 1, behind}, {after.begin() + first, after.end() - rest});
    }

private:
    using Place = std::vector<Line>::const_iterator;

    bool EndStays(const Line &was, const Line &now) const {
        return was.end == now.end || (was.end.empty() && now.end == usualEnd);
    }
    bool Stays(const Line &was, const Line &now) const {
        return was.text == now.text && EndStays(was, now);
    }
    bool Stay(Place first, Place last, Place now) const {
        return std::equal(first, last, now,
                          [this](const Line &was, const Line &line) { return Stays(was, line); });
    }
    bool IsRewritten(const Line &was, const Line &now) const {
        return KeyOf(was) == KeyOf(now) && now.text.find('=') != std::string::npos &&
               CommentOf(was) == CommentOf(now) && EndStays(was, now);
    }

    Entries CompareNewSection(const std::string &section) const {
        Require(whole.starts_with(old), "all bytes stay in front of a new section");
        const size_t added = whole.find_first_not_of("\r\n", old.size());
        Require(added != std::string::npos &&
                    whole.substr(added, section.size() + 2) == "[" + section + "]",
                "its header comes next");
        const auto fresh = FindSection(after, section);
        Require(fresh != after.end(), "it is found by its name");
        return CompareLines({}, {fresh + 1, after.end()});
    }

    // Of a section. Every old line is there, in order; new ones are entries of keys that none had.
    Entries CompareLines(const std::vector<Line> &was, const std::vector<Line> &now) const {
        Entries entries;
        auto next = was.begin();
        for (const Line &line : now) {
            const auto hasKey = [&](const Line &other) { return KeyOf(other) == KeyOf(line); };
            if (next != was.end() && Stays(*next, line)) {
                ++next;
                continue;
            }
            if (next != was.end() && IsRewritten(*next, line))
                ++next;
            else
                Require(std::none_of(was.begin(), was.end(), hasKey), "a new key is new");
            AddEntry(line, &entries);
        }
        Require(next == was.end(), "every line of the section stays");
        return entries;
    }

    std::string old, whole;
    std::vector<Line> before, after;
    std::string usualEnd = "\n";
};

class Settings {
public:
    Settings() : settings(KowenNewSettings()) {}
    ~Settings() { KowenFreeSettings(settings); }
    Settings(const Settings &) = delete;
    Settings &operator=(const Settings &) = delete;
    operator KowenSettings *() const { return settings; }

    std::string Get(const char *name) const {
        char value[256] = "";
        Require(KowenGet(settings, name, value, sizeof value) == KOWEN_HOST_OK, "a value");
        return value;
    }

private:
    KowenSettings *settings;
};

void SetAll(kowen::fuzz::Input line, const Settings &settings) {
    while (line.Left() > 0) {
        const std::string setting = line.Text("\t").c_str();
        const size_t equals = setting.find('=');
        if (equals != std::string::npos)
            KowenSet(settings, setting.substr(0, equals).c_str(),
                     setting.substr(equals + 1).c_str(), nullptr);
    }
}

struct Outcome {
    Outcome() { result.size = sizeof result; }
    KowenResult result = {};
};

// The module's reader takes some lines for headers that have no bracket.
bool IsReadAlike(const std::vector<Line> &lines, const std::string &section) {
    return std::all_of(lines.begin(), lines.end(), [&](const Line &line) {
        return line.text.size() < kMostInOnePiece &&
               (IsHeader(line) || SectionOf(line) != Small(section));
    });
}

class Trial {
public:
    Trial(const std::string &bytes, bool exists) : profile(bytes) {
        unsetenv("INIDIR");
        unlink(path.c_str());
        if (exists)
            folder.Write("a.ini", bytes);
    }

    void Run(const std::string &section, const Settings &settings) const {
        const char *wanted = section == "-" ? nullptr : section.c_str();
        const bool existed = folder.Has("a.ini");
        Outcome before, check, outcome;
        const Settings old;
        KowenLoadProfile(old, path.c_str(), wanted, &before.result);
        const int32_t answer = KowenCheckSaveProfile(settings, path.c_str(), wanted, &check.result);
        RequireUntouched(existed);
        const int32_t saved = KowenSaveProfile(settings, path.c_str(), wanted, &outcome.result);
        Require(saved == answer, "a save does what its check says");
        if (saved != KOWEN_HOST_OK) {
            Require(outcome.result.message[0] != '\0', "a failure says why");
            RequireUntouched(existed);
            return;
        }
        RequireAlone(true);
        const std::string kept = folder.Read("a.ini");
        const std::string name = outcome.result.profileSection;
        const std::string comparedTo = existed ? profile : "[KOWEN]\n~Mode=" + name + "\n";
        const Entries entries = Comparison(comparedTo, kept).Run(name);
        RequireReadBack(settings, old, before.result.code == KOWEN_HOST_OK, wanted);
        RequireModuleReads(entries, kept, name);
        KowenSaveProfile(settings, path.c_str(), wanted, nullptr);
        Require(folder.Read("a.ini") == kept, "the same again changes nothing");
    }

private:
    void RequireAlone(bool exists) const {
        size_t files = 0;
        for ([[maybe_unused]] const auto &entry :
             std::filesystem::directory_iterator(folder.Path()))
            ++files;
        Require(files == (exists ? 1 : 0) && folder.Has("a.ini") == exists, "the profile alone");
    }
    void RequireUntouched(bool existed) const {
        RequireAlone(existed);
        Require(!existed || folder.Read("a.ini") == profile, "the profile as it was");
    }
    void RequireReadBack(const Settings &settings, const Settings &old, bool wasRead,
                         const char *wanted) const {
        const Settings now;
        Require(KowenLoadProfile(now, path.c_str(), wanted, nullptr) == KOWEN_HOST_OK,
                "what was kept loads");
        for (const char *name : kKept) {
            const bool pixels = settings.Get(name).ends_with("px"); // kept in inches
            if (KowenIsSet(settings, name) != 0 && !pixels)
                Require(now.Get(name) == settings.Get(name), "what was set is read back");
            else if (KowenIsSet(settings, name) == 0 && wasRead)
                Require(now.Get(name) == old.Get(name), "what was not set is as before");
        }
    }
    void RequireModuleReads(const Entries &entries, const std::string &text,
                            const std::string &section) const {
        if (!IsReadAlike(SplitLines(text), section))
            return;
        for (const auto &[key, value] : entries) {
            char read[256] = "";
            kowen::GetPrivateProfileString(section.c_str(), key.c_str(), "", read, sizeof read,
                                           path.c_str());
            Require(read == value, "the module reads what was kept");
        }
    }

    static inline const TempDirectory folder;
    static inline const std::string path = folder.File("a.ini");
    std::string profile;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    kowen::fuzz::Input input(data, size);
    const std::string section = input.Text("\n").c_str();
    const std::string line = input.Text("\n");
    const bool exists = std::count(data, data + size, '\n') > 1;
    const Settings settings;
    SetAll({reinterpret_cast<const uint8_t *>(line.data()), line.size()}, settings);
    const kowen::fuzz::Bytes rest = input.Take(input.Left());
    Trial({rest.begin(), rest.end()}, exists).Run(section, settings);
    return 0;
}
