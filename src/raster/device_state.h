// The raster driver's start and stop, and the handlers that move the device through its states.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Starts the driver: state 1, no output open. An earlier device is ended first, as
/// RASTER_termdvr does.
///
/// record  in: the setup (made current everywhere), the output name (null or empty: the host's
///         I/O procedure or else memory), the export record (may be null; it is kept in the setup
///         as well until termination), the size of the return area. out: the return area's
///         address; the capability array (may be null). Setup and export record must live until
///         RASTER_termdvr.
///
/// Returns 0, or KOWEN_ERR_MEMORY (300): no record, or memory is exhausted; then there is no
/// device.
int32_t RASTER_initdvr(OpenRecord *record) noexcept;

/// Ends the driver: closes an open device as d_cldv does and frees everything, the return area
/// and the block of memory output included. Returns 0, also without a device.
int32_t RASTER_termdvr() noexcept;

/// Handler, opcode 1: opens the output; state 2. Pushes KOWEN_ERR_OUTPUT (303) when it cannot be
/// opened, KOWEN_ERR_MEMORY (300) when memory output finds no memory; the device counts as open
/// in every case.
///
/// Kept deliberately: what the host's I/O procedure answers is not checked here.
/// Test: OpenDevice.DoesNotCheckTheHostsAnswer.
DdRequest *d_opdv(DdRequest *request) noexcept;

/// Handler, opcode 2: closes the output; state 1. After a cancel (901 pushed) the output is
/// deleted; else a failed close pushes KOWEN_ERR_OUTPUT (303).
DdRequest *d_cldv(DdRequest *request) noexcept;

/// Handler, opcode 3: begins a picture; state 4.
DdRequest *d_begp(DdRequest *request) noexcept;

/// Handler, opcode 4: begins the picture's body; state 8.
DdRequest *d_begpb(DdRequest *request) noexcept;

/// Handler, opcode 5: ends the picture; state 16. The output stays open.
DdRequest *d_endp(DdRequest *request) noexcept;

/// Part of beginning a picture; does nothing.
void d_reset(int32_t mode, int32_t state) noexcept;

} // namespace kowen
