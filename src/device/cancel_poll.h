// The two cancel polls: has the host's user asked to stop?
#pragma once

#include <cstdint>

namespace kowen {

/// The raster driver's poll, through the status record given at its initialisation.
/// Returns KOWEN_ERR_CANCELLED (901) after pushing it, or 0: go on. 0 as well before
/// initialisation and without a status record.
int32_t RASTER_escape() noexcept;

/// The export driver's poll, through the common record, whose status value goes to the host as
/// the progress. Returns and pushes as RASTER_escape; 0 without a common or status record.
int32_t escape() noexcept;

} // namespace kowen
