// The calls on streams that disk files are made of, behind a table that tests can replace.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace kowen {

struct DiskOperations {
    /// Opens a file unbuffered; null when it cannot be opened or is a directory.
    std::FILE *(*open)(const char *name, const char *mode);
    /// 0, or EOF when the stream's last bytes could not be written. The stream is gone either way.
    int (*close)(std::FILE *stream);
    /// Bytes read, fewer only at the end of the file; -1 on error.
    int32_t (*read)(std::FILE *stream, void *buffer, int32_t count);
    /// Bytes written, fewer on error.
    int32_t (*write)(std::FILE *stream, const void *buffer, int32_t count);
    /// 0, or -1. whence is SEEK_SET, SEEK_CUR or SEEK_END.
    int (*seek)(std::FILE *stream, int64_t offset, int whence);
    /// The position; -1 with errno ESPIPE when the stream has none.
    int64_t (*tell)(std::FILE *stream);
    /// 0, or -1; removes files only, never directories or devices.
    int (*remove)(const char *name);
};

/// The operations of the C library.
extern const DiskOperations kLibcDiskOperations;

/// The operations in use. Test seam: set through tests/support/failing_disk.h.
extern const DiskOperations *diskOperations;

} // namespace kowen
