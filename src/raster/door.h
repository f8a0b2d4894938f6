// The device doors: what a host calls to drive the export driver and the raster driver.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// The export driver's short door. function KOWEN_DOOR_VERSION copies the 32-bit filter version
/// to out, KOWEN_DOOR_ADDRESS the pointer-sized address of dd_entry32; any other does nothing, and
/// so does a null out. out needs no alignment. Returns 0.
int32_t dd_entry(int16_t function, void *out, int16_t ignored) noexcept;

/// The raster driver's short door: as dd_entry, with the address of RASTER_dd_entry32.
int32_t RASTER_dd_entry(int16_t function, void *out, int16_t ignored) noexcept;

/// The export driver's 32-bit door.
///
/// KOWEN_DD_INITIALISE  record is an OpenRecord; answers initdvr.
/// KOWEN_DD_DISPATCH    record is a DdRequest; answers the common record's current error. Without
///                      a common record, which nothing in the filter makes, nothing runs: 0.
/// KOWEN_DD_TERMINATE   answers termdvr.
/// KOWEN_DD_VERSION     copies the 32-bit filter version into record; answers 4.
/// Any other function does nothing and answers 0, as do dispatch and version without a record.
///
/// A call from inside one of the host's callbacks, while a door is at work, does nothing and
/// answers 0; only KOWEN_DD_VERSION works there too.
int32_t dd_entry32(uint32_t ignored, uint16_t function, void *record) noexcept;

/// The raster driver's 32-bit door, as dd_entry32 with these differences.
///
/// KOWEN_DD_INITIALISE  answers RASTER_initdvr; a device that runs is ended first.
/// KOWEN_DD_DISPATCH    runs the request in the states its opcode allows; answers the latest error
///                      raised by it, 0 for none. 0 as well before initialisation.
/// KOWEN_DD_TERMINATE   answers RASTER_termdvr: 0.
int32_t RASTER_dd_entry32(uint32_t ignored, uint16_t function, void *record) noexcept;

} // namespace kowen
