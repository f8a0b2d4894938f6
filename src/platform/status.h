// The one place that calls the host's status callback.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Calls the host's status callback, synchronously, with the words as given.
///
/// callback  null = no status reporting.
/// command, code, value1..value3  as listed at StatusCallback; reply may be null.
/// Returns the callback's answer, 0 without a callback. Non-zero means stop; the caller turns it
/// into its own error code.
///
/// Kept deliberately: a refused poll (command 0 and code 0 answered non-zero) is asked once more,
/// with command 2, code 61 and a zeroed reply of ten 32-bit words that nobody reads; that second
/// answer is the result. Test: CallGetSetStatus.ARefusedPollIsAskedOnceMore.
int32_t CallGetSet_Status(StatusCallback callback, uintptr_t context, int32_t command, int32_t code,
                          int32_t value1, int32_t value2, int32_t value3, void *reply) noexcept;

/// Polls the host: tells its status callback the progress, 0 to 100.
///
/// status  null = nobody to ask.
/// Returns 0: go on, or KOWEN_ERR_CANCELLED (901): the host has confirmed that it wants to stop.
int32_t PollHost(const ExportRecord *status, int32_t progress) noexcept;

} // namespace kowen
