#include "output/sink.h"

#include "base/descriptor.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

namespace kowen::host {
namespace {

constexpr size_t kPendingBytes = 65536;

} // namespace

MemorySink::~MemorySink() {
    std::free(memory);
}

MemorySink::MemorySink(MemorySink &&other) noexcept
    : most(other.most), memory(std::exchange(other.memory, nullptr)),
      used(std::exchange(other.used, 0)), capacity(std::exchange(other.capacity, 0)) {}

int MemorySink::Write(const uint8_t *bytes, size_t count) noexcept {
    if (count > most - used)
        return EFBIG;
    if (count > capacity - used) {
        const size_t wanted = std::max({kPendingBytes, used + count, capacity * 2});
        void *grown = std::realloc(memory, wanted);
        if (grown == nullptr)
            return ENOMEM;
        memory = static_cast<uint8_t *>(grown);
        capacity = wanted;
    }
    if (count != 0)
        std::memcpy(memory + used, bytes, count);
    used += count;
    return 0;
}

void *MemorySink::Release() {
    // Giving back what is too much cannot fail in a way that matters.
    if (void *fitting = std::realloc(memory, std::max<size_t>(used, 1)))
        memory = static_cast<uint8_t *>(fitting);
    used = capacity = 0;
    return std::exchange(memory, nullptr);
}

DescriptorSink::DescriptorSink(int fileDescriptor, std::function<bool()> cancelled)
    : fd(fileDescriptor), stop(std::move(cancelled)) {
    pending.reserve(kPendingBytes);
}

int DescriptorSink::Write(const uint8_t *bytes, size_t count) noexcept {
    if (pending.size() + count > kPendingBytes) {
        if (const int failed = Finish(); failed != 0)
            return failed;
    }
    if (count > kPendingBytes)
        return WriteAll(fd, bytes, count, stop);
    // Within the capacity reserved at the start: cannot fail.
    pending.insert(pending.end(), bytes, bytes + count);
    return 0;
}

int DescriptorSink::Finish() noexcept {
    const int failed = WriteAll(fd, pending.data(), pending.size(), stop);
    pending.clear();
    return failed;
}

} // namespace kowen::host
