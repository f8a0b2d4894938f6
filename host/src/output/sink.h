// Where the bytes of a JPEG go, in order.
#pragma once

#include "kowen/host.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

namespace kowen::host {

/// Takes bytes. Nothing throws: the filter's procedure calls these.
class Sink {
public:
    virtual ~Sink() = default;

    /// Returns 0, or the number of the error that ends the export.
    virtual int Write(const uint8_t *bytes, size_t count) noexcept = 0;

    /// Brings everything to its place. Returns 0 or an error number.
    virtual int Finish() noexcept { return 0; }
};

/// Keeps the bytes in memory that KowenFree frees.
class MemorySink : public Sink {
public:
    /// limit  bytes that are taken; more are refused with EFBIG.
    explicit MemorySink(uint64_t limit = UINT64_MAX) : most(limit) {}
    ~MemorySink() override;
    MemorySink(MemorySink &&other) noexcept;
    MemorySink &operator=(MemorySink &&) = delete;

    int Write(const uint8_t *bytes, size_t count) noexcept override;

    const uint8_t *Data() const { return memory; }
    size_t Size() const { return used; }

    /// Hands the memory over; never null for a JPEG.
    void *Release();

private:
    uint64_t most;
    uint8_t *memory = nullptr;
    size_t used = 0;
    size_t capacity = 0;
};

/// Hands the bytes to the caller's function.
class WriterSink : public Sink {
public:
    WriterSink(KowenWriter function, void *writeContext) : write(function), context(writeContext) {}

    int Write(const uint8_t *bytes, size_t count) noexcept override {
        return write(context, bytes, count);
    }

private:
    KowenWriter write;
    void *context;
};

/// Writes to a descriptor, in large pieces. The descriptor stays the caller's.
class DescriptorSink : public Sink {
public:
    /// cancelled  of WriteAll.
    DescriptorSink(int fileDescriptor, std::function<bool()> cancelled);

    int Write(const uint8_t *bytes, size_t count) noexcept override;
    int Finish() noexcept override;

private:
    int fd;
    std::function<bool()> stop;
    std::vector<uint8_t> pending;
};

} // namespace kowen::host
