#include "host/byte_store.h"

#include "kowen/codes.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <exception>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr size_t kPendingBytes = 65536;

} // namespace

int32_t MemoryStore::Read(void *target, int32_t count) noexcept {
    const size_t left = position < bytes.size() ? bytes.size() - position : 0;
    const size_t taken = std::min(left, static_cast<size_t>(std::max(count, 0)));
    if (taken != 0)
        std::memcpy(target, bytes.data() + position, taken);
    position += taken;
    return static_cast<int32_t>(taken);
}

int32_t MemoryStore::Write(const void *source, int32_t count) noexcept {
    if (error != 0 || count < 0)
        return -1;
    const size_t end = position + static_cast<size_t>(count);
    try {
        if (end > bytes.size())
            bytes.resize(end);
    } catch (const std::exception &) {
        error = ENOMEM;
        return -1;
    }
    if (count != 0)
        std::memcpy(bytes.data() + position, source, static_cast<size_t>(count));
    position = end;
    return count;
}

int32_t MemoryStore::Seek(int32_t offset, int32_t whence) noexcept {
    const size_t bases[] = {0, position, bytes.size()};
    if (whence < 0 || whence > 2)
        return -1;
    const int64_t target = static_cast<int64_t>(bases[whence]) + offset;
    if (target < 0 || target > INT32_MAX)
        return -1;
    position = static_cast<size_t>(target);
    return static_cast<int32_t>(target);
}

FileStore::FileStore(int fileDescriptor) : fd(fileDescriptor) {
    pending.reserve(kPendingBytes);
}

bool FileStore::Flush() noexcept {
    if (error == 0)
        error = WriteDescriptor(fd, pending.data(), pending.size());
    pending.clear();
    return error == 0;
}

int32_t FileStore::Read(void *bytes, int32_t count) noexcept {
    if (!Flush() || count < 0)
        return -1;
    const ssize_t taken = read(fd, bytes, static_cast<size_t>(count));
    if (taken < 0)
        error = errno;
    return static_cast<int32_t>(taken);
}

int32_t FileStore::Write(const void *bytes, int32_t count) noexcept {
    if (error != 0 || count < 0)
        return -1;
    const auto size = static_cast<size_t>(count);
    if (pending.size() + size > kPendingBytes && !Flush())
        return -1;
    if (size > kPendingBytes) {
        error = WriteDescriptor(fd, bytes, size);
        return error == 0 ? count : -1;
    }
    // Within the capacity reserved at the start: cannot fail.
    const auto *first = static_cast<const uint8_t *>(bytes);
    pending.insert(pending.end(), first, first + size);
    return count;
}

int32_t FileStore::Seek(int32_t offset, int32_t whence) noexcept {
    constexpr int kWhences[] = {SEEK_SET, SEEK_CUR, SEEK_END};
    if (whence < 0 || whence > 2 || !Flush())
        return -1;
    const off_t position = lseek(fd, offset, kWhences[whence]);
    if (position < 0)
        error = errno;
    return position > INT32_MAX ? -1 : static_cast<int32_t>(position);
}

int FileStore::Finish() noexcept {
    Flush();
    return error;
}

intptr_t HostIo(uintptr_t handleOrContext, int32_t operation, void *argument,
                int32_t count) noexcept {
    auto *store = reinterpret_cast<ByteStore *>(handleOrContext);
    switch (operation) {
    case KOWEN_IO_OPEN:
        return static_cast<intptr_t>(handleOrContext);
    case KOWEN_IO_READ:
        return store->Read(argument, count);
    case KOWEN_IO_WRITE:
        return store->Write(argument, count);
    case KOWEN_IO_SEEK: {
        int32_t offset = 0;
        std::memcpy(&offset, argument, sizeof offset);
        return store->Seek(offset, count);
    }
    default:
        // Closing, deleting and asking for names: the export's end decides about the file.
        return 0;
    }
}

} // namespace kowen::host
