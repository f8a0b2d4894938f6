// Stands between the file handles and the C library: counts the operations on disk files and makes
// chosen ones fail.
//
//     FailingDisk disk;
//     disk.Fail(FailingDisk::kWrite, 2);        // the second write from here on
//     EXPECT_EQ(qivWrite(file, data, 30000), -1);
//     EXPECT_EQ(disk.Writes(), (std::vector<int32_t>{12288, 12288}));
//
// Everything that does not fail goes to the C library. One at a time; the end of its life brings
// the C library back, so files must be closed before, or be closed without it.
#pragma once

#include "io/disk_operations.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <vector>

class FailingDisk {
public:
    enum Operation { kOpen, kClose, kRead, kWrite, kSeek, kTell, kRemove, kOperations };
    enum Mode { kOnlyThat, kThatAndAllLater };

    FailingDisk() {
        state = State{};
        state.room = INT32_MAX;
        kowen::diskOperations = &kTable;
    }
    ~FailingDisk() { kowen::diskOperations = &kowen::kLibcDiskOperations; }
    FailingDisk(const FailingDisk &) = delete;
    FailingDisk &operator=(const FailingDisk &) = delete;

    /// Lets the n-th call of the operation from now on fail; n = 1 is the next.
    void Fail(Operation operation, int n, Mode mode = kOnlyThat) {
        state.failing[operation] = state.calls[operation] + n;
        state.mode[operation] = mode;
    }
    /// Lets the disk be full after that many bytes more; the write that fails puts what fits.
    void SetRoom(int32_t bytes) { state.room = bytes; }

    int Calls(Operation operation) const { return state.calls[operation]; }
    /// Calls of all operations.
    int Calls() const {
        int sum = 0;
        for (const int calls : state.calls)
            sum += calls;
        return sum;
    }
    /// Whether an operation was refused since.
    bool Failed() const { return state.failed; }
    /// The sizes asked of the writes and reads, in order.
    const std::vector<int32_t> &Writes() const { return state.writes; }
    const std::vector<int32_t> &Reads() const { return state.reads; }

private:
    struct State {
        int calls[kOperations];
        int failing[kOperations];
        Mode mode[kOperations];
        int32_t room;
        bool failed;
        std::vector<int32_t> writes;
        std::vector<int32_t> reads;
    };
    static inline State state{};

    static bool Refused(Operation operation) {
        const int call = ++state.calls[operation];
        const int failing = state.failing[operation];
        if (failing == 0 || call < failing)
            return false;
        if (call > failing && state.mode[operation] == kOnlyThat)
            return false;
        state.failed = true;
        errno = EIO;
        return true;
    }

    static std::FILE *Open(const char *name, const char *mode) noexcept {
        return Refused(kOpen) ? nullptr : kowen::kLibcDiskOperations.open(name, mode);
    }
    static int Close(std::FILE *stream) noexcept {
        const bool refused = Refused(kClose);
        const int closed = kowen::kLibcDiskOperations.close(stream);
        return refused ? EOF : closed;
    }
    // A read that fails has spoilt the buffer.
    static int32_t Read(std::FILE *stream, void *buffer, int32_t count) noexcept {
        state.reads.push_back(count);
        if (!Refused(kRead))
            return kowen::kLibcDiskOperations.read(stream, buffer, count);
        std::fill_n(static_cast<unsigned char *>(buffer), count, static_cast<unsigned char>(0xEE));
        return -1;
    }
    static int32_t Write(std::FILE *stream, const void *buffer, int32_t count) noexcept {
        state.writes.push_back(count);
        const bool refused = Refused(kWrite);
        const int32_t fits = refused ? 0 : std::min(count, state.room);
        if (fits < count) {
            state.failed = true;
            errno = ENOSPC;
        }
        if (state.room != INT32_MAX)
            state.room -= fits;
        return kowen::kLibcDiskOperations.write(stream, buffer, fits);
    }
    static int Seek(std::FILE *stream, int64_t offset, int whence) noexcept {
        return Refused(kSeek) ? -1 : kowen::kLibcDiskOperations.seek(stream, offset, whence);
    }
    static int64_t Tell(std::FILE *stream) noexcept {
        return Refused(kTell) ? -1 : kowen::kLibcDiskOperations.tell(stream);
    }
    static int Remove(const char *name) noexcept {
        return Refused(kRemove) ? -1 : kowen::kLibcDiskOperations.remove(name);
    }

    static constexpr kowen::DiskOperations kTable = {Open, Close, Read, Write, Seek, Tell, Remove};
};
