#include "host/profile_file.h"

#include "host/cancel.h"
#include "host/error.h"
#include "host/file.h"
#include "host/output_file.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr size_t kPathBytes = 144; // of the module's setup, the terminating zero included
constexpr const char *kFileName = "/setup.ini";

bool Readable(const std::string &path) {
    struct stat status = {};
    return stat(path.c_str(), &status) == 0 && !S_ISDIR(status.st_mode) &&
           access(path.c_str(), R_OK) == 0;
}

ProfileText ReadProfileText(const std::string &path) {
    const std::vector<uint8_t> bytes = ReadFile(path);
    return ProfileText(std::string(bytes.begin(), bytes.end()));
}

std::string InDirectoryOfProfiles(const std::string &name) {
    const char *directory = std::getenv("INIDIR");
    if (directory == nullptr || *directory == '\0')
        return "";
    const std::string text = directory;
    return text + (text.ends_with('/') ? "" : "/") + name;
}

// The module keeps a profile's path in a field of its setup, so a short one is wanted.
std::string PrivateParent() {
    const size_t longest = kPathBytes - sizeof "/kowen-XXXXXX/setup.ini";
    const char *wanted = std::getenv("TMPDIR");
    if (wanted != nullptr && wanted[0] == '/' && std::string(wanted).size() <= longest)
        return wanted;
    return "/tmp";
}

std::string SectionList(const ProfileText &text) {
    std::string list;
    for (const std::string &section : SettingSections(text))
        list += (list.empty() ? "" : ", ") + section;
    return list.empty() ? "it has none" : "it has " + list;
}

} // namespace

ProfileFile LoadProfile(const std::string &name) {
    ProfileFile profile;
    profile.path = name;
    const std::string elsewhere = InDirectoryOfProfiles(name);
    if (!elsewhere.empty() && Readable(elsewhere))
        profile.path = elsewhere;
    if (access(profile.path.c_str(), F_OK) != 0) {
        if (errno != ENOENT)
            FailWith(profile.path, errno);
        return profile;
    }
    profile.exists = true;
    profile.text = ReadProfileText(profile.path);
    return profile;
}

std::string DefaultProfileName(const std::string &modulePath) {
    const std::string file = modulePath.substr(modulePath.find_last_of('/') + 1);
    return file.substr(0, file.find('.')) + ".ini";
}

void SaveProfile(const ProfileFile &profile) {
    const std::string text = profile.text.Text();
    OutputFile(profile.path).Deliver(text.data(), text.size());
}

std::string ChooseSection(const ProfileFile &profile, const std::string &wanted) {
    if (!wanted.empty()) {
        CheckSectionName(wanted);
        return wanted;
    }
    const std::optional<std::string> mode = profile.text.Value(key::kModeSection, key::kMode);
    if (mode && !mode->empty())
        return *mode;
    throw HostError(profile.path + ": which section? Name one with --section; " +
                    SectionList(profile.text));
}

std::vector<std::string> SettingSections(const ProfileText &text) {
    std::vector<std::string> sections;
    for (const std::string &section : text.Sections()) {
        const bool onlyNames = strcasecmp(section.c_str(), key::kModeSection) == 0 &&
                               !text.Value(section, key::kDriver);
        if (!onlyNames)
            sections.push_back(section);
    }
    return sections;
}

Settings LoadSettings(const ProfileFile &profile, const std::string &section) {
    if (!profile.text.Has(section))
        throw HostError(profile.path + ": there is no section '" + section + "'; " +
                        SectionList(profile.text));
    if (profile.text.Value(section, key::kDriver).value_or("").empty())
        throw HostError(profile.path + ": section '" + section +
                        "' has no entry 'Driver', so its settings do not count; 'kowen setup set' "
                        "adds it");
    return ReadSettings(profile.text, section);
}

PrivateProfile::PrivateProfile(const ProfileText &text)
    : directory(PrivateParent() + "/kowen-XXXXXX") {
    if (mkdtemp(directory.data()) == nullptr)
        FailWith("cannot make a temporary directory " + directory, errno);
    path = directory + kFileName;
    directorySlot = RememberTemporary(directory);
    fileSlot = RememberTemporary(path);
    Descriptor file(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    const std::string bytes = text.Text();
    int failed = file.Open() ? WriteDescriptor(file.Get(), bytes.data(), bytes.size()) : errno;
    if (const int closing = file.Close(); failed == 0)
        failed = closing;
    if (failed != 0) {
        Remove();
        FailWith(path, failed);
    }
}

PrivateProfile::~PrivateProfile() {
    Remove();
}

void PrivateProfile::Remove() {
    unlink(path.c_str());
    rmdir(directory.c_str());
    ForgetTemporary(fileSlot);
    ForgetTemporary(directorySlot);
}

ProfileText PrivateProfile::Read() const {
    return ReadProfileText(path);
}

} // namespace kowen::host
