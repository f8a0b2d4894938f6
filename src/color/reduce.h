// A colour table for a picture: the quantiser's door.
//
// Not on the export path.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Makes a table of at most *count colours for a 24-bit picture.
///
/// image          24-bit bitmap, or a colour table as its one row; borrowed. It may lack the
///                padding of its last row.
/// width, height  pixels.
/// count          in: entries wanted, the size of the new block; out: entries made.
///
/// Returns the table, owned by the caller; a count of 0 makes an empty one. 0 with a count of 0
/// when memory is exhausted or the image's block is too small for its size.
///
/// With a diagnostic level other than 0 the table is printed on standard error.
MemoryHandle rlReduceColorTable(MemoryHandle image, uint16_t width, uint16_t height,
                                uint16_t *count) noexcept;

} // namespace kowen
