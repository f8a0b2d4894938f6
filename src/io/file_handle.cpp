#include "io/file_handle.h"

#include "io/disk_file.h"
#include "io/file_kind.h"
#include "io/host_file.h"
#include "io/memory_file.h"
#include "io/typed_io.h"

#include <cstring>

namespace kowen {
namespace {

bool HasBit(int32_t mode, int32_t bit) {
    return mode != kModeWrap && (mode & bit) != 0;
}

bool OpenWrapped(QivFile &file, const QivIODesc *descriptor) {
    file.external = 1;
    if (!HasProcedure(descriptor))
        return descriptor && WrapStream(file, static_cast<std::FILE *>(descriptor->stream));
    file.ioProc = descriptor->procedure;
    file.ioHandle = descriptor->handle;
    return true;
}

bool OpenTarget(QivFile &file, const char *name, QivIODesc *descriptor) {
    if (file.mode == kModeWrap)
        return OpenWrapped(file, descriptor);
    if (HasProcedure(descriptor) && OpenOnHost(file, name, *descriptor))
        return true;
    if (name && *name)
        return OpenDisk(file, name);
    // A refused open without a name: the descriptor's location is the host's context, no block.
    return !file.ioProc && OpenMemory(file, descriptor);
}

void FreeOwnedData(void *cell) {
    void *data;
    std::memcpy(&data, cell, sizeof data);
    GlobalFree(GlobalHandle(data));
    data = nullptr;
    std::memcpy(cell, &data, sizeof data);
}

} // namespace

intptr_t qivOpen(const char *name, QivIODesc *descriptor, int32_t mode) noexcept {
    if (HasBit(mode, kModeExists))
        return HasProcedure(descriptor) ? AskHost(*descriptor, KOWEN_IO_EXISTS, name)
                                        : DiskFileExists(name);
    if (HasBit(mode, KOWEN_MODE_DELETE))
        return HasProcedure(descriptor) ? AskHost(*descriptor, KOWEN_IO_DELETE, name)
                                        : DeleteDiskFile(name);
    const FileHandle handle = GlobalAlloc(kGlobalFlags, sizeof(QivFile));
    if (!handle)
        return 0;
    auto *file = Lock<QivFile>(handle);
    file->mode = mode;
    file->lineFormat = kLinesEndLf;
    const bool isOpen = OpenTarget(*file, name, descriptor);
    GlobalUnlock(handle);
    if (isOpen)
        return static_cast<intptr_t>(handle);
    GlobalFree(handle);
    return 0;
}

bool qivHasLost(FileHandle file) noexcept {
    const LockedFile record(file);
    return record && HasLost(*record);
}

int32_t qivClose(FileHandle file) noexcept {
    int32_t result;
    {
        LockedFile record(file);
        if (!record)
            return -1;
        result = KindOf(*record).close(*record);
    }
    GlobalFree(file);
    return result;
}

// Hardened: closed before the block is freed, for the close of a memory file still writes to its
// block. What is left afterwards is the same.
// Test: QivCloseandDelete.AMemoryFilesOwnBlockIsFreedAfterItsLastGrowth.
int32_t qivCloseandDelete(FileHandle file, const char *name) noexcept {
    void *ownedData;
    bool isDeleted;
    {
        LockedFile record(file);
        if (!record)
            return -1;
        isDeleted = KindOf(*record).closeAndDelete(*record);
        ownedData = record->ownedData;
    }
    GlobalFree(file);
    if (isDeleted)
        return 0;
    if (ownedData)
        FreeOwnedData(ownedData);
    else
        DeleteDiskFile(name);
    return 0;
}

int32_t qivRead(FileHandle file, void *buffer, int32_t count) noexcept {
    LockedFile record(file);
    return record ? KindOf(*record).read(*record, buffer, count) : 0;
}

int32_t qivWrite(FileHandle file, const void *buffer, int32_t count) noexcept {
    LockedFile record(file);
    return record ? KindOf(*record).write(*record, buffer, count) : 0;
}

int32_t qivSeek(FileHandle file, int32_t offset, int32_t whence) noexcept {
    LockedFile record(file);
    return record ? KindOf(*record).seek(*record, offset, whence) : -1;
}

int32_t FillQivIOBuf(FileHandle file) noexcept {
    LockedFile record(file);
    return record ? KindOf(*record).fill(*record) : -1;
}

int32_t FlushQivIO(FileHandle file) noexcept {
    LockedFile record(file);
    return record ? KindOf(*record).flush(*record) : -1;
}

} // namespace kowen
