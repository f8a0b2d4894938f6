#include "io/disk_operations.h"

#include "platform/write_signals.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
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
    std::FILE *stream = nullptr;
    do {
        stream = std::fopen(name, mode);
    } while (!stream && errno == EINTR);
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

// Whether a transfer that fell short may be taken up again: a signal of the host's came, or a pipe
// that does not wait by itself was full or empty, in which case it is waited for.
bool MayGoOn(std::FILE *stream, short event) {
    if (errno == EAGAIN) {
        pollfd pipe = {fileno(stream), event, 0};
        if (poll(&pipe, 1, -1) < 0 && errno != EINTR)
            return false;
    } else if (errno != EINTR) {
        return false;
    }
    clearerr(stream);
    return true;
}

int32_t Read(std::FILE *stream, void *buffer, int32_t count) {
    const auto wanted = static_cast<std::size_t>(count);
    auto *bytes = static_cast<char *>(buffer);
    std::size_t got = 0;
    do {
        errno = 0;
        got += std::fread(bytes + got, 1, wanted - got, stream);
    } while (got < wanted && !std::feof(stream) && MayGoOn(stream, POLLIN));
    // Not ferror: a stream of the caller's may bring an old error along.
    if (got < wanted && !std::feof(stream))
        return -1;
    return static_cast<int32_t>(got);
}

// A standard output that is no file: of what such a pipe does not take at once, stdio drops what
// stands in its buffer.
bool IsStandardPipe(std::FILE *stream) {
    return stream == stdout && lseek(fileno(stream), 0, SEEK_CUR) < 0;
}

// Bytes that were written past the stream's buffer, which is empty.
std::size_t WriteToPipe(std::FILE *stream, const char *bytes, std::size_t count) {
    std::size_t done = 0;
    while (done < count) {
        const ssize_t written = write(fileno(stream), bytes + done, count - done);
        if (written > 0)
            done += static_cast<std::size_t>(written);
        else if (written == 0 || !MayGoOn(stream, POLLOUT))
            break;
    }
    return done;
}

// Hardened: a signal that interrupts a write does not cut the picture.
// Tests: Limits.SignalsDoNotCutAPictureInAPipe and ...SignalsDoNotCutAPictureInTheStandardOutput.
int32_t Write(std::FILE *stream, const void *buffer, int32_t count) {
    const WriteSignalsHeld held;
    const auto *bytes = static_cast<const char *>(buffer);
    const auto wanted = static_cast<std::size_t>(count);
    if (IsStandardPipe(stream) && std::fflush(stream) == 0)
        return static_cast<int32_t>(WriteToPipe(stream, bytes, wanted));
    std::size_t done = 0;
    do {
        errno = 0;
        done += std::fwrite(bytes + done, 1, wanted - done, stream);
    } while (done < wanted && MayGoOn(stream, POLLOUT));
    return static_cast<int32_t>(done);
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
