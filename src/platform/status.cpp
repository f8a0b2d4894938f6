#include "platform/status.h"

#include "kowen/codes.h"
#include "platform/host_call.h"

namespace kowen {

namespace {
constexpr int32_t kReplyWords = 10;
} // namespace

int32_t CallGetSet_Status(StatusCallback callback, uintptr_t context, int32_t command, int32_t code,
                          int32_t value1, int32_t value2, int32_t value3, void *reply) noexcept {
    if (!callback)
        return 0;
    const HostCall call;
    const int32_t answer = callback(context, command, code, value1, value2, value3, reply);
    const bool refusedPoll = answer != 0 && command == KOWEN_STATUS_PROGRESS && code == 0;
    if (!refusedPoll)
        return answer;
    int32_t replyArea[kReplyWords] = {};
    return callback(context, KOWEN_STATUS_CONFIRM_STOP, KOWEN_STATUS_CODE_CONFIRM, 0, 0, 0,
                    replyArea);
}

int32_t PollHost(const ExportRecord *status, int32_t progress) noexcept {
    if (!status)
        return KOWEN_OK;
    const int32_t refused = CallGetSet_Status(status->statusCallback, status->context,
                                              KOWEN_STATUS_PROGRESS, 0, 0, progress, 0, nullptr);
    return refused != 0 ? KOWEN_ERR_CANCELLED : KOWEN_OK;
}

} // namespace kowen
