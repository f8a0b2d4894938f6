// Host-served files: every operation becomes one call of the host's I/O procedure, whose answer is
// handed on. Of a write that is answered with less than its count the record keeps that bytes are
// lost.
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

} // namespace kowen
