// The colour mode, applied to what is handed over.
//
// On the bitmap door the filter takes the colours as they come: its colour mode is for what is
// played to its device. A host that wants the mode there as well gives it the changed colours.
#pragma once

#include <cstddef>
#include <cstdint>

namespace kowen::host {

/// Changes colours in place.
///
/// mode    KOWEN_COLOR_...; any other leaves the colours alone.
/// colour  count colours of red, green and blue, each step bytes after the one before.
void ApplyColourMode(int32_t mode, uint8_t *colour, size_t count, size_t step);

} // namespace kowen::host
