#include "filter/setup_profile.h"

#include "base/failure.h"
#include "settings/profile_text.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr size_t kPathBytes = 144; // of the module's setup, the terminating zero included
constexpr const char *kFileName = "/kowen-XXXXXX";

// The module keeps a profile's path in a field of its setup, so a short one is wanted.
std::string TemporaryFolder() {
    const size_t longest = kPathBytes - 1 - std::string(kFileName).size();
    const char *wanted = std::getenv("TMPDIR");
    if (wanted != nullptr && wanted[0] == '/' && std::string(wanted).size() <= longest)
        return wanted;
    return "/tmp";
}

} // namespace

SetupProfile::SetupProfile(const FilterSettings &settings) {
    ProfileText text;
    WriteSettings(settings, kSection, &text);
    UseMemory();
    if (!file.Open())
        UseFile();
    const std::string bytes = text.Text();
    if (const int failed = WriteAll(file.Get(), bytes.data(), bytes.size()); failed != 0) {
        if (named)
            unlink(path.c_str());
        FailWith(KOWEN_HOST_ERR_EXPORT, "cannot hand the settings to the filter: " + path, failed);
    }
}

SetupProfile::~SetupProfile() {
    if (named)
        unlink(path.c_str());
}

void SetupProfile::UseMemory() {
    file = Descriptor(memfd_create("kowen settings", MFD_CLOEXEC));
    path = "/proc/self/fd/" + std::to_string(file.Get());
    struct stat status = {};
    if (file.Open() && stat(path.c_str(), &status) != 0) // there is no /proc
        file.Close();
}

void SetupProfile::UseFile() {
    path = TemporaryFolder() + kFileName;
    file = Descriptor(mkostemp(path.data(), O_CLOEXEC));
    if (!file.Open())
        FailWith(KOWEN_HOST_ERR_EXPORT, "cannot hand the settings to the filter: " + path, errno);
    named = true;
}

} // namespace kowen::host
