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
/// mode     KOWEN_COLOR_...; any other leaves the colours alone.
/// colours  count colours of red, green and blue.
void ApplyColourMode(int32_t mode, uint8_t *colours, size_t count);

} // namespace kowen::host
