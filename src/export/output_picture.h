// The band loop: a drawing routine's picture becomes a JPEG.
#pragma once

#include "export/offscreen.h"
#include "io/file_handle.h"

#include <cstdint>

namespace kowen {

int32_t OutputPicture(FileHandle output, void *picture, DrawingRoutine routine) noexcept;

} // namespace kowen
