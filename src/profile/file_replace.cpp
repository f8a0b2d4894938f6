#include "profile/file_replace.h"

#include "platform/write_signals.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen {

namespace {

constexpr std::size_t kPathSize = 4096;
constexpr int kMostLinks = 40; // as many as the kernel follows
constexpr int kMostNames = 100;
constexpr char kTempPrefix[] = ".kowen-";
constexpr std::size_t kRandomLetters = 12;
constexpr mode_t kPrivateMode = 0600;
constexpr mode_t kUsualMode = 0666; // less what the user's mask takes away
constexpr mode_t kPermissions = 07777;

struct Path {
    char text[kPathSize];
};

// Bytes of the path up to its last slash, the slash included; 0 for a bare name.
std::size_t DirectoryLength(const char *path) {
    const char *slash = std::strrchr(path, '/');
    return !slash ? 0 : static_cast<std::size_t>(slash - path) + 1;
}

// Puts a name into the directory of a path.
bool JoinSibling(Path &path, const char *name, std::size_t length) {
    const std::size_t directory = name[0] == '/' ? 0 : DirectoryLength(path.text);
    if (directory + length >= kPathSize)
        return false;
    std::memcpy(path.text + directory, name, length);
    path.text[directory + length] = '\0';
    return true;
}

// Follows symbolic links as far as they lead, also to a name where no file is yet.
bool ResolveLinks(const char *start, Path &path) {
    if (std::strlen(start) >= kPathSize)
        return false;
    std::strcpy(path.text, start);
    for (int links = 0; links < kMostLinks; ++links) {
        char target[kPathSize];
        const ssize_t length = readlink(path.text, target, sizeof target);
        if (length < 0)
            return errno == EINVAL || errno == ENOENT; // not a link
        if (!JoinSibling(path, target, static_cast<std::size_t>(length)))
            return false;
    }
    return false;
}

// Whether the target is what the caller takes it for.
bool CheckTarget(const Path &target, ReplaceKind kind, struct stat &status) {
    if (stat(target.text, &status) == 0)
        return kind == ReplaceKind::kExisting && S_ISREG(status.st_mode);
    return kind == ReplaceKind::kNew && errno == ENOENT;
}

bool NameTemporary(const Path &target, Path &temporary) {
    constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz012345";
    unsigned char random[kRandomLetters];
    if (getentropy(random, sizeof random) != 0)
        return false;
    char name[sizeof kTempPrefix + kRandomLetters];
    std::memcpy(name, kTempPrefix, sizeof kTempPrefix);
    char *letters = name + sizeof kTempPrefix - 1;
    for (std::size_t i = 0; i < kRandomLetters; ++i)
        letters[i] = kLetters[random[i] % (sizeof kLetters - 1)];
    temporary = target;
    return JoinSibling(temporary, name, sizeof kTempPrefix - 1 + kRandomLetters);
}

// Returns the descriptor of a new file beside the target, -1 when none could be made.
int CreateBeside(const Path &target, mode_t mode, Path &temporary) {
    for (int i = 0; i < kMostNames; ++i) {
        if (!NameTemporary(target, temporary))
            return -1;
        const int file = open(temporary.text, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode);
        if (file >= 0 || errno != EEXIST)
            return file;
    }
    return -1;
}

bool WriteAll(int file, std::string_view text) {
    const WriteSignalsHeld held;
    while (!text.empty()) {
        const ssize_t count = write(file, text.data(), text.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

// Only the permissions must succeed: a user who may write a file need not own it.
bool CopyAttributes(int file, const struct stat &from) {
    if (fchown(file, from.st_uid, from.st_gid) != 0 &&
        fchown(file, static_cast<uid_t>(-1), from.st_gid) != 0)
        errno = 0;
    return fchmod(file, from.st_mode & kPermissions) == 0;
}

// Some file systems have nothing to wait for and say so.
bool WaitForDisk(int file) {
    int failed = 0;
    do {
        failed = fsync(file);
    } while (failed != 0 && errno == EINTR);
    return failed == 0 || errno == EINVAL;
}

} // namespace

bool ReplaceFile(const char *path, std::string_view text, ReplaceKind kind) noexcept {
    Path target;
    struct stat old;
    if (!ResolveLinks(path, target) || !CheckTarget(target, kind, old))
        return false;
    const bool existing = kind == ReplaceKind::kExisting;
    Path temporary;
    const int file = CreateBeside(target, existing ? kPrivateMode : kUsualMode, temporary);
    if (file < 0)
        return false;
    bool done =
        WriteAll(file, text) && (!existing || CopyAttributes(file, old)) && WaitForDisk(file);
    done = close(file) == 0 && done;
    done = done && std::rename(temporary.text, target.text) == 0;
    if (!done)
        unlink(temporary.text);
    return done;
}

} // namespace kowen
