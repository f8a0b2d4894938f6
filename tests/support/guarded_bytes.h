// Memory that ends where nothing may be touched.
//
//     const GuardedBytes name("a.jpg", 6);
//     Open(name.Text()); // ends the program when it reads past the terminator
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

/// Bytes that end right before a page that nobody may touch, and begin right behind one when they
/// fill whole pages.
class GuardedBytes {
public:
    explicit GuardedBytes(const std::vector<uint8_t> &bytes)
        : GuardedBytes(bytes.data(), bytes.size()) {}
    GuardedBytes(const void *bytes, size_t count) : size(count) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t inside = (count + page - 1) / page * page;
        mapped = inside + 2 * page;
        begin = static_cast<uint8_t *>(
            mmap(nullptr, mapped, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (begin == MAP_FAILED ||
            (inside != 0 && mprotect(begin + page, inside, PROT_READ | PROT_WRITE) != 0))
            std::abort();
        data = begin + page + inside - count;
        if (count != 0)
            std::memcpy(data, bytes, count);
    }
    ~GuardedBytes() { munmap(begin, mapped); }
    GuardedBytes(const GuardedBytes &) = delete;
    GuardedBytes &operator=(const GuardedBytes &) = delete;

    uint8_t *Data() const { return data; }
    char *Text() const { return reinterpret_cast<char *>(data); }
    uint32_t Size() const { return static_cast<uint32_t>(size); }

private:
    size_t size;
    size_t mapped;
    uint8_t *begin;
    uint8_t *data;
};
