// Streams inside a compound document: a file of 512-byte sectors, sector n at (n + 1) * 512, each
// stream a chain of sectors through a table that names every sector's successor. Small streams
// are chains of 64-byte sectors inside one such stream, the mini stream, with a table of its own.
#include "io/file_kind.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr int32_t kSectorBytes = 512;
constexpr int32_t kMiniSectorBytes = 64;
constexpr int32_t kSmallestBigStream = 4096;
constexpr int32_t kNoSector = -1;

struct SectorTable {
    const unsigned char *entries;
    int32_t count;
};

SectorTable TableOf(MemoryHandle handle) {
    const uint32_t count = GlobalSize(handle) / sizeof(int32_t);
    return {Lock<const unsigned char>(handle), static_cast<int32_t>(count)};
}

bool Contains(const SectorTable &table, int32_t sector) {
    return sector >= 0 && sector < table.count;
}

// Entries are in the host's byte order: who opened the document has converted them.
int32_t Successor(const SectorTable &table, int32_t sector) {
    if (!Contains(table, sector))
        return kNoSector;
    int32_t next;
    std::memcpy(&next, table.entries + std::size_t{sizeof next} * static_cast<uint32_t>(sector),
                sizeof next);
    return next;
}

// The sector that many steps along a chain; kNoSector when the chain ends before. A chain with
// more steps than the table has entries runs in a circle.
int32_t Follow(const SectorTable &table, int32_t sector, int64_t steps) {
    if (steps >= table.count)
        return kNoSector;
    for (; steps > 0 && sector >= 0; --steps)
        sector = Successor(table, sector);
    return Contains(table, sector) ? sector : kNoSector;
}

bool HasBigSectors(const QivFile &file) {
    return file.docSize >= kSmallestBigStream;
}

int32_t StreamSectorBytes(const QivFile &file) {
    return HasBigSectors(file) ? kSectorBytes : kMiniSectorBytes;
}

// Where in the underlying file a byte of one of the stream's sectors is; -1 when nowhere.
int64_t FilePosition(const QivFile &file, int32_t sector, int32_t offset) {
    if (HasBigSectors(file))
        return (int64_t{sector} + 1) * kSectorBytes + offset;
    const int64_t inMiniStream = int64_t{sector} * kMiniSectorBytes + offset;
    const int32_t big =
        Follow(TableOf(file.hFat), file.miniStreamStart, inMiniStream / kSectorBytes);
    if (big == kNoSector)
        return -1;
    return (int64_t{big} + 1) * kSectorBytes + inMiniStream % kSectorBytes;
}

// Reads within one sector; 0 when the sector cannot be reached.
int32_t ReadPiece(QivFile &file, int64_t position, unsigned char *buffer, int32_t count) {
    const FileKind &below = KindOfFile(file);
    if (position < 0 || position > INT32_MAX)
        return 0;
    if (below.seek(file, static_cast<int32_t>(position), kFromStart) == -1)
        return 0;
    return std::max(below.read(file, buffer, count), 0);
}

int32_t ReadChain(QivFile &file, unsigned char *buffer, int32_t count) {
    const SectorTable table = TableOf(HasBigSectors(file) ? file.hFat : file.hMiniFat);
    const int32_t sectorBytes = StreamSectorBytes(file);
    int64_t index = file.docPos / sectorBytes;
    int32_t sector = Follow(table, file.docStart, index);
    int32_t total = 0;
    while (total < count && Contains(table, sector) && index < table.count) {
        const int32_t offset = file.docPos % sectorBytes;
        const int32_t piece = std::min(sectorBytes - offset, count - total);
        const int32_t got =
            ReadPiece(file, FilePosition(file, sector, offset), buffer + total, piece);
        total += got;
        file.docPos += got;
        if (got < piece)
            break;
        sector = Successor(table, sector);
        ++index;
    }
    return total;
}

int32_t Read(QivFile &file, void *buffer, int32_t count) {
    if (file.docPos < 0)
        return 0;
    count = std::min(count, std::max(file.docSize, 0) - file.docPos);
    if (count <= 0)
        return 0;
    file.isDoc = 1; // whoever reads a stream has one
    return ReadChain(file, static_cast<unsigned char *>(buffer), count);
}

// Hardened: a write through a document stream would land in some other stream's sector.
// Test: QivWrite.ADocumentStreamCannotBeWritten.
int32_t Write(QivFile &file, const void *, int32_t) {
    return Fail(file);
}

int32_t Seek(QivFile &file, int32_t offset, int32_t whence) {
    if (whence < kFromStart || whence > kFromEnd)
        return -1;
    const int32_t size = std::max(file.docSize, 0);
    int64_t target = offset;
    if (whence == kFromCurrent)
        target = int64_t{file.docPos} + offset;
    else if (whence == kFromEnd)
        target = int64_t{size} - offset;
    file.docPos = static_cast<int32_t>(std::clamp<int64_t>(target, 0, size));
    return file.docPos;
}

// The rest is the file's below.
int32_t Fill(QivFile &file) {
    return KindOfFile(file).fill(file);
}

int32_t Flush(QivFile &file) {
    return KindOfFile(file).flush(file);
}

int32_t Close(QivFile &file) {
    return KindOfFile(file).close(file);
}

bool CloseAndDelete(QivFile &file) {
    return KindOfFile(file).closeAndDelete(file);
}

} // namespace

const FileKind kDocumentKind = {
    .read = Read,
    .write = Write,
    .seek = Seek,
    .fill = Fill,
    .flush = Flush,
    .close = Close,
    .closeAndDelete = CloseAndDelete,
};

int32_t docRead(FileHandle file, void *buffer, int32_t count) noexcept {
    LockedFile record(file);
    return record ? Read(*record, buffer, count) : 0;
}

int32_t docSeek(FileHandle file, int32_t offset, int32_t whence) noexcept {
    LockedFile record(file);
    return record ? Seek(*record, offset, whence) : -1;
}

} // namespace kowen
