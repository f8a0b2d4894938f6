#include "io/disk_operations.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

namespace kowen {
namespace {

// A stream opens for reading on a directory and fails only at the first read.
bool IsDirectory(std::FILE *stream) {
    struct stat status;
    return fstat(fileno(stream), &status) == 0 && S_ISDIR(status.st_mode);
}

// The same file, open at a descriptor that is not a standard stream's; null on error.
std::FILE *MovedBehindStandardStreams(std::FILE *stream, const char *mode) {
    const int moved = fcntl(fileno(stream), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    std::fclose(stream);
    if (moved < 0)
        return nullptr;
    std::FILE *own = fdopen(moved, mode);
    if (!own)
        close(moved);
    return own;
}

std::FILE *Open(const char *name, const char *mode) {
    std::FILE *stream = std::fopen(name, mode);
    if (!stream)
        return nullptr;
    if (IsDirectory(stream)) {
        std::fclose(stream);
        return nullptr;
    }
    // Hardened: in a process that has closed its standard output the file would take that place,
    // and whatever anybody prints would land in it.
    // Test: WriteDisk.NoFileTakesThePlaceOfAStandardStream.
    if (fileno(stream) <= STDERR_FILENO && !(stream = MovedBehindStandardStreams(stream, mode)))
        return nullptr;
    // The file record has its own buffer. A second one would hide a full disk until the close.
    std::setvbuf(stream, nullptr, _IONBF, 0);
    return stream;
}

int Close(std::FILE *stream) {
    return std::fclose(stream);
}

int32_t Read(std::FILE *stream, void *buffer, int32_t count) {
    const auto wanted = static_cast<std::size_t>(count);
    const std::size_t got = std::fread(buffer, 1, wanted, stream);
    // Not ferror: a stream of the caller's may bring an old error along.
    if (got < wanted && !std::feof(stream))
        return -1;
    return static_cast<int32_t>(got);
}

int32_t Write(std::FILE *stream, const void *buffer, int32_t count) {
    return static_cast<int32_t>(std::fwrite(buffer, 1, static_cast<std::size_t>(count), stream));
}

int Seek(std::FILE *stream, int64_t offset, int whence) {
    return fseeko(stream, static_cast<off_t>(offset), whence);
}

int64_t Tell(std::FILE *stream) {
    return ftello(stream);
}

bool IsDevice(const char *name) {
    struct stat status;
    return stat(name, &status) == 0 && (S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode));
}

// Hardened: a device stays. A cancelled export to /dev/null would else take it away from the
// whole machine, when the user may do that. Test: QivOpenDelete.ADeviceStays.
int Remove(const char *name) {
    return IsDevice(name) ? -1 : unlink(name);
}

} // namespace

const DiskOperations kLibcDiskOperations = {
    .open = Open,
    .close = Close,
    .read = Read,
    .write = Write,
    .seek = Seek,
    .tell = Tell,
    .remove = Remove,
};

const DiskOperations *diskOperations = &kLibcDiskOperations;

} // namespace kowen
