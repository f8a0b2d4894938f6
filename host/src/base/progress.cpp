#include "base/progress.h"

#include "base/failure.h"

#include <algorithm>
#include <cstring>

namespace kowen::host {

Progress::Progress(const KowenProgress *given) {
    if (given == nullptr)
        return;
    KowenProgress record = {};
    std::memcpy(&record, given, std::min<size_t>(given->size, sizeof record));
    callback = record.callback;
    context = record.context;
}

void Progress::BeginPart(double first, double last) {
    begin = first;
    end = last;
}

bool Progress::Tell(double fraction) noexcept {
    if (callback == nullptr || cancelled)
        return !cancelled;
    told = std::max(told, begin + (end - begin) * std::clamp(fraction, 0.0, 1.0));
    cancelled = callback(context, told) != 0;
    return !cancelled;
}

void Progress::Finish() noexcept {
    if (callback != nullptr)
        callback(context, 1);
}

void Progress::TellOrThrow(double fraction) {
    if (!Tell(fraction))
        FailCancelled();
}

void FailCancelled() {
    throw Failure(KOWEN_HOST_ERR_CANCELLED, "cancelled; no file was made or changed");
}

} // namespace kowen::host
