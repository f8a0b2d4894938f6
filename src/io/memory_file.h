// Memory files: a record over a block of the caller's that grows as it is written.
#pragma once

#include "io/file_record.h"

namespace kowen {

/// Opens the block that the descriptor names; false when there is none.
///
/// Hardened: a size below 0 counts as 0 and one beyond the block as the block's; the same for every
/// size that is true. Test: QivOpenMemory.ASizeThatCannotBeTrueIsBroughtIntoTheBlock.
bool OpenMemory(QivFile &file, QivIODesc *descriptor) noexcept;

} // namespace kowen
