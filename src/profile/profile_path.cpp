#include "profile/profile_path.h"

#include "kowen/codes.h"
#include "profile/profile_file.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen {

namespace {

constexpr int32_t kReadBytes = 4096;
constexpr char kProfileExtension[] = ".ini";
constexpr char kTempPattern[] = "/tmp/XXXXXX";

bool FitsPath(std::size_t length, int32_t size) {
    return size > 0 && length < static_cast<std::size_t>(size);
}

// The value of INIDIR, "" when it is not set.
const char *ProfileDirectory() {
    const char *directory = std::getenv("INIDIR");
    return !directory ? "" : directory;
}

// The name in that directory, the bare name for "". Returns false when it does not fit.
bool JoinPath(const char *directory, const char *name, char *path, int32_t size) {
    const std::size_t length = std::strlen(directory);
    const bool needsSlash = length != 0 && directory[length - 1] != '/';
    const int joined = std::snprintf(path, static_cast<std::size_t>(size), "%s%s%s", directory,
                                     needsSlash ? "/" : "", name);
    return joined >= 0 && joined < size;
}

// A directory opens like a file, a pipe waits for its other end, a device may never end.
bool MayBeOpened(const char *path, int32_t mode) {
    struct stat status;
    if (stat(path, &status) == 0)
        return S_ISREG(status.st_mode);
    return mode != kModeRead;
}

FileHandle OpenFile(const char *path, int32_t mode) {
    return MayBeOpened(path, mode) ? static_cast<FileHandle>(qivOpen(path, nullptr, mode)) : 0;
}

bool CanBeRead(const char *path) {
    const int file = open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file < 0)
        return false;
    struct stat status;
    const bool isFile = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    close(file);
    return isFile;
}

// Leaves the name empty when the result does not fit.
void NameAfter(char *name, const char *path) {
    char base[kLongestPath];
    if (!FitsPath(std::strlen(path), sizeof base))
        return;
    s_getname(base, path);
    const std::size_t length = std::strlen(base);
    if (!FitsPath(length + std::strlen(kProfileExtension), kPathBytes))
        return;
    std::memcpy(name, base, length);
    std::memcpy(name + length, kProfileExtension, sizeof kProfileExtension);
}

} // namespace

FileHandle OpenProfile(const char *name, int32_t mode, char *found, int32_t foundSize) noexcept {
    if (!name || *name == '\0')
        return 0;
    const FileHandle asItStands = OpenFile(name, mode);
    if (asItStands != 0)
        return asItStands;
    const char *directory = ProfileDirectory();
    char path[kLongestPath];
    if (*directory == '\0' || !JoinPath(directory, name, path, std::min(foundSize, kLongestPath)))
        return 0;
    const FileHandle inDirectory = OpenFile(path, mode);
    if (inDirectory != 0)
        std::strcpy(found, path);
    return inDirectory;
}

FileHandle INIopen(char *name, int32_t nameSize, int32_t mode) noexcept {
    char unused[kLongestPath];
    return nameSize > 0 ? OpenProfile(name, mode, name, nameSize)
                        : OpenProfile(name, mode, unused, kLongestPath);
}

void INIclose(FileHandle file) noexcept {
    if (file != 0)
        qivClose(file);
}

bool ReadToEnd(FileHandle file, TextBuffer &text) noexcept {
    for (;;) {
        char *place = text.Reserve(kReadBytes);
        const int32_t count = !place ? -1 : qivRead(file, place, kReadBytes);
        if (count <= 0)
            return count == 0;
        text.Extend(static_cast<uint32_t>(std::min(count, kReadBytes)));
    }
}

int32_t GetProfileDirectory(char *name, const char *path) noexcept {
    if (*name == '\0' && path)
        NameAfter(name, path);
    if (*name == '\0')
        return 1;
    const char *directory = ProfileDirectory();
    if (!FitsPath(std::strlen(directory), kPathBytes))
        directory = "";
    char full[kPathBytes];
    if (JoinPath(directory, name, full, kPathBytes) && CanBeRead(full)) {
        std::strcpy(name, full);
        return 0;
    }
    return CanBeRead(name) ? 0 : 1;
}

int32_t QIVGetTempFileName(uint32_t, uint32_t, uint32_t, char *destination) noexcept {
    char name[sizeof kTempPattern];
    std::memcpy(name, kTempPattern, sizeof name);
    const int file = mkstemp(name);
    if (file < 0)
        return 0;
    close(file);
    std::memcpy(destination, name, sizeof name);
    return 1;
}

} // namespace kowen
