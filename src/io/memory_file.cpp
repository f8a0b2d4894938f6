#include "io/memory_file.h"

#include "io/file_kind.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

// What ends a memory file that was opened for writing.
constexpr unsigned char kTerminator = 255;

// The caller's pointer may be of any pointer type, so it is read and written as bytes.
void *CallersPointer(const void *cell) {
    void *data;
    std::memcpy(&data, cell, sizeof data);
    return data;
}

void SetCallersPointer(QivFile &file, void *data) {
    std::memcpy(file.ppData, &data, sizeof data);
}

// GlobalReAlloc has freed the block: leave nothing that points at it.
void ResetBlock(QivFile &file) {
    file.hBuf = 0;
    SetCallersPointer(file, nullptr);
    file.bufPos = 0;
    file.bufLast = -1;
    file.bufMax = -1;
}

// Makes newMax the block's last index. Valid bytes are never cut off.
bool GrowTo(QivFile &file, int64_t newMax) {
    if (newMax < file.bufLast || newMax >= INT32_MAX)
        return false;
    const MemoryHandle grown =
        GlobalReAlloc(file.hBuf, static_cast<uint32_t>(newMax + 1), kGlobalFlags);
    if (!grown) {
        ResetBlock(file);
        return false;
    }
    file.hBuf = grown;
    SetCallersPointer(file, GlobalLock(grown));
    file.bufMax = static_cast<int32_t>(newMax);
    file.fileLength = file.bufLast;
    file.dirty = 0;
    return true;
}

// Grows by the whole steps after which index end, the place after the last byte, is inside. Each
// step is taken once the block before it is full: the length is what the last of them finds.
bool GrowByStepsTo(QivFile &file, int64_t end) {
    if (file.growBy <= 0)
        return false;
    const int64_t steps = (end - file.bufMax + file.growBy - 1) / file.growBy;
    if (!GrowTo(file, file.bufMax + steps * file.growBy))
        return false;
    file.fileLength = std::max(file.fileLength, file.bufMax - file.growBy);
    return true;
}

// The index behind bufMax, which is -2 when a block of zeros was trimmed.
int32_t FirstBehind(const QivFile &file) {
    return std::max(file.bufMax + 1, 0);
}

// A block that was trimmed, or given with size 0, has room for the byte behind bufMax.
bool HasCapacity(const QivFile &file) {
    if (file.bufPos <= file.bufMax)
        return true;
    return file.bufPos == FirstBehind(file) &&
           static_cast<uint32_t>(file.bufPos) < GlobalSize(file.hBuf);
}

// Before count bytes are stored where the block has no room, as after a seek past its end.
bool EnsureCapacity(QivFile &file, int32_t count) {
    if (file.bufPos == FirstBehind(file)) {
        if (!GrowByStepsTo(file, int64_t{file.bufPos} + count))
            return false;
        file.fileLength = std::max(file.fileLength, file.bufPos); // the first byte made the step
        return true;
    }
    return file.growBy >= 0 && GrowTo(file, int64_t{file.bufPos} + file.growBy);
}

// A place beyond the block makes it grow to offset + growBy + 1 bytes.
int32_t SeekFromStart(QivFile &file, int32_t offset) {
    if (offset > file.bufMax && (file.growBy < 0 || !GrowTo(file, int64_t{offset} + file.growBy)))
        return Fail(file);
    file.bufPos = offset;
    return offset;
}

// Hardened: a place before the first byte, counted from the end, gives -1.
// Test: QivSeekMemory.FromTheEndGoesAnywhereButBeforeTheStart.
int32_t SeekFromEnd(QivFile &file, int32_t offset) {
    const int64_t position = int64_t{offset} + file.bufLast + 1;
    if (position < 0 || position > INT32_MAX)
        return Fail(file);
    file.bufPos = static_cast<int32_t>(position);
    return file.bufPos;
}

int32_t TrimmedSize(const QivFile &file, int32_t size) {
    const auto *data = Lock<const unsigned char>(file.hBuf);
    while (size != 0 && data[size - 1] == 0)
        --size;
    return size - 1;
}

// Hardened: a block that is full and cannot grow, because growBy is not above 0 or the size would
// not fit in 31 bits, gives -1 and keeps its bytes.
// Tests: WriteMemory.AFullBlockThatCannotGrowFailsAndKeepsItsBytes and
// ...ASizeBeyondThirtyOneBitsFailsAndKeepsTheBlock.
int32_t Write(QivFile &file, const void *buffer, int32_t count) {
    const auto *source = static_cast<const unsigned char *>(buffer);
    bool stepped = false;
    for (int32_t left = count; left > 0;) {
        if (!HasCapacity(file)) {
            if (file.error == kIoError)
                return 0;
            if (!EnsureCapacity(file, left))
                return Fail(file);
            stepped = true;
        }
        const int32_t run = std::min(left, std::max(file.bufMax - file.bufPos + 1, 1));
        std::memcpy(Lock<unsigned char>(file.hBuf) + file.bufPos, source,
                    static_cast<std::size_t>(run));
        source += run;
        left -= run;
        file.bufPos += run;
        file.bufLast = std::max(file.bufLast, file.bufPos - 1);
        // The byte that fills the block before the last step is written back by that step.
        file.dirty = stepped && file.bufPos - 1 == file.fileLength ? 0 : 1;
        if (file.bufPos <= file.bufMax)
            continue;
        if (file.error == kIoError)
            return 0;
        if (!GrowByStepsTo(file, int64_t{file.bufPos} + left))
            return Fail(file);
        stepped = true;
    }
    return std::max(count, 0);
}

// Grows the block to bufMax + growBy + 1 bytes. When memory is exhausted the block is lost, and the
// caller's pointer is null then.
int32_t Flush(QivFile &file) {
    if (file.growBy <= 0 || !GrowTo(file, int64_t{file.bufMax} + file.growBy))
        return Fail(file);
    return 1;
}

// whence is kFromStart with an offset of at least 0, or kFromEnd; anything else gives -1.
int32_t SeekOutside(QivFile &file, int32_t offset, int32_t whence) {
    if (whence == kFromStart)
        return SeekFromStart(file, offset);
    return whence == kFromEnd ? SeekFromEnd(file, offset) : Fail(file);
}

int32_t Seek(QivFile &file, int32_t offset, int32_t whence) {
    return SeekBuffered(file, offset, whence, SeekOutside);
}

int32_t Fill(QivFile &) {
    return 0; // everything is in the buffer
}

int32_t Close(QivFile &file) {
    if (!IsWritable(file))
        return 0;
    const FileKind &kind = KindOf(file); // through a document stream nothing is written
    kind.seek(file, 0, kFromEnd);
    return kind.write(file, &kTerminator, 1) == 1 ? 0 : -1;
}

bool CloseAndDelete(QivFile &file) {
    Close(file);
    return false;
}

} // namespace

const FileKind kMemoryKind = {
    .read = ReadBuffered,
    .write = Write,
    .seek = Seek,
    .fill = Fill,
    .flush = Flush,
    .close = Close,
    .closeAndDelete = CloseAndDelete,
};

bool OpenMemory(QivFile &file, QivIODesc *descriptor) noexcept {
    if (!descriptor || !descriptor->location)
        return false;
    file.ppData = descriptor->location;
    file.hBuf = GlobalHandle(CallersPointer(file.ppData));
    if (!file.hBuf)
        return false;
    const uint32_t block = std::min<uint32_t>(GlobalSize(file.hBuf), INT32_MAX);
    int32_t size = std::clamp(descriptor->size, 0, static_cast<int32_t>(block));
    file.bufLast = -1;
    if (!(file.mode & KOWEN_MODE_CREATE)) {
        size = TrimmedSize(file, size);
        descriptor->size = size;
        file.bufLast = std::max(size - 1, -1);
    }
    file.bufMax = size - 1;
    file.growBy = descriptor->growBy;
    file.filePos = kMemoryFilePos;
    file.fileLength = file.bufLast;
    return true;
}

} // namespace kowen
