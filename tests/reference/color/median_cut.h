// The median-cut quantiser once more, with counts, sums and indices that cannot wrap.
#pragma once

#include "reference/color/bitmap.h"

namespace kowen::reference {

/// The table of at most wanted colours for a 24-bit picture.
Bytes ReduceColours(const Bytes &pixels, uint32_t width, uint32_t height, uint16_t wanted);

} // namespace kowen::reference
