#include "io/disk_file.h"

#include "io/disk_operations.h"
#include "io/file_kind.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kowen {
namespace {

const char *StreamMode(int32_t mode) {
    if (mode & KOWEN_MODE_CREATE)
        return "w+";
    if (mode & kModeUpdate)
        return "r+";
    return mode & KOWEN_MODE_WRITE ? "w+" : "r";
}

std::FILE *StandardStream(const char *name) {
    if (std::strcmp(name, "stdin") == 0)
        return stdin;
    return std::strcmp(name, "stdout") == 0 ? stdout : nullptr;
}

// Hardened: what a write-back that failed has left in the buffer is lost with it; the bytes that
// come next are not taken for those. Test: FillQivIOBuf.GoesOnWhenTheDirtyBufferCannotBeWritten.
void EmptyBuffer(QivFile &file, int32_t base) {
    if (file.dirty)
        file.lost = 1;
    file.dirty = 0;
    file.bufPos = 0;
    file.bufLast = -1;
    file.bufMax = kDiskBufferBytes - 1;
    file.bufBase = base;
    file.filePos = base;
}

bool AllocateBuffer(QivFile &file) {
    file.hBuf = GlobalAlloc(kGlobalFlags, kDiskBufferBytes);
    return file.hBuf != 0;
}

// A pipe or terminal has no positions, yet it can be read or written from front to back.
bool TakeAsSequential(QivFile &file) {
    file.sequential = 1;
    file.fileLength = file.filePos;
    return true;
}

// Takes fileLength from the stream, which then stands where it stood.
bool MeasureLength(QivFile &file) {
    const int64_t where = file.sequential ? -1 : diskOperations->tell(file.fp);
    if (file.sequential || (where < 0 && errno == ESPIPE))
        return TakeAsSequential(file);
    if (where < 0 || diskOperations->seek(file.fp, 0, SEEK_END) != 0)
        return false;
    const int64_t length = diskOperations->tell(file.fp);
    if (diskOperations->seek(file.fp, where, SEEK_SET) != 0)
        return false;
    if (length < 0 || length > INT32_MAX)
        return false;
    file.fileLength = static_cast<int32_t>(length);
    return true;
}

bool Attach(QivFile &file, std::FILE *stream) {
    file.fp = stream;
    EmptyBuffer(file, 0);
    return file.ioProc || MeasureLength(file);
}

bool OpenNamedStream(QivFile &file, const char *name) {
    if (std::FILE *standard = StandardStream(name))
        return Attach(file, standard);
    std::FILE *stream = diskOperations->open(name, StreamMode(file.mode));
    if (!stream)
        return false;
    if (Attach(file, stream))
        return true;
    diskOperations->close(stream);
    return false;
}

bool MoveStream(QivFile &file, int32_t position) {
    if (file.sequential)
        return position == file.filePos;
    return unxSeek(file.fp, position, kFromStart) != -1;
}

int32_t Load(QivFile &file) {
    if (!file.fp || !MoveStream(file, file.filePos))
        return Fail(file);
    const int32_t wanted = std::min(kDiskBufferBytes, INT32_MAX - file.filePos);
    const int32_t got = diskOperations->read(file.fp, GlobalLock(file.hBuf), wanted);
    if (got < 0) {
        // The buffer may be half overwritten; nothing of it may reach the file any more.
        EmptyBuffer(file, file.filePos);
        return Fail(file);
    }
    EmptyBuffer(file, file.filePos);
    file.bufLast = got - 1;
    file.filePos += got;
    return got;
}

int32_t Flush(QivFile &file) {
    if (!file.dirty)
        return 0;
    const int32_t count = file.bufLast + 1;
    if (file.bufBase > INT32_MAX - count || !MoveStream(file, file.bufBase))
        return Fail(file);
    const int32_t written = diskOperations->write(file.fp, GlobalLock(file.hBuf), count);
    if (file.sequential)
        file.filePos += written; // so that what has gone out is never sent again
    const bool measured = MeasureLength(file);
    // A buffer that stays full keeps out what comes behind it: the file would have a gap there.
    if (!measured || written != count)
        return Fail(file);
    file.dirty = 0;
    EmptyBuffer(file, file.bufBase + count);
    return count;
}

// Empties a buffer that is full: 1, or the result of the write that cannot go on.
int32_t NextBuffer(QivFile &file) {
    if (file.error == kIoError)
        return 0;
    if (file.dirty)
        return Flush(file) == -1 ? -1 : 1;
    EmptyBuffer(file, file.filePos); // read to its last byte; nothing to write back
    return 1;
}

// Bytes go to bufPos, and the buffer is written back as soon as it is full. It can also be found
// full here: read to its last byte, or left by a write-back that failed.
int32_t Write(QivFile &file, const void *buffer, int32_t count) {
    if (count <= 0)
        return 0;
    const auto *source = static_cast<const unsigned char *>(buffer);
    auto *data = Lock<unsigned char>(file.hBuf);
    for (int32_t left = count;;) {
        if (file.bufPos > file.bufMax) {
            const int32_t emptied = NextBuffer(file);
            if (emptied < 1) {
                // Hardened: the close tells of it, also when the disk works again. Test:
                // WriteDisk.ADiskThatRecoversGetsTheBeginningOrAllAndTheCloseSaysWhich.
                if (left > 0)
                    file.lost = 1;
                return emptied;
            }
        }
        if (left == 0)
            return count;
        const int32_t run = std::min(left, file.bufMax - file.bufPos + 1);
        std::memcpy(data + file.bufPos, source, static_cast<std::size_t>(run));
        source += run;
        left -= run;
        file.bufPos += run;
        file.bufLast = std::max(file.bufLast, file.bufPos - 1);
        file.dirty = 1;
    }
}

int32_t SeekOutside(QivFile &file, int32_t offset, int32_t whence) {
    Flush(file); // a failure is kept in the error state; the seek goes on
    if (file.sequential) {
        if (whence != kFromStart || offset != file.filePos)
            return Fail(file);
        EmptyBuffer(file, offset);
        return offset;
    }
    const int32_t position = unxSeek(file.fp, offset, whence);
    if (position == -1)
        return Fail(file);
    file.filePos = position;
    return Load(file) == -1 ? -1 : position;
}

int32_t Seek(QivFile &file, int32_t offset, int32_t whence) {
    return SeekBuffered(file, offset, whence, SeekOutside);
}

int32_t Fill(QivFile &file) {
    Flush(file); // a failure is kept in the error state; the fill goes on
    return Load(file);
}

int32_t Close(QivFile &file) {
    const int32_t flushed = Flush(file);
    const int32_t closed = file.external ? 0 : diskOperations->close(file.fp);
    GlobalFree(file.hBuf);
    return flushed == -1 || HasLost(file) ? -1 : closed;
}

bool CloseAndDelete(QivFile &file) {
    Close(file);
    return false;
}

} // namespace

const FileKind kDiskKind = {
    .read = ReadBuffered,
    .write = Write,
    .seek = Seek,
    .fill = Fill,
    .flush = Flush,
    .close = Close,
    .closeAndDelete = CloseAndDelete,
};

bool OpenDisk(QivFile &file, const char *name) noexcept {
    file.named = 1;
    // Before the file: when memory is exhausted, an existing file is not emptied.
    if (!AllocateBuffer(file))
        return false;
    if (OpenNamedStream(file, name))
        return true;
    GlobalFree(file.hBuf);
    return false;
}

bool WrapStream(QivFile &file, std::FILE *stream) noexcept {
    if (!stream || !AllocateBuffer(file))
        return false;
    if (Attach(file, stream))
        return true;
    GlobalFree(file.hBuf);
    return false;
}

intptr_t DiskFileExists(const char *name) noexcept {
    std::FILE *stream = name ? diskOperations->open(name, "r") : nullptr;
    if (!stream)
        return -1;
    diskOperations->close(stream);
    return 1;
}

intptr_t DeleteDiskFile(const char *name) noexcept {
    return name && diskOperations->remove(name) == 0 ? 1 : 0;
}

int32_t unxSeek(std::FILE *stream, int32_t offset, int32_t whence) noexcept {
    static_assert(SEEK_SET == kFromStart && SEEK_CUR == kFromCurrent && SEEK_END == kFromEnd);
    if (!stream || whence < kFromStart || whence > kFromEnd)
        return -1;
    if (diskOperations->seek(stream, offset, whence) != 0)
        return -1;
    const int64_t position = diskOperations->tell(stream);
    return position >= 0 && position <= INT32_MAX ? static_cast<int32_t>(position) : -1;
}

void ReleaseDisk(QivFile &file) noexcept {
    if (file.fp && file.fp != stdin && file.fp != stdout)
        diskOperations->close(file.fp);
    GlobalFree(file.hBuf);
}

} // namespace kowen
