#include "device/cancel_poll.h"

#include "device/common_record.h"
#include "device/device_record.h"
#include "device/error_stack.h"
#include "kowen/codes.h"
#include "platform/status.h"

namespace kowen {
namespace {

int32_t Poll(const ExportRecord *status, int32_t progress) noexcept {
    if (!status)
        return KOWEN_OK;
    const int32_t refused = CallGetSet_Status(status->statusCallback, status->context,
                                              KOWEN_STATUS_PROGRESS, 0, 0, progress, 0, nullptr);
    if (refused == 0)
        return KOWEN_OK;
    push_er(KOWEN_ERR_CANCELLED);
    return KOWEN_ERR_CANCELLED;
}

} // namespace

int32_t RASTER_escape() noexcept {
    constexpr int32_t kNoProgress = 0;
    return lpEMData ? Poll(lpEMData->statusRecord, kNoProgress) : KOWEN_OK;
}

// Hardened: without a common record, which nothing in the filter makes, the poll answers
// "go on"; with one it is the poll it always was.
int32_t escape() noexcept {
    return lpCommon ? Poll(lpCommon->statusRecord, lpCommon->statusValue) : KOWEN_OK;
}

} // namespace kowen
