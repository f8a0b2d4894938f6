#include "power/recorded_disk.h"

#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace kowen::test {
namespace {

struct Recording {
    bool on = false;
    bool refusesNameless = false;
    int syncError = 0;
    std::string folder;
    std::map<std::string, size_t> names; ///< as they are
    std::map<int, size_t> open;          ///< files by descriptor; 0 is the folder
    size_t count = 0;                    ///< files
    std::vector<DiskCall> calls;
};

Recording recording;

// The name in the folder, empty for any other path.
std::string NameIn(const char *path) {
    const std::string text = path;
    const std::string start = recording.folder + "/";
    return recording.on && text.starts_with(start) ? text.substr(start.size()) : "";
}

bool IsFolder(const char *path) {
    return recording.on && recording.folder == path;
}

void Record(DiskCall call) {
    recording.calls.push_back(std::move(call));
}

unsigned ModeOf(int file) {
    struct stat status = {};
    fstat(file, &status);
    return status.st_mode & 07777;
}

// A file was opened that may be written to.
void RecordOpen(int file, const char *path, int flags) {
    const std::string name = NameIn(path);
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        recording.open[file] = ++recording.count;
        Record({DiskCall::kMode, recording.count, "", "", "", 0, ModeOf(file)});
        return;
    }
    if (IsFolder(path)) {
        recording.open[file] = 0;
        return;
    }
    if (name.empty() || (flags & O_ACCMODE) == O_RDONLY)
        return;
    size_t &number = recording.names[name];
    if (number == 0) {
        number = ++recording.count;
        Record({DiskCall::kName, number, name});
        Record({DiskCall::kMode, number, "", "", "", 0, ModeOf(file)});
    } else if ((flags & O_TRUNC) != 0) {
        Record({DiskCall::kTruncate, number});
    }
    recording.open[file] = number;
}

int OpenRecorded(const char *path, int flags, mode_t mode) {
    const bool nameless = (flags & O_TMPFILE) == O_TMPFILE;
    if (nameless && recording.refusesNameless && recording.on) {
        errno = EOPNOTSUPP;
        return -1;
    }
    const auto file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
    const bool isOfFolder = recording.on && (IsFolder(path) || !NameIn(path).empty());
    if (file >= 0 && isOfFolder)
        RecordOpen(file, path, flags);
    return file;
}

// The recorded file behind a descriptor; -1 when there is none.
long NumberOf(int file) {
    const auto found = recording.open.find(file);
    return recording.on && found != recording.open.end() ? static_cast<long>(found->second) : -1;
}

int Done(long result) {
    return static_cast<int>(result);
}

int SyncRecorded(int file, long call) {
    const long number = NumberOf(file);
    if (number > 0 && recording.syncError != 0) {
        errno = recording.syncError;
        return -1;
    }
    const int result = Done(syscall(call, file));
    if (result == 0 && number >= 0)
        Record({number == 0 ? DiskCall::kSyncFolder : DiskCall::kSyncFile,
                static_cast<size_t>(number)});
    return result;
}

int LinkRecorded(const char *from, const char *to, int flags) {
    const int result = Done(syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, flags));
    const std::string name = NameIn(to);
    if (result != 0 || name.empty())
        return result;
    const std::string descriptors = "/proc/self/fd/";
    const std::string text = from;
    const size_t number = text.starts_with(descriptors)
                              ? recording.open[std::stoi(text.substr(descriptors.size()))]
                              : recording.names[NameIn(from)];
    recording.names[name] = number;
    Record({DiskCall::kName, number, name});
    return result;
}

} // namespace

FolderState Look(const std::string &folder) {
    FolderState state;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        std::ifstream file(entry.path(), std::ios::binary);
        struct stat status = {};
        stat(entry.path().c_str(), &status);
        state[entry.path().filename()] = {std::string(std::istreambuf_iterator<char>(file), {}),
                                          status.st_mode & 07777};
    }
    return state;
}

void StartRecording(const std::string &folder) {
    const bool refuses = recording.refusesNameless;
    const int error = recording.syncError;
    const FolderState state = Look(folder);
    recording = {};
    recording.refusesNameless = refuses;
    recording.syncError = error;
    recording.folder = folder;
    for (const auto &[name, file] : state)
        recording.names[name] = ++recording.count;
    recording.on = true;
}

std::vector<DiskCall> StopRecording() {
    recording.on = false;
    return std::move(recording.calls);
}

void RefuseNamelessFiles(bool refuse) {
    recording.refusesNameless = refuse;
}

void FailSyncs(int error) {
    recording.syncError = error;
}

} // namespace kowen::test

using namespace kowen::test;

extern "C" {

// A third argument of another call than one that makes a file is whatever lies there, and not
// looked at.
int open(const char *path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = static_cast<mode_t>(va_arg(arguments, unsigned));
    va_end(arguments);
    return OpenRecorded(path, flags, mode);
}

int open64(const char *path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    const auto mode = static_cast<mode_t>(va_arg(arguments, unsigned));
    va_end(arguments);
    return OpenRecorded(path, flags | O_LARGEFILE, mode);
}

int close(int file) {
    recording.open.erase(file);
    return Done(syscall(SYS_close, file));
}

ssize_t write(int file, const void *bytes, size_t count) {
    const long number = NumberOf(file);
    const off_t at = number > 0 ? lseek(file, 0, SEEK_CUR) : 0;
    const ssize_t written = syscall(SYS_write, file, bytes, count);
    if (number > 0 && written > 0)
        Record({DiskCall::kWrite, static_cast<size_t>(number), "", "",
                std::string(static_cast<const char *>(bytes), static_cast<size_t>(written)),
                static_cast<size_t>(at)});
    return written;
}

int ftruncate(int file, off_t length) noexcept {
    const int result = Done(syscall(SYS_ftruncate, file, length));
    if (const long number = NumberOf(file); result == 0 && number > 0)
        Record({DiskCall::kTruncate, static_cast<size_t>(number), "", "", "",
                static_cast<size_t>(length)});
    return result;
}

int fchmod(int file, mode_t mode) noexcept {
    const int result = Done(syscall(SYS_fchmod, file, mode));
    if (const long number = NumberOf(file); result == 0 && number > 0)
        Record({DiskCall::kMode, static_cast<size_t>(number), "", "", "", 0, mode});
    return result;
}

int fsync(int file) {
    return SyncRecorded(file, SYS_fsync);
}

int fdatasync(int file) {
    return SyncRecorded(file, SYS_fdatasync);
}

int rename(const char *from, const char *to) noexcept {
    const int result = Done(syscall(SYS_renameat, AT_FDCWD, from, AT_FDCWD, to));
    const std::string name = NameIn(from);
    if (result == 0 && !name.empty()) {
        const size_t number = recording.names[name];
        recording.names.erase(name);
        recording.names[NameIn(to)] = number;
        Record({DiskCall::kRename, number, name, NameIn(to)});
    }
    return result;
}

int link(const char *from, const char *to) noexcept {
    return LinkRecorded(from, to, 0);
}

int linkat(int, const char *from, int, const char *to, int flags) noexcept {
    return LinkRecorded(from, to, flags);
}

int unlink(const char *path) noexcept {
    const int result = Done(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
    const std::string name = NameIn(path);
    if (result == 0 && !name.empty()) {
        const size_t number = recording.names[name];
        recording.names.erase(name);
        Record({DiskCall::kRemove, number, name});
    }
    return result;
}

} // extern "C"
