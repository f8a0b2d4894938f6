// Host-served files: every operation becomes one call of the host's I/O procedure.
#pragma once

#include "io/file_record.h"

namespace kowen {

/// Whether the descriptor, which may be null, names a procedure.
bool HasProcedure(const QivIODesc *descriptor) noexcept;

/// KOWEN_IO_EXISTS and KOWEN_IO_DELETE: the procedure's answer.
intptr_t AskHost(const QivIODesc &descriptor, int32_t operation, const char *name) noexcept;

/// Asks the procedure to open the file with the record's mode. The procedure is the record's from
/// then on; returns whether it answered a handle.
bool OpenOnHost(QivFile &file, const char *name, const QivIODesc &descriptor) noexcept;

/// Each hands on the procedure's answer.
///
/// Hardened: a negative count gives 0 and never reaches the procedure. Of a write that is
/// answered with less than its count the record keeps that bytes are lost.
int32_t ReadFromHost(const QivFile &file, void *buffer, int32_t count) noexcept;
int32_t WriteToHost(QivFile &file, const void *buffer, int32_t count) noexcept;
int32_t SeekOnHost(const QivFile &file, int32_t offset, int32_t whence) noexcept;
int32_t CloseOnHost(const QivFile &file) noexcept;
int32_t DeleteOnHost(const QivFile &file) noexcept;

} // namespace kowen
