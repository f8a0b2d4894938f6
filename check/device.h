// The two device doors, checked.
#pragma once

#include "kowen/kowen.h"

namespace kowen::check {

/// The exported short doors: they hand out doors that are checked.
int32_t CheckedExportShortDoor(int16_t function, void *out, int16_t ignored);
int32_t CheckedRasterShortDoor(int16_t function, void *out, int16_t ignored);

/// Whether a device that runs was initialised with a setup.
bool IsUsedByDevice(MemoryHandle setup);

/// Reports the devices that are left.
void ReportDevicesLeft();

} // namespace kowen::check
