// Where a host I/O procedure puts the bytes that the filter writes.
#pragma once

#include "host/file.h"

#include <cstdint>
#include <vector>

namespace kowen::host {

/// One open file as the filter sees it. Nothing throws: the filter calls these.
class ByteStore {
public:
    virtual ~ByteStore() = default;

    /// Return the bytes moved, -1 on error.
    virtual int32_t Read(void *bytes, int32_t count) noexcept = 0;
    virtual int32_t Write(const void *bytes, int32_t count) noexcept = 0;

    /// whence  0 start, 1 current position, 2 end. Returns the new position, -1 on error.
    virtual int32_t Seek(int32_t offset, int32_t whence) noexcept = 0;

    /// Brings everything to its place. Returns 0, or the number of the first error of all calls.
    virtual int Finish() noexcept = 0;
};

/// Keeps the file in memory.
class MemoryStore : public ByteStore {
public:
    int32_t Read(void *bytes, int32_t count) noexcept override;
    int32_t Write(const void *bytes, int32_t count) noexcept override;
    int32_t Seek(int32_t offset, int32_t whence) noexcept override;
    int Finish() noexcept override { return error; }

    const std::vector<uint8_t> &Bytes() const { return bytes; }

private:
    std::vector<uint8_t> bytes;
    size_t position = 0;
    int error = 0;
};

/// Writes to a descriptor, in large pieces. The descriptor stays the caller's.
class FileStore : public ByteStore {
public:
    explicit FileStore(int fileDescriptor);

    int32_t Read(void *bytes, int32_t count) noexcept override;
    int32_t Write(const void *bytes, int32_t count) noexcept override;
    int32_t Seek(int32_t offset, int32_t whence) noexcept override;
    int Finish() noexcept override;

private:
    bool Flush() noexcept;

    int fd;
    std::vector<uint8_t> pending;
    int error = 0;
};

/// The host I/O procedure; its context is the address of the ByteStore that serves the export.
intptr_t HostIo(uintptr_t handleOrContext, int32_t operation, void *argument,
                int32_t count) noexcept;

} // namespace kowen::host
