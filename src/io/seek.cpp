#include "io/disk_file.h"
#include "io/disk_operations.h"
#include "io/host_file.h"
#include "io/memory_file.h"

namespace kowen {
namespace {

bool IsInBuffer(const QivFile &file, int64_t position) {
    return position >= file.bufBase && position <= int64_t{file.bufBase} + file.bufLast;
}

// Whether a position from the start may be asked for at all. The length of a pipe is not known;
// SeekDisk says what it reaches.
bool IsAllowed(const QivFile &file, int64_t position) {
    if (position < 0 || position > INT32_MAX)
        return false;
    return position <= file.fileLength || IsWritable(file) || file.sequential;
}

int32_t Seek(QivFile &file, int32_t offset, int32_t whence) {
    const int64_t current = int64_t{file.bufBase} + file.bufPos;
    int64_t target = offset;
    if (whence == kFromCurrent) {
        if (offset == 0)
            return current <= INT32_MAX ? static_cast<int32_t>(current) : Fail(file);
        target += current;
        whence = kFromStart;
    }
    if (whence == kFromStart && !IsAllowed(file, target))
        return Fail(file);
    const auto position = static_cast<int32_t>(target);
    if (whence == kFromStart && IsInBuffer(file, position)) {
        file.bufPos = position - file.bufBase;
        return position;
    }
    return IsMemoryFile(file) ? SeekMemory(file, position, whence)
                              : SeekDisk(file, position, whence);
}

} // namespace

int32_t qivSeek(FileHandle file, int32_t offset, int32_t whence) noexcept {
    LockedFile record(file);
    if (!record)
        return -1;
    if (record->ioProc)
        return SeekOnHost(*record, offset, whence);
    if (record->isDoc)
        return docSeek(file, offset, whence);
    return Seek(*record, offset, whence);
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

} // namespace kowen
