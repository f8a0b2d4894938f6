#include "io/file_handle.h"

#include "io/disk_file.h"
#include "io/host_file.h"
#include "io/memory_file.h"
#include "io/typed_io.h"

#include <cstring>

namespace kowen {
namespace {

constexpr unsigned char kEndMarker = 255;

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

int32_t CloseMemory(FileHandle handle, const QivFile &file) {
    if (!IsWritable(file))
        return 0;
    qivSeek(handle, 0, kFromEnd);
    return qivWrite(handle, &kEndMarker, 1) == 1 ? 0 : -1;
}

int32_t CloseTarget(FileHandle handle, QivFile &file) {
    if (file.ioProc) {
        const int32_t answer = CloseOnHost(file);
        ReleaseDisk(file);
        // Hardened: a host that took only a part is not said to have the file.
        return answer == 0 && HasLost(file) ? -1 : answer;
    }
    return IsMemoryFile(file) ? CloseMemory(handle, file) : CloseDisk(file);
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
        result = CloseTarget(file, *record);
    }
    GlobalFree(file);
    return result;
}

int32_t qivCloseandDelete(FileHandle file, const char *name) noexcept {
    void *ownedData;
    bool isHosts;
    {
        LockedFile record(file);
        if (!record)
            return -1;
        ownedData = record->ownedData;
        isHosts = record->ioProc != nullptr;
        if (isHosts) {
            DeleteOnHost(*record);
            ReleaseDisk(*record);
        }
    }
    if (isHosts) {
        GlobalFree(file);
        return 0;
    }
    // Hardened: closed before the block is freed, for the close of a memory file still
    // writes to its block. What is left afterwards is the same.
    qivClose(file);
    if (ownedData)
        FreeOwnedData(ownedData);
    else
        qivOpen(name, nullptr, KOWEN_MODE_DELETE);
    return 0;
}

} // namespace kowen
