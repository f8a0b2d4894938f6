// What the tests of this folder share.
#pragma once

#include "io/file_record.h"

#include <cstdint>
#include <cstring>
#include <string>

namespace kowen {

inline constexpr int32_t kCreateMode = 4097;

inline FileHandle Open(const std::string &name, int32_t mode) {
    return static_cast<FileHandle>(qivOpen(name.c_str(), nullptr, mode));
}

/// The record of an open file; nothing moves, so it may be kept until the close.
inline QivFile &Record(FileHandle file) {
    return *Lock<QivFile>(file);
}

/// Up to count bytes from the file; "error" when the read fails.
inline std::string ReadText(FileHandle file, int32_t count) {
    std::string bytes(static_cast<std::size_t>(count), '\0');
    const int32_t got = qivRead(file, bytes.data(), count);
    return got < 0 ? "error" : bytes.substr(0, static_cast<std::size_t>(got));
}

inline int32_t WriteText(FileHandle file, const std::string &bytes) {
    return qivWrite(file, bytes.data(), static_cast<int32_t>(bytes.size()));
}

/// Bytes in which no two stretches of a buffer's length are alike.
inline std::string Pattern(int32_t count) {
    std::string bytes;
    for (int32_t i = 0; i < count; ++i)
        bytes += static_cast<char>(i % 251 + i / 12288 * 3);
    return bytes;
}

/// A block of global memory, locked, and a memory file's descriptor over it. Frees what the
/// caller's pointer refers to in the end.
struct MemoryTarget {
    explicit MemoryTarget(const std::string &bytes, int32_t growBy = 16) {
        data = Lock<char>(GlobalAlloc(66, static_cast<uint32_t>(bytes.size())));
        std::memcpy(data, bytes.data(), bytes.size());
        descriptor.location = &data;
        descriptor.size = static_cast<int32_t>(bytes.size());
        descriptor.growBy = growBy;
    }
    ~MemoryTarget() { GlobalFree(GlobalHandle(data)); }
    MemoryTarget(const MemoryTarget &) = delete;
    MemoryTarget &operator=(const MemoryTarget &) = delete;

    FileHandle Open(int32_t mode) {
        return static_cast<FileHandle>(qivOpen(nullptr, &descriptor, mode));
    }
    uint32_t BlockSize() const { return GlobalSize(GlobalHandle(data)); }
    /// The block's first bytes.
    std::string Bytes(std::size_t count) const { return {data, count}; }

    char *data;
    QivIODesc descriptor = {};
};

} // namespace kowen
