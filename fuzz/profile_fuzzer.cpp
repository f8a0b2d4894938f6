// A profile of any bytes, read and rewritten in any order.
//
// Beside what the sanitizers see: a read stays inside its buffer and result range, a rewrite loses
// no line that it has no business with, the same write twice changes nothing more, and a delete
// request for what is not there leaves every byte.
#include "platform/profile_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

// Waiting for the disk would take most of the time.
extern "C" int fsync(int) {
    return 0;
}

namespace {

using Lines = std::vector<std::string>;

void Require(bool holds, const char *what) {
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

class ProfileUnderTest {
public:
    ProfileUnderTest() {
        directory = (std::filesystem::temp_directory_path() / "kowen-fuzz-XXXXXX").string();
        Require(mkdtemp(directory.data()) != nullptr, "a directory to work in");
        path = directory + "/a.ini";
    }
    ~ProfileUnderTest() { std::filesystem::remove_all(directory); }

    const char *Path() const { return path.c_str(); }
    void Remove() const { unlink(path.c_str()); }

    void Set(const std::string &bytes) const {
        std::FILE *file = std::fopen(path.c_str(), "wb");
        Require(file != nullptr, "a profile that can be made");
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }

    std::string Get() const {
        std::string bytes;
        if (std::FILE *file = std::fopen(path.c_str(), "rb")) {
            char piece[4096];
            for (std::size_t n; (n = std::fread(piece, 1, sizeof piece, file)) != 0;)
                bytes.append(piece, n);
            std::fclose(file);
        }
        return bytes;
    }

private:
    std::string directory;
    std::string path;
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

// Often a name that is there, else any bytes; zero bytes end it.
std::string Name(FuzzedDataProvider &input) {
    static const char *const kNames[] = {"S", "JPG Export", "A", "Quality", "", "\"\"", "[S] ;x"};
    if (input.ConsumeBool())
        return input.PickValueInArray(kNames);
    return input.ConsumeRandomLengthString(600).c_str();
}

// Pieces of a profile in any order, runs that reach the length of a piece, and any bytes.
std::string Text(FuzzedDataProvider &input) {
    static const char *const kPieces[] = {
        "[S]", "[JPG Export]", "S",  "[",   "A",  "Quality=", "=",
        " ",   "\"",           ";x", "0xF", "\n", "\r",       "\r\n"};
    std::string text;
    const int pieces = input.ConsumeIntegralInRange(0, 40);
    for (int i = 0; i < pieces; ++i) {
        const int kind = input.ConsumeIntegralInRange(0, 15);
        if (kind == 0)
            text += std::string(input.ConsumeIntegralInRange<std::size_t>(0, 600), 'x');
        else if (kind == 1)
            text += input.ConsumeRandomLengthString(300);
        else
            text += input.PickValueInArray(kPieces);
    }
    return text;
}

void Read(FuzzedDataProvider &input, const ProfileUnderTest &profile, bool listKeys) {
    const std::string section = Name(input);
    const std::string key = Name(input);
    const std::string fallback = Name(input);
    const int32_t size = input.ConsumeIntegralInRange<int32_t>(-1, 300);
    // A block of its own of exactly that size, so that one byte too many is seen.
    const auto bytes = static_cast<std::size_t>(std::max(size, 0));
    const std::unique_ptr<char[]> buffer(new char[bytes]);
    const int32_t result =
        kowen::GetPrivateProfileString(section.c_str(), listKeys ? nullptr : key.c_str(),
                                       fallback.c_str(), buffer.get(), size, profile.Path());
    Require(result >= 0, "a result that is no negative count");
    Require(listKeys || result <= std::max(size, 0), "a value inside the buffer");
}

void ReadNumber(FuzzedDataProvider &input, const ProfileUnderTest &profile) {
    const std::string section = Name(input);
    const std::string key = Name(input);
    kowen::GetPrivateProfileInt(section.c_str(), key.c_str(), -1, profile.Path());
}

void Write(FuzzedDataProvider &input, const ProfileUnderTest &profile) {
    const std::string section = Name(input);
    const std::string key = Name(input);
    const std::string value = Name(input);
    const std::string before = profile.Get();
    kowen::WritePrivateProfileString(section.c_str(), key.c_str(), value.c_str(), profile.Path());
    const std::string after = profile.Get();
    Require(KeepsLines(SplitLines(before), SplitLines(after), false), "lines kept by a write");
    if (!IsTame(section) || !IsTame(key) || value.find_first_of("\r\n") != std::string::npos)
        return;
    kowen::WritePrivateProfileString(section.c_str(), key.c_str(), value.c_str(), profile.Path());
    Require(profile.Get() == after, "the same write twice");
    const std::string absent = section + "NotThereAtAll";
    kowen::WritePrivateProfileString(absent.c_str(), key.c_str(), nullptr, profile.Path());
    kowen::WritePrivateProfileString(absent.c_str(), nullptr, nullptr, profile.Path());
    if (after.find(absent) == std::string::npos)
        Require(profile.Get() == after, "a delete of what is not there");
}

void DeleteKey(FuzzedDataProvider &input, const ProfileUnderTest &profile) {
    const std::string section = Name(input);
    const std::string key = Name(input);
    const Lines before = SplitLines(profile.Get());
    kowen::WritePrivateProfileString(section.c_str(), key.c_str(), nullptr, profile.Path());
    Require(KeepsLines(before, SplitLines(profile.Get()), true), "lines kept by a delete");
}

void DeleteSection(FuzzedDataProvider &input, const ProfileUnderTest &profile) {
    const std::string section = Name(input);
    kowen::WritePrivateProfileString(section.c_str(), nullptr, nullptr, profile.Path());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, std::size_t size) {
    static const ProfileUnderTest profile;
    FuzzedDataProvider input(data, size);
    const int operations = input.ConsumeIntegralInRange(1, 8);
    if (input.ConsumeBool())
        profile.Set(Text(input));
    else
        profile.Remove();
    for (int i = 0; i < operations; ++i) {
        switch (input.ConsumeIntegralInRange(0, 5)) {
        case 0:
            Read(input, profile, false);
            break;
        case 1:
            Read(input, profile, true);
            break;
        case 2:
            ReadNumber(input, profile);
            break;
        case 3:
            Write(input, profile);
            break;
        case 4:
            DeleteKey(input, profile);
            break;
        default:
            DeleteSection(input, profile);
            break;
        }
    }
    return 0;
}
