#include "io/host_file.h"

#include "io/disk_file.h"
#include "io/file_kind.h"

#include "platform/host_call.h"

namespace kowen {
namespace {

int32_t Call(const QivFile &file, int32_t operation, void *argument, int32_t count) {
    const HostCall call;
    return static_cast<int32_t>(file.ioProc(file.ioHandle, operation, argument, count));
}

// Hardened: a negative count gives 0 and never reaches the procedure; the same for writing.
// Test: HostFile.CountsOfZeroReachTheHostAndNegativeOnesDoNot.
int32_t Read(QivFile &file, void *buffer, int32_t count) {
    return count < 0 ? 0 : Call(file, KOWEN_IO_READ, buffer, count);
}

int32_t Write(QivFile &file, const void *buffer, int32_t count) {
    if (count < 0)
        return 0;
    const int32_t answer = Call(file, KOWEN_IO_WRITE, const_cast<void *>(buffer), count);
    if (count > 0 && answer < count)
        file.lost = 1;
    else if (count > 1) // 1 may also mean "done"
        file.hostCounts = 1;
    return answer;
}

int32_t Seek(QivFile &file, int32_t offset, int32_t whence) {
    return Call(file, KOWEN_IO_SEEK, &offset, whence);
}

int32_t Fill(QivFile &file) {
    return Fail(file); // there is no buffer
}

int32_t Flush(QivFile &) {
    return 0;
}

int32_t Close(QivFile &file) {
    const int32_t answer = Call(file, KOWEN_IO_CLOSE, nullptr, 0);
    ReleaseDisk(file);
    // Hardened: a host that took only a part is not said to have the file.
    // Test: HostFile.AWriteCutShortIsLostAndTheCloseSaysSo.
    return answer == 0 && HasLost(file) ? -1 : answer;
}

bool CloseAndDelete(QivFile &file) {
    Call(file, KOWEN_IO_CLOSE, nullptr, KOWEN_MODE_DELETE);
    ReleaseDisk(file);
    return true;
}

} // namespace

const FileKind kHostKind = {
    .read = Read,
    .write = Write,
    .seek = Seek,
    .fill = Fill,
    .flush = Flush,
    .close = Close,
    .closeAndDelete = CloseAndDelete,
};

bool HasProcedure(const QivIODesc *descriptor) noexcept {
    return descriptor && descriptor->procedure;
}

intptr_t AskHost(const QivIODesc &descriptor, int32_t operation, const char *name) noexcept {
    const HostCall call;
    return descriptor.procedure(0, operation, const_cast<char *>(name), 0);
}

bool OpenOnHost(QivFile &file, const char *name, const QivIODesc &descriptor) noexcept {
    file.ioProc = descriptor.procedure;
    const auto context = reinterpret_cast<uintptr_t>(descriptor.location);
    const HostCall call;
    file.ioHandle = static_cast<uintptr_t>(
        file.ioProc(context, KOWEN_IO_OPEN, const_cast<char *>(name), file.mode));
    return file.ioHandle != 0;
}

} // namespace kowen
