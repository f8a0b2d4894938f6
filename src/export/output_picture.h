// The band loop: a drawing routine's picture becomes a JPEG.
#pragma once

#include "export/offscreen.h"
#include "io/file_handle.h"

#include <cstdint>

namespace kowen {

/// Draws a picture band by band and writes it as a JPEG, by the current setup. After each band the
/// host is told the percentage done.
///
/// output   open; it stays the caller's, and stays open.
/// picture  the routine's picture record; borrowed for the call.
///
/// Returns 0: the file is complete, EOI included. KOWEN_ERR_WORK_MEMORY (27): no memory, or a band
/// that could not be drawn; KOWEN_ERR_CANCELLED (901): the host has confirmed that it wants to
/// stop; else the result of WriteCellBits. After these the file has no EOI. Whatever was made for
/// the picture is freed on every exit.
int32_t OutputPicture(FileHandle output, void *picture, DrawingRoutine routine) noexcept;

} // namespace kowen
