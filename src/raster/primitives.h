// Generalised drawing primitives: the two private ones that open and write a picture.
#pragma once

#include "kowen/records.h"

namespace kowen {

/// Handler, opcode 1034. Primitive -5 opens a picture bitmap that the following cell arrays are
/// drawn into; -6 closes it and writes it to the output. Every other primitive does nothing.
///
/// -5 pushes nothing. When memory is exhausted, or a size does not fit into 32 bits, there is no
/// picture bitmap, and the next cell array tells of it.
/// -6 pushes DrawingObstacle's code; KOWEN_ERR_MEMORY (300) without memory for the palette (the
/// picture bitmap is kept for the next -6 then); and what OutputPicture returns,
/// KOWEN_ERR_CANCELLED (901) after a cancel. Without a picture bitmap it writes the headers of a
/// picture of the last size and the end of the file.
DdRequest *d_gdp(DdRequest *request) noexcept;

} // namespace kowen
