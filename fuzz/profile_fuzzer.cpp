// A profile of any bytes, read and rewritten in any order.
//
// The input is text: a line for each operation, an empty line, the profile; without the empty line
// there is no profile at first. An operation is a letter, a sign for the size of a buffer (0 for
// none, 1 for one byte, 2 for three), and the section, the key and the value, separated by tabs.
//
// Beside what the sanitizers see: a read stays inside its buffer and result range, a rewrite loses
// no line that it has no business with, what was written is read, the same write twice changes
// nothing more, a delete request for what is not there leaves every byte, and a setup can be made
// of anything.
#include "fuzz/module_state.h"

#include "profile/profile_file.h"
#include "setup/limits.h"
#include "setup/setup.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using kowen::fuzz::Require;
using Lines = std::vector<std::string>;

constexpr int kMostOperations = 8;
// Longer lines are read in pieces, each of them a line.
constexpr std::size_t kMostInOnePiece = 200;
constexpr std::size_t kLongestSection = 256; // nothing is written to one of as many bytes

struct Operation {
    char letter;
    int32_t size;
    std::string section, key, value;
};

class ProfileUnderTest {
public:
    const char *Path() const { return path.c_str(); }
    void Remove() const { unlink(path.c_str()); }
    void Set(const std::string &bytes) const { directory.Write(kName, bytes); }
    std::string Get() const { return directory.Read(kName); }

private:
    static constexpr const char *kName = "a.ini";
    TempDirectory directory;
    std::string path = directory.File(kName);
};

Lines SplitLines(const std::string &text) {
    Lines lines(1);
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool carriageReturn = text[i] == '\r';
        if (!carriageReturn && text[i] != '\n') {
            lines.back() += text[i];
            continue;
        }
        if (carriageReturn && i + 1 < text.size() && text[i + 1] == '\n')
            ++i;
        lines.emplace_back();
    }
    if (lines.back().empty())
        lines.pop_back();
    return lines;
}

// Whether every line of before that a write must leave alone is in after, in that order.
bool KeepsLines(const Lines &before, const Lines &after, bool mayDropHeaders) {
    auto next = after.begin();
    for (const std::string &line : before) {
        const bool isHeader = !line.empty() && line[0] == '[';
        if (isHeader ? mayDropHeaders : line.find('=') != std::string::npos)
            continue;
        next = std::find(next, after.end(), line);
        if (next == after.end())
            return false;
        ++next;
    }
    return true;
}

bool IsTame(const std::string &name) {
    return !name.empty() && name.size() < 200 && std::all_of(name.begin(), name.end(), [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
    });
}

// Zero bytes end a name, as they do in a call.
std::string Name(std::string text) {
    return text.c_str();
}

Operation Parse(const std::string &line) {
    kowen::fuzz::Input input(reinterpret_cast<const uint8_t *>(line.data()), line.size());
    Operation operation;
    operation.letter = static_cast<char>(input.Byte());
    operation.size = 2 * (input.Byte() - '0') - 1;
    operation.section = Name(input.Text("\t"));
    operation.key = Name(input.Text("\t"));
    operation.value = Name(input.Text(""));
    return operation;
}

void Read(const Operation &read, const ProfileUnderTest &profile, bool listKeys) {
    // A block of its own of exactly that size, so that one byte too many is seen.
    const auto bytes = static_cast<std::size_t>(std::max(read.size, 0));
    const std::unique_ptr<char[]> buffer(new char[bytes]);
    const int32_t result =
        kowen::GetPrivateProfileString(read.section.c_str(), listKeys ? nullptr : read.key.c_str(),
                                       read.value.c_str(), buffer.get(), read.size, profile.Path());
    Require(result >= 0, "a result that is no negative count");
    Require(listKeys || result <= std::max(read.size, 0), "a value inside the buffer");
}

// Reading takes brackets and quotes out of a line before it compares.
bool ContainsName(std::string line, const std::string &name) {
    std::erase_if(line, [](char c) { return c == '[' || c == ']' || c == '"'; });
    return std::search(line.begin(), line.end(), name.begin(), name.end(),
                       [](char x, char y) { return (x | 32) == (y | 32); }) != line.end();
}

// Reading takes a line for a header that writing does not: one without brackets. Pieces of long
// lines are lines for reading only.
bool IsReadAsWritten(const Lines &lines, const std::string &section) {
    return std::all_of(lines.begin(), lines.end(), [&section](const std::string &line) {
        return line.size() < kMostInOnePiece && (line[0] == '[' || !ContainsName(line, section));
    });
}

void RequireValue(const Operation &write, const ProfileUnderTest &profile) {
    char value[256];
    const int32_t length = kowen::GetPrivateProfileString(write.section.c_str(), write.key.c_str(),
                                                          "", value, sizeof value, profile.Path());
    Require(std::string(value, static_cast<std::size_t>(length)) == write.value,
            "the value that was written");
}

// The same again, and deletes of what is not there.
void WriteNothingNew(const Operation &write, const ProfileUnderTest &profile) {
    const std::string before = profile.Get();
    kowen::WritePrivateProfileString(write.section.c_str(), write.key.c_str(), write.value.c_str(),
                                     profile.Path());
    Require(profile.Get() == before, "the same write twice");
    const std::string absent = write.section + "NotThereAtAll";
    kowen::WritePrivateProfileString(absent.c_str(), write.key.c_str(), nullptr, profile.Path());
    kowen::WritePrivateProfileString(absent.c_str(), nullptr, nullptr, profile.Path());
    if (!ContainsName(before, absent))
        Require(profile.Get() == before, "a delete of what is not there");
}

void Write(const Operation &write, const ProfileUnderTest &profile) {
    const Lines before = SplitLines(profile.Get());
    kowen::WritePrivateProfileString(write.section.c_str(), write.key.c_str(), write.value.c_str(),
                                     profile.Path());
    const Lines after = SplitLines(profile.Get());
    Require(KeepsLines(before, after, false), "lines kept by a write");
    const std::string entry = write.key + "=" + write.value;
    if (write.section.size() < kLongestSection && entry.find_first_of("\r\n") == std::string::npos)
        Require(std::find(after.begin(), after.end(), entry) != after.end(), "a line that is new");
    const bool isNamed = IsTame(write.section);
    if ((!isNamed && !write.section.empty()) || !IsTame(write.key))
        return;
    if (isNamed && IsTame(write.value) && write.key.size() + write.value.size() < kMostInOnePiece &&
        IsReadAsWritten(before, write.section))
        RequireValue(write, profile);
    if (write.value.find_first_of("\r\n") == std::string::npos)
        WriteNothingNew(write, profile);
}

void DeleteKey(const Operation &remove, const ProfileUnderTest &profile) {
    const Lines before = SplitLines(profile.Get());
    kowen::WritePrivateProfileString(remove.section.c_str(), remove.key.c_str(), nullptr,
                                     profile.Path());
    Require(KeepsLines(before, SplitLines(profile.Get()), true), "lines kept by a delete");
}

bool IsTerminated(const char *text, std::size_t size) {
    return std::find(text, text + size, '\0') != text + size;
}

// Qualities and sizes that a profile can choose; of other modes they stay what they were.
void RequireRanges(const kowen::SetupRecord &setup) {
    if (setup.qualityMode == KOWEN_QUALITY_FIXED || setup.qualityMode == KOWEN_QUALITY_USER)
        Require(kowen::QualityIsValid(setup.quality), "a quality in range");
    Require(kowen::InchesAreValid(setup.width) && kowen::InchesAreValid(setup.height),
            "a size in range");
    if (setup.sizeMode != KOWEN_SIZE_FROM_DISPLAY)
        Require(kowen::ResolutionIsValid(setup.header.xResolution) &&
                    kowen::ResolutionIsValid(setup.header.yResolution),
                "resolutions in range");
}

// A setup of the section; the key gives its filter's name.
void MakeSetup(const Operation &operation, const ProfileUnderTest &profile) {
    const MemoryHandle handle =
        kowen::CreateSetup(0, profile.Path(), operation.section.c_str(), operation.key.c_str());
    Require(handle != 0, "a setup of any profile");
    const auto &setup = *kowen::Lock<kowen::SetupRecord>(handle);
    for (const auto &text : {setup.filterName, setup.section, setup.profilePath})
        Require(IsTerminated(text, kowen::kSetupTextBytes), "a text that ends in its field");
    if (setup.driverName[0] != '\0')
        RequireRanges(setup);
    kowen::DestroySetup(handle);
    kowen::fuzz::RequireNothingIsCurrent();
}

void Run(const Operation &operation, const ProfileUnderTest &profile) {
    switch (operation.letter) {
    case 'r':
        return Read(operation, profile, false);
    case 'l':
        return Read(operation, profile, true);
    case 'n':
        kowen::GetPrivateProfileInt(operation.section.c_str(), operation.key.c_str(), -1,
                                    profile.Path());
        return;
    case 's':
        return MakeSetup(operation, profile);
    case 'w':
        return Write(operation, profile);
    case 'd':
        return DeleteKey(operation, profile);
    case 'D':
        kowen::WritePrivateProfileString(operation.section.c_str(), nullptr, nullptr,
                                         profile.Path());
        return;
    default:
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static const ProfileUnderTest profile;
    kowen::fuzz::Input input(data, size);
    std::vector<Operation> operations;
    bool hasProfile = false;
    while (!hasProfile && input.Left() > 0) {
        const std::string line = input.Text("\n");
        hasProfile = line.empty();
        if (!hasProfile)
            operations.push_back(Parse(line));
    }
    operations.resize(std::min<std::size_t>(operations.size(), kMostOperations));
    profile.Remove();
    if (hasProfile)
        profile.Set(input.Text(""));
    for (const Operation &operation : operations)
        Run(operation, profile);
    return 0;
}
