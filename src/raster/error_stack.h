// The raster driver's error stack and return area.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

void push_er(int32_t code) noexcept;

} // namespace kowen
