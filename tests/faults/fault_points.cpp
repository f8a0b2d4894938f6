#include "faults/fault_points.h"

#include <algorithm>
#include <cerrno>
#include <clocale>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::test {
namespace {

struct Switch {
    bool on;
    int64_t failing;
    int64_t room; ///< bytes that fit on the disk
    FaultReport report;
};
Switch faults = {};
int64_t liveBlocks = 0;
int64_t heapCalls = 0;

bool IsRefused(int64_t call) {
    if (faults.failing == 0 || call < faults.failing)
        return false;
    switch (faults.report.mode) {
    case FaultMode::kOnlyThat:
        return call == faults.failing;
    case FaultMode::kThatAndNext:
        return call <= faults.failing + 1;
    default:
        return true;
    }
}

void NoteFailure(const char *name) {
    if (faults.report.failures++ == 0)
        faults.report.first = name;
}

/// The bytes of a write that the disk takes.
std::size_t Fitting(std::size_t bytes, const char *name) {
    if (!faults.on || faults.report.kind != FaultKind::kDiskFull)
        return bytes;
    faults.report.points += static_cast<int64_t>(bytes);
    if (faults.failing == 0)
        return bytes;
    const std::size_t fits = std::min(bytes, static_cast<std::size_t>(faults.room));
    faults.room -= static_cast<int64_t>(fits);
    if (fits < bytes)
        NoteFailure(name);
    // Space may come back, as when another program deletes its files.
    if (fits < bytes && faults.report.mode == FaultMode::kOnlyThat)
        faults.room = INT64_MAX;
    return fits;
}

} // namespace

std::string NameOf(FaultKind kind) {
    constexpr const char *kNames[] = {"heap",        "file",       "short transfer",
                                      "disk full",   "host: 0",    "host: -1",
                                      "host: fewer", "host: more", "cancel"};
    return kNames[static_cast<int>(kind)];
}

std::string NameOf(FaultMode mode) {
    constexpr const char *kNames[] = {"only that", "that and next", "that and later"};
    return kNames[static_cast<int>(mode)];
}

bool IsHostKind(FaultKind kind) {
    return kind >= FaultKind::kHostZero && kind <= FaultKind::kHostMore;
}

void ArmFaults(FaultKind kind, FaultMode mode, int64_t k) {
    faults = {true, k, k - 1, {kind, mode, 0, 0, false, 0, ""}};
}

FaultReport DisarmFaults() {
    faults.on = false;
    return faults.report;
}

bool FaultHits(FaultKind kind, const char *name) {
    if (!faults.on || faults.report.kind != kind)
        return false;
    if (!IsRefused(++faults.report.points))
        return false;
    NoteFailure(name);
    errno = kind == FaultKind::kHeap ? ENOMEM : EIO;
    return true;
}

FaultKind ArmedHostKind() {
    return faults.on && IsHostKind(faults.report.kind) ? faults.report.kind : FaultKind::kCancel;
}

int64_t LiveBlocks() {
    return liveBlocks;
}

int64_t HeapCalls() {
    return heapCalls;
}

int OpenDescriptors() {
    constexpr int kMost = 64;
    int open = 0;
    for (int descriptor = 0; descriptor < kMost; ++descriptor)
        open += fcntl(descriptor, F_GETFD) != -1 ? 1 : 0;
    return open;
}

namespace {

bool HeapFails(const char *name) {
    ++heapCalls;
    return FaultHits(FaultKind::kHeap, name);
}

bool FileFails(const char *name) {
    return FaultHits(FaultKind::kFile, name);
}

/// What of a transfer is done.
std::size_t Done(std::size_t count, const char *name) {
    return FaultHits(FaultKind::kShort, name) ? count / 2 : count;
}

void *Counted(void *block) {
    liveBlocks += block != nullptr ? 1 : 0;
    return block;
}

} // namespace
} // namespace kowen::test

using namespace kowen::test;

// What the linker puts in place of the C library's functions, and the functions themselves.
extern "C" {

void *__real_malloc(std::size_t size);
void *__real_calloc(std::size_t count, std::size_t size);
void *__real_realloc(void *block, std::size_t size);
void __real_free(void *block);

void *__wrap_malloc(std::size_t size) {
    return HeapFails("malloc") ? nullptr : Counted(__real_malloc(size));
}
void *__wrap_calloc(std::size_t count, std::size_t size) {
    return HeapFails("calloc") ? nullptr : Counted(__real_calloc(count, size));
}
void *__wrap_realloc(void *block, std::size_t size) {
    if (HeapFails("realloc"))
        return nullptr;
    void *resized = __real_realloc(block, size);
    return block == nullptr ? Counted(resized) : resized;
}
void __wrap_free(void *block) {
    liveBlocks -= block != nullptr ? 1 : 0;
    __real_free(block);
}

locale_t __real_newlocale(int mask, const char *name, locale_t base);
locale_t __wrap_newlocale(int mask, const char *name, locale_t base) {
    if (HeapFails("newlocale"))
        return nullptr;
    return __real_newlocale(mask, name, base);
}

// Only the message of an exhausted heap; it must not fill the test's own output.
static int PrintMessage(const char *format, std::va_list arguments) {
    if (!faults.on)
        return std::vprintf(format, arguments);
    ++faults.report.messages;
    return 0;
}
int __wrap_printf(const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int printed = PrintMessage(format, arguments);
    va_end(arguments);
    return printed;
}
// What printf is where a compiler looks after buffers.
int __wrap___printf_chk([[maybe_unused]] int level, const char *format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    const int printed = PrintMessage(format, arguments);
    va_end(arguments);
    return printed;
}

// KOWEN_WRAP_FILE(type, name, parameters, arguments, failure): a call that fails as a whole.
#define KOWEN_WRAP_FILE(type, name, parameters, arguments, failure)  \
    type __real_##name parameters;                                   \
    type __wrap_##name parameters {                                  \
        return FileFails(#name) ? failure : __real_##name arguments; \
    }

KOWEN_WRAP_FILE(std::FILE *, fopen, (const char *name, const char *mode), (name, mode), nullptr)
KOWEN_WRAP_FILE(std::FILE *, fopen64, (const char *name, const char *mode), (name, mode), nullptr)
KOWEN_WRAP_FILE(int, fseeko, (std::FILE * f, long offset, int whence), (f, offset, whence), -1)
KOWEN_WRAP_FILE(int, fseeko64, (std::FILE * f, int64_t offset, int whence), (f, offset, whence), -1)
KOWEN_WRAP_FILE(long, ftello, (std::FILE * f), (f), -1)
KOWEN_WRAP_FILE(int64_t, ftello64, (std::FILE * f), (f), -1)
KOWEN_WRAP_FILE(int, stat, (const char *name, void *status), (name, status), -1)
KOWEN_WRAP_FILE(int, stat64, (const char *name, void *status), (name, status), -1)
KOWEN_WRAP_FILE(int, fstat, (int file, void *status), (file, status), -1)
KOWEN_WRAP_FILE(int, fstat64, (int file, void *status), (file, status), -1)
KOWEN_WRAP_FILE(int, open, (const char *name, int flags, unsigned mode), (name, flags, mode), -1)
KOWEN_WRAP_FILE(int, open64, (const char *name, int flags, unsigned mode), (name, flags, mode), -1)
KOWEN_WRAP_FILE(int, fcntl, (int file, int command, void *value), (file, command, value), -1)
KOWEN_WRAP_FILE(int, fcntl64, (int file, int command, void *value), (file, command, value), -1)
KOWEN_WRAP_FILE(std::FILE *, fdopen, (int file, const char *mode), (file, mode), nullptr)
KOWEN_WRAP_FILE(int, rename, (const char *from, const char *to), (from, to), -1)
KOWEN_WRAP_FILE(int, fchmod, (int file, unsigned mode), (file, mode), -1)
KOWEN_WRAP_FILE(int, fchown, (int file, unsigned user, unsigned group), (file, user, group), -1)
KOWEN_WRAP_FILE(ssize_t, readlink, (const char *name, char *target, std::size_t size),
                (name, target, size), -1)
KOWEN_WRAP_FILE(int, mkstemp, (char *name), (name), -1)
KOWEN_WRAP_FILE(int, mkstemp64, (char *name), (name), -1)
KOWEN_WRAP_FILE(int, getentropy, (void *bytes, std::size_t size), (bytes, size), -1)

// Nothing here needs to outlive a power cut.
int __wrap_fsync(int) {
    return FileFails("fsync") ? -1 : 0;
}

int __real_unlink(const char *name);
int __wrap_unlink(const char *name) {
    if (!FileFails("unlink"))
        return __real_unlink(name);
    faults.report.removalFailed = true;
    return -1;
}

// A close that fails has ended the file all the same.
int __real_fclose(std::FILE *stream);
int __wrap_fclose(std::FILE *stream) {
    const bool fails = FileFails("fclose");
    const int closed = __real_fclose(stream);
    return fails ? EOF : closed;
}
int __real_close(int file);
int __wrap_close(int file) {
    const bool fails = FileFails("close");
    const int closed = __real_close(file);
    return fails ? -1 : closed;
}

std::size_t __real_fread(void *buffer, std::size_t size, std::size_t count, std::FILE *stream);
std::size_t __wrap_fread(void *buffer, std::size_t size, std::size_t count, std::FILE *stream) {
    if (FileFails("fread"))
        return 0;
    return __real_fread(buffer, size, Done(count, "fread"), stream);
}
// The module writes items of one byte.
std::size_t __real_fwrite(const void *bytes, std::size_t size, std::size_t count,
                          std::FILE *stream);
std::size_t __wrap_fwrite(const void *bytes, std::size_t size, std::size_t count,
                          std::FILE *stream) {
    if (FileFails("fwrite"))
        return 0;
    return __real_fwrite(bytes, size, Done(Fitting(count, "fwrite"), "fwrite"), stream);
}
ssize_t __real_write(int file, const void *bytes, std::size_t count);
ssize_t __wrap_write(int file, const void *bytes, std::size_t count) {
    if (FileFails("write"))
        return -1;
    const std::size_t done = Done(Fitting(count, "write"), "write");
    if (done == 0 && count != 0) {
        errno = ENOSPC;
        return -1;
    }
    return __real_write(file, bytes, done);
}
}
