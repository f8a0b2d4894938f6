#include "io/typed_io.h"

#include "io/file_record.h"

namespace kowen {
namespace {

constexpr char kCr = '\r';
constexpr char kLf = '\n';

// After a CR: an LF belongs to the same line end, anything else stays in the file. Returns the
// result of the read.
int32_t SkipLfAfterCr(FileHandle file) {
    char next;
    const int32_t got = qivRead(file, &next, 1);
    if (got > 0 && next != kLf)
        qivSeek(file, -1, kFromCurrent);
    return got;
}

int32_t FindLineFormat(FileHandle file) {
    char c;
    while (qivRead(file, &c, 1) > 0) {
        if (c == kLf)
            return kLinesEndLf;
        if (c == kCr)
            return qivRead(file, &c, 1) > 0 && c == kLf ? kLinesEndCrLf : kLinesEndCr;
    }
    return -1;
}

int32_t WriteLineEnd(FileHandle file, uint16_t lineFormat) {
    if (lineFormat == kLinesEndLf)
        return qivWrite(file, &kLf, 1);
    const int32_t written = qivWrite(file, &kCr, 1);
    if (lineFormat == kLinesEndCr || written != 1)
        return written;
    return qivWrite(file, &kLf, 1);
}

uint16_t LineFormatOf(FileHandle file) {
    LockedFile record(file);
    return record ? record->lineFormat : kLinesEndLf;
}

} // namespace

int32_t qivReadLine(FileHandle file, char *buffer, int32_t size) noexcept {
    if (size > 0)
        buffer[0] = '\0';
    int32_t stored = 0;
    int32_t got = 1;
    while (stored < size) {
        char c;
        got = qivRead(file, &c, 1);
        if (got < 1)
            break;
        if (c == kCr)
            got = SkipLfAfterCr(file);
        if (c == kCr || c == kLf)
            break;
        buffer[stored++] = c;
        if (stored < size)
            buffer[stored] = '\0';
    }
    return got > 0 ? stored : -1;
}

int32_t qivWriteLine(FileHandle file, const char *buffer, int32_t length) noexcept {
    const int32_t written = qivWrite(file, buffer, length);
    const int32_t ended = WriteLineEnd(file, LineFormatOf(file));
    return ended != 1 ? ended : written;
}

int32_t qivSetLineFormat(FileHandle file, uint16_t lineFormat) noexcept {
    LockedFile record(file);
    if (record)
        record->lineFormat = lineFormat;
    return 0;
}

int32_t qivGetLineFormat(FileHandle file) noexcept {
    const int32_t format = FindLineFormat(file);
    qivSeek(file, 0, kFromStart);
    return format;
}

} // namespace kowen
