#include "host/output_file.h"

#include "host/cancel.h"
#include "host/error.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr int kMostLinks = 40;
constexpr mode_t kPermissionBits = 0777;

std::string DirectoryOf(const std::string &path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// The file behind a chain of links; it need not be there yet.
std::string FollowLinks(const std::string &path) {
    std::string at = path;
    for (int i = 0; i < kMostLinks; ++i) {
        char text[PATH_MAX];
        const ssize_t length = readlink(at.c_str(), text, sizeof text);
        if (length < 0)
            return at;
        const std::string next(text, static_cast<size_t>(length));
        at = next.starts_with('/') ? next : DirectoryOf(at) + "/" + next;
    }
    FailWith(path, ELOOP);
}

mode_t ModeOfNewFiles() {
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

// So that the new name outlives a crash. A file system that cannot do it does not fail the export.
void SyncDirectory(const std::string &directory) {
    const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.Open())
        fsync(opened.Get());
}

} // namespace

OutputFile::OutputFile(const std::string &path) : name(path) {
    if (path == "-") {
        name = "standard output";
        replaceable = false;
        return;
    }
    target = FollowLinks(path);
    struct stat status = {};
    if (stat(target.c_str(), &status) != 0) {
        if (errno != ENOENT)
            FailWith(name, errno);
        mode = ModeOfNewFiles();
        return;
    }
    if (S_ISDIR(status.st_mode))
        FailWith(name, EISDIR);
    if (faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        FailWith(name, errno);
    exists = true;
    replaceable = S_ISREG(status.st_mode);
    mode = status.st_mode & kPermissionBits;
    owner = status.st_uid;
    group = status.st_gid;
}

std::unique_ptr<TemporaryFile> OutputFile::MakeTemporary() const {
    try {
        return std::make_unique<TemporaryFile>(DirectoryOf(target));
    } catch (const HostError &error) {
        throw HostError(name + ": " + error.what());
    }
}

void OutputFile::Replace(TemporaryFile *temporary) const {
    const int fd = temporary->File().Get();
    // Only root may give files away; without that the file changes hands to its new writer.
    if (exists && (owner != geteuid() || group != getegid())) {
        if (fchown(fd, owner, group) != 0 && errno != EPERM)
            FailWith(name, errno);
    }
    if (fchmod(fd, mode) != 0 || fsync(fd) != 0)
        FailWith(name, errno);
    if (const int failed = temporary->File().Close(); failed != 0)
        FailWith(name, failed);
    StopIfCancelled();
    if (std::rename(temporary->Path().c_str(), target.c_str()) != 0)
        FailWith(name, errno);
    temporary->Keep();
    SyncDirectory(DirectoryOf(target));
}

void OutputFile::Deliver(const void *data, size_t size) const {
    if (!replaceable) {
        WriteThrough(data, size);
        return;
    }
    const std::unique_ptr<TemporaryFile> temporary = MakeTemporary();
    if (const int failed = WriteDescriptor(temporary->File().Get(), data, size); failed != 0)
        FailWith(name, failed);
    Replace(temporary.get());
}

void OutputFile::WriteThrough(const void *data, size_t size) const {
    Descriptor opened;
    int fd = STDOUT_FILENO;
    if (!target.empty()) {
        opened = Descriptor(open(target.c_str(), O_WRONLY | O_CLOEXEC));
        fd = opened.Get();
        if (!opened.Open()) {
            const int failed = errno;
            StopIfCancelled();
            FailWith(name, failed);
        }
    }
    int failed = WriteDescriptor(fd, data, size);
    StopIfCancelled();
    if (const int closing = opened.Close(); failed == 0)
        failed = closing;
    if (failed != 0)
        FailWith(name, failed);
}

} // namespace kowen::host
