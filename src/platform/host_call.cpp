#include "platform/host_call.h"

#include "platform/state.h"
#include "setup/setup.h"

namespace kowen {

namespace {
int32_t callsUnderway = 0;
} // namespace

HostCall::HostCall() noexcept : handle(hRaster), record(lpRaster) {
    ++callsUnderway;
    if (record != nullptr)
        ++record->hostCalls;
}

HostCall::~HostCall() {
    hRaster = handle;
    lpRaster = record;
    if (record != nullptr)
        --record->hostCalls;
    --callsUnderway;
}

bool HostCall::Underway() noexcept {
    return callsUnderway != 0;
}

} // namespace kowen
