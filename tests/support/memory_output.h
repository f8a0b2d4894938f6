// Output that ends in a memory block or in a recording host, to look at what was written.
#pragma once

#include "io/file_handle.h"
#include "io/typed_io.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"

#include <cstdint>
#include <string>
#include <vector>

/// A file in memory, opened for writing in big-endian byte order.
class MemoryOutput {
public:
    MemoryOutput() {
        data_ = kowen::GlobalLock(kowen::GlobalAlloc(kowen::kGlobalFlags, 1));
        kowen::QivIODesc descriptor = {};
        descriptor.location = &data_;
        descriptor.growBy = 4096;
        file_ = static_cast<kowen::FileHandle>(
            kowen::qivOpen(nullptr, &descriptor, KOWEN_MODE_CREATE | KOWEN_MODE_WRITE));
        kowen::qivSetDataFormat(file_, 1, 0);
    }
    ~MemoryOutput() {
        kowen::qivClose(file_);
        kowen::GlobalFree(kowen::GlobalHandle(data_));
    }
    MemoryOutput(const MemoryOutput &) = delete;
    MemoryOutput &operator=(const MemoryOutput &) = delete;

    kowen::FileHandle File() const { return file_; }

    /// What was written so far; the file stays open.
    std::vector<uint8_t> Bytes() const {
        const int32_t size = kowen::qivSeek(file_, 0, 1);
        const auto *bytes = static_cast<const uint8_t *>(data_);
        return {bytes, bytes + size};
    }

private:
    void *data_ = nullptr;
    kowen::FileHandle file_ = 0;
};

/// A file served by a host's I/O procedure that keeps every call.
class HostOutput {
public:
    HostOutput() {
        kowen::QivIODesc descriptor = {};
        descriptor.location = this;
        descriptor.procedure = &Procedure;
        file_ = static_cast<kowen::FileHandle>(
            kowen::qivOpen("host file", &descriptor, KOWEN_MODE_CREATE | KOWEN_MODE_WRITE));
        kowen::qivSetDataFormat(file_, 1, 0);
    }
    ~HostOutput() { kowen::qivClose(file_); }
    HostOutput(const HostOutput &) = delete;
    HostOutput &operator=(const HostOutput &) = delete;

    kowen::FileHandle File() const { return file_; }
    const std::vector<uint8_t> &Bytes() const { return bytes_; }
    const std::vector<int32_t> &WriteSizes() const { return writeSizes_; }

private:
    static intptr_t Procedure(uintptr_t handle, int32_t operation, void *argument, int32_t count) {
        auto *self = reinterpret_cast<HostOutput *>(handle);
        if (operation == KOWEN_IO_OPEN)
            return static_cast<intptr_t>(handle);
        if (operation == KOWEN_IO_WRITE) {
            const auto *bytes = static_cast<const uint8_t *>(argument);
            self->bytes_.insert(self->bytes_.end(), bytes, bytes + count);
            self->writeSizes_.push_back(count);
            return count;
        }
        return 0;
    }

    kowen::FileHandle file_ = 0;
    std::vector<uint8_t> bytes_;
    std::vector<int32_t> writeSizes_;
};
