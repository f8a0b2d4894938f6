// Disk files and streams: a record with a 12288-byte buffer over a stream.
#pragma once

#include "io/file_record.h"

namespace kowen {

/// Opens the named file or standard stream with the record's mode. Returns whether it is open;
/// if not, nothing is left over.
bool OpenDisk(QivFile &file, const char *name) noexcept;

/// Puts the record over a stream of the caller's, which stays open when this fails.
bool WrapStream(QivFile &file, std::FILE *stream) noexcept;

/// Returns 1 when the file of that name can be opened for reading, -1 when not.
intptr_t DiskFileExists(const char *name) noexcept;
/// Returns 1 when the file was removed, 0 when not.
intptr_t DeleteDiskFile(const char *name) noexcept;

/// Lets go of the stream and the buffer of a file that its host serves; both may be missing.
void ReleaseDisk(QivFile &file) noexcept;

} // namespace kowen
