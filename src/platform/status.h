// The one place that calls the host's status callback.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

int32_t CallGetSet_Status(StatusCallback callback, uintptr_t context, int32_t command, int32_t code,
                          int32_t value1, int32_t value2, int32_t value3, void *reply) noexcept;

} // namespace kowen
