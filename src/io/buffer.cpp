// Reading, writing, filling and flushing: each kind of file behind the same four calls.
#include "io/disk_file.h"
#include "io/host_file.h"
#include "io/memory_file.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

int32_t Fill(QivFile &file) {
    if (IsMemoryFile(file))
        return 0;
    if (file.ioProc)
        return Fail(file);
    FlushDisk(file); // a failure is kept in the error state; the fill goes on
    return LoadDiskBuffer(file);
}

int32_t Flush(QivFile &file) {
    if (file.ioProc)
        return 0;
    return IsMemoryFile(file) ? FlushMemory(file) : FlushDisk(file);
}

int32_t ReadBuffered(QivFile &file, void *buffer, int32_t count) {
    auto *target = static_cast<unsigned char *>(buffer);
    for (int32_t left = count; left > 0;) {
        if (file.bufPos > file.bufLast) {
            const int32_t loaded = Fill(file);
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
    return count;
}

} // namespace

int32_t FillQivIOBuf(FileHandle file) noexcept {
    LockedFile record(file);
    return record ? Fill(*record) : -1;
}

int32_t FlushQivIO(FileHandle file) noexcept {
    LockedFile record(file);
    return record ? Flush(*record) : -1;
}

int32_t qivRead(FileHandle file, void *buffer, int32_t count) noexcept {
    LockedFile record(file);
    if (!record)
        return 0;
    if (record->ioProc)
        return ReadFromHost(*record, buffer, count);
    if (record->isDoc)
        return docRead(file, buffer, count);
    return count > 0 ? ReadBuffered(*record, buffer, count) : 0;
}

int32_t qivWrite(FileHandle file, const void *buffer, int32_t count) noexcept {
    LockedFile record(file);
    if (!record)
        return 0;
    if (record->ioProc)
        return WriteToHost(*record, buffer, count);
    // Hardened: a write through a document stream would land in some other stream's sector.
    if (record->isDoc)
        return Fail(*record);
    if (count <= 0)
        return 0;
    return IsMemoryFile(*record) ? WriteMemory(*record, buffer, count)
                                 : WriteDisk(*record, buffer, count);
}

} // namespace kowen
