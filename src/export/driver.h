// The export driver: output opened and closed on the device door, progress and cancel.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

int32_t initdvr(OpenRecord *record) noexcept;
int32_t termdvr(uint32_t ignored) noexcept;
int32_t UpdateStatus(int32_t percent) noexcept;

} // namespace kowen
