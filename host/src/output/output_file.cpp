#include "output/output_file.h"

#include "base/failure.h"

#include <cerrno>
#include <charconv>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr int kMostLinks = 40;
constexpr int kMostNames = 100;
constexpr mode_t kPermissionBits = 0777;

std::string DirectoryOf(const std::string &path) {
    const size_t slash = path.find_last_of('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// The number of a path that stands for an open descriptor; -1 for any other.
int DescriptorOf(const std::string &path) {
    if (path == "/dev/stdout")
        return STDOUT_FILENO;
    if (path == "/dev/stderr")
        return STDERR_FILENO;
    const std::string own = "/proc/" + std::to_string(getpid()) + "/fd/";
    for (const std::string &prefix :
         {std::string("/dev/fd/"), std::string("/proc/self/fd/"), own}) {
        int number = -1;
        const char *end = path.data() + path.size();
        if (!path.starts_with(prefix))
            continue;
        const auto result = std::from_chars(path.data() + prefix.size(), end, number);
        if (result.ec == std::errc() && result.ptr == end && number >= 0)
            return number;
    }
    return -1;
}

// The file behind a chain of links; it need not be there yet. Stops at an open descriptor, which
// is no link although it looks like one.
std::string FollowLinks(const std::string &path, int *failed) {
    std::string at = path;
    for (int i = 0; i < kMostLinks; ++i) {
        char text[PATH_MAX];
        const ssize_t length = DescriptorOf(at) >= 0 ? -1 : readlink(at.c_str(), text, sizeof text);
        if (length < 0)
            return at;
        const std::string next(text, static_cast<size_t>(length));
        at = next.starts_with('/') ? next : DirectoryOf(at) + "/" + next;
    }
    *failed = ELOOP;
    return at;
}

// The process's mask can be read by setting it only, which other threads would see.
mode_t ModeOfNewFiles(int probe) {
    struct stat status = {};
    return fstat(probe, &status) == 0 ? status.st_mode & kPermissionBits : 0644;
}

// So that the new name outlives a crash. A file system that cannot do it does not fail the export.
void SyncDirectory(const std::string &directory) {
    const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened.Open())
        fsync(opened.Get());
}

// Some file systems have nothing to wait for and say so.
bool WaitForDisk(int fd) {
    int failed = 0;
    do {
        failed = fsync(fd);
    } while (failed != 0 && errno == EINTR);
    return failed == 0 || errno == EINVAL;
}

std::string FreshName(const std::string &directory) {
    constexpr char kLetters[] = "abcdefghijklmnopqrstuvwxyz0123456789";
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    static unsigned counter = 0; // calls wait for each other
    uint64_t value = static_cast<uint64_t>(now.tv_nsec) * 0x9E3779B97F4A7C15U +
                     static_cast<uint64_t>(getpid()) * 0xBF58476D1CE4E5B9U + ++counter;
    std::string suffix;
    for (int i = 0; i < 8; ++i, value /= 36)
        suffix += kLetters[value % 36];
    return directory + "/.kowen-" + suffix;
}

std::string OwnPath(const Descriptor &file) {
    return "/proc/self/fd/" + std::to_string(file.Get());
}

// None where the file system has no such files, or nothing could name it afterwards for want of
// /proc.
Descriptor OpenWithoutName(const std::string &directory) {
    Descriptor file(open(directory.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0666));
    if (file.Open() && access(OwnPath(file).c_str(), F_OK) != 0)
        file.Close();
    return file;
}

bool StartsAsJpeg(const std::string &path) {
    uint8_t start[3] = {};
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    return file.Open() && read(file.Get(), start, sizeof start) == sizeof start &&
           start[0] == 0xFF && start[1] == 0xD8 && start[2] == 0xFF;
}

} // namespace

OutputFile::OutputFile(const std::string &path, KowenReplace replace)
    : name(path), policy(replace) {
    int failed = 0;
    target = FollowLinks(path, &failed);
    if (failed != 0)
        Fail(failed);
    descriptor = DescriptorOf(target);
    if (descriptor >= 0) {
        replaceable = false;
        return;
    }
    struct stat status = {};
    if (stat(target.c_str(), &status) != 0) {
        if (errno != ENOENT)
            Fail(errno);
        return;
    }
    if (S_ISDIR(status.st_mode))
        Fail(EISDIR);
    if (faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0)
        Fail(errno);
    exists = true;
    replaceable = S_ISREG(status.st_mode);
    mode = status.st_mode & kPermissionBits;
    owner = status.st_uid;
    group = status.st_gid;
    if (replaceable)
        CheckReplaceable();
}

OutputFile::~OutputFile() {
    file.Close();
    if (!temporary.empty())
        unlink(temporary.c_str());
}

void OutputFile::Fail(int errorNumber) const {
    FailWith(KOWEN_HOST_ERR_OUTPUT, name, errorNumber);
}

// An empty file has nothing to be lost.
void OutputFile::CheckReplaceable() const {
    struct stat status = {};
    if (policy == KOWEN_REPLACE_ANY || stat(target.c_str(), &status) != 0)
        return;
    if (policy == KOWEN_REPLACE_NEVER)
        throw Failure(KOWEN_HOST_ERR_EXISTS, name + ": there is such a file already", EEXIST);
    if (status.st_size != 0 && !StartsAsJpeg(target))
        throw Failure(KOWEN_HOST_ERR_EXISTS,
                      name + ": there is a file of that name that is no JPEG", EEXIST);
}

int OutputFile::Open() {
    if (replaceable)
        OpenTemporary();
    else if (descriptor >= 0)
        file = Descriptor(fcntl(descriptor, F_DUPFD_CLOEXEC, 0));
    else
        file = Descriptor(open(target.c_str(), O_WRONLY | O_CLOEXEC));
    if (!file.Open())
        Fail(errno);
    return file.Get();
}

void OutputFile::OpenTemporary() {
    const std::string directory = DirectoryOf(target);
    file = OpenWithoutName(directory);
    for (int i = 0; !file.Open() && i < kMostNames; ++i) {
        const std::string fresh = FreshName(directory);
        file = Descriptor(open(fresh.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
        if (file.Open())
            temporary = fresh;
        else if (errno != EEXIST)
            break;
    }
    if (!file.Open())
        FailWith(KOWEN_HOST_ERR_OUTPUT, name + ": cannot make a temporary file in " + directory,
                 errno);
    if (!exists)
        mode = ModeOfNewFiles(file.Get());
    // Nobody else reads what may be another's private picture before it has its mode.
    fchmod(file.Get(), mode & 0600);
}

void OutputFile::Commit() {
    if (!replaceable) {
        if (const int failed = file.Close(); failed != 0)
            Fail(failed);
        return;
    }
    // Only root may give files away; without that the file changes hands to its new writer.
    if (exists && (owner != geteuid() || group != getegid())) {
        if (fchown(file.Get(), owner, group) != 0 && errno != EPERM)
            Fail(errno);
    }
    if (fchmod(file.Get(), mode) != 0 || !WaitForDisk(file.Get()))
        Fail(errno);
    NameTemporary();
    if (const int failed = file.Close(); failed != 0)
        Fail(failed);
    TakeName();
    SyncDirectory(DirectoryOf(target));
}

// A link cannot replace a file, so a file without a name gets one of its own first.
void OutputFile::NameTemporary() {
    const std::string own = OwnPath(file);
    for (int i = 0; temporary.empty(); ++i) {
        const std::string fresh = FreshName(DirectoryOf(target));
        if (linkat(AT_FDCWD, own.c_str(), AT_FDCWD, fresh.c_str(), AT_SYMLINK_FOLLOW) == 0)
            temporary = fresh;
        else if (errno != EEXIST || i == kMostNames)
            Fail(errno);
    }
}

// A file that came into being or changed meanwhile is as good as one that was there before.
void OutputFile::TakeName() {
    if (!exists && policy != KOWEN_REPLACE_ANY && link(temporary.c_str(), target.c_str()) == 0)
        return; // the other name goes with this object
    CheckReplaceable();
    if (std::rename(temporary.c_str(), target.c_str()) != 0)
        Fail(errno);
    temporary.clear();
}

} // namespace kowen::host
