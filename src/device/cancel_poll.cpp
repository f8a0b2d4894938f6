#include "device/cancel_poll.h"

#include "device/common_record.h"
#include "device/device_record.h"
#include "device/error_stack.h"
#include "kowen/codes.h"
#include "platform/status.h"

namespace kowen {
namespace {

int32_t Poll(const ExportRecord *status, int32_t progress) {
    const int32_t result = PollHost(status, progress);
    if (result != KOWEN_OK)
        push_er(result);
    return result;
}

} // namespace

int32_t RASTER_escape() noexcept {
    constexpr int32_t kNoProgress = 0;
    return lpEMData ? Poll(lpEMData->statusRecord, kNoProgress) : KOWEN_OK;
}

// Hardened: without a common record, which nothing in the filter makes, the poll answers "go on".
// Test: Escape.GoesOnWithoutACommonRecord.
int32_t escape() noexcept {
    return lpCommon ? Poll(lpCommon->statusRecord, lpCommon->statusValue) : KOWEN_OK;
}

} // namespace kowen
