// The kinds of files: for each a table of what the functions on handles do. Private to this folder.
#pragma once

#include "io/file_record.h"

namespace kowen {

/// One kind's part of the functions of file_handle.h, whose contracts hold. The record is locked.
struct FileKind {
    int32_t (*read)(QivFile &file, void *buffer, int32_t count);
    int32_t (*write)(QivFile &file, const void *buffer, int32_t count);
    int32_t (*seek)(QivFile &file, int32_t offset, int32_t whence);
    int32_t (*fill)(QivFile &file);
    int32_t (*flush)(QivFile &file);
    int32_t (*close)(QivFile &file);
    /// Closes the file, and deletes it where the kind has it, not its descriptor or name.
    /// Returns whether it did.
    bool (*closeAndDelete)(QivFile &file);
};

extern const FileKind kDiskKind;     ///< disk_file.cpp
extern const FileKind kMemoryKind;   ///< memory_file.cpp
extern const FileKind kHostKind;     ///< host_file.cpp
extern const FileKind kDocumentKind; ///< document_file.cpp

/// The kind of the file itself: a host's, a memory block or a disk file.
inline const FileKind &KindOfFile(const QivFile &file) noexcept {
    if (file.ioProc)
        return kHostKind;
    return IsMemoryFile(file) ? kMemoryKind : kDiskKind;
}

/// What a handle is used as: a document stream lies over a file, but a host serves all by itself.
inline const FileKind &KindOf(const QivFile &file) noexcept {
    return file.isDoc && !file.ioProc ? kDocumentKind : KindOfFile(file);
}

/// The read of kinds with a buffer, by their fill.
int32_t ReadBuffered(QivFile &file, void *buffer, int32_t count) noexcept;

/// The seek of kinds with a buffer. What is not in the buffer, but may be asked for, is the kind's
/// own: seekOutside.
int32_t SeekBuffered(QivFile &file, int32_t offset, int32_t whence,
                     int32_t (*seekOutside)(QivFile &, int32_t, int32_t)) noexcept;

} // namespace kowen
