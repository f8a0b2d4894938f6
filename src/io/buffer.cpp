// Reading and seeking of the kinds of files that have a buffer.
#include "io/file_kind.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

bool IsInBuffer(const QivFile &file, int64_t position) {
    return position >= file.bufBase && position <= int64_t{file.bufBase} + file.bufLast;
}

// Whether a position from the start may be asked for at all. The length of a pipe is not known;
// the disk's own seek says what it reaches.
bool IsAllowed(const QivFile &file, int64_t position) {
    if (position < 0 || position > INT32_MAX)
        return false;
    return position <= file.fileLength || IsWritable(file) || file.sequential;
}

} // namespace

int32_t ReadBuffered(QivFile &file, void *buffer, int32_t count) noexcept {
    const FileKind &kind = KindOfFile(file);
    auto *target = static_cast<unsigned char *>(buffer);
    for (int32_t left = count; left > 0;) {
        if (file.bufPos > file.bufLast) {
            const int32_t loaded = kind.fill(file);
            if (loaded < 1)
                return loaded == 0 ? count - left : -1;
        }
        const int32_t run = std::min(left, file.bufLast - file.bufPos + 1);
        std::memcpy(target, Lock<unsigned char>(file.hBuf) + file.bufPos,
                    static_cast<std::size_t>(run));
        target += run;
        left -= run;
        file.bufPos += run;
    }
    return std::max(count, 0);
}

int32_t SeekBuffered(QivFile &file, int32_t offset, int32_t whence,
                     int32_t (*seekOutside)(QivFile &, int32_t, int32_t)) noexcept {
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
    return seekOutside(file, position, whence);
}

} // namespace kowen
