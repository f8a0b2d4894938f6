// Setup escapes: one setting read or changed by number.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Runs one escape on a setup; does not make it current. docs/settings.md lists the codes.
///
/// setup    from CreateSetup.
/// code     KOWEN_ESCAPE_...
/// size     bytes of the input value.
/// in       the input value, an int32_t or a double, unaligned or not.
/// out      the output area, unaligned or not.
/// persist  non-zero: the setters of a value also write it to the setup's profile section. The
///          setters of a mode never do.
///
/// Returns 1 when the code was handled, 0 for an unknown code, -1 for handle 0 or one that
/// cannot be locked, a rejected value and a null pointer where one is needed. A rejected value
/// changes and persists nothing. A wrong size is a rejected value for the setters of a value; the
/// others return 1 and do nothing.
///
/// Kept deliberately: a persisted width is written as ".3" and the value, so that it loads as
/// another width. Test: EscapeSetWidth.PersistedWidthLoadsAsAnother.
/// Kept deliberately: KOWEN_ESCAPE_RASTER_QUERY answers for the current setup, not for the one
/// given. Test: EscapeRasterQuery.AnswersForTheCurrentSetup.
int32_t xEscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in, void *out,
                     int32_t persist) noexcept;

} // namespace kowen
