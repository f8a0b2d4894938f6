// What the size and resolution modes know of the display and the printer.
#pragma once

#include <cstdint>

namespace kowen {

void SetDisplayInfo(double width, double height, int16_t xResolution, int16_t yResolution) noexcept;
void SetPrinterInfo(double width, double height, int16_t xResolution, int16_t yResolution) noexcept;
int32_t GetDisplayInfo(double *width, double *height, int16_t *xResolution,
                       int16_t *yResolution) noexcept;
int32_t GetPrinterInfo(double *width, double *height, int16_t *xResolution,
                       int16_t *yResolution) noexcept;
int32_t GetDisplayColorInfo(void *ignored) noexcept;
void moveptr(const char **text) noexcept;

} // namespace kowen
