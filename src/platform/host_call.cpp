#include "platform/host_call.h"

#include "platform/current_setup.h"

namespace kowen {

namespace {

int32_t callsUnderway = 0;

// A setup's record begins with its count.
uint32_t &CallsThatKeep(SetupRecord *record) noexcept {
    return reinterpret_cast<HostCallCount *>(record)->underway;
}

} // namespace

HostCall::HostCall() noexcept : handle(hRaster), record(lpRaster) {
    ++callsUnderway;
    if (record != nullptr)
        ++CallsThatKeep(record);
}

HostCall::~HostCall() {
    hRaster = handle;
    lpRaster = record;
    if (record != nullptr)
        --CallsThatKeep(record);
    --callsUnderway;
}

bool HostCall::Underway() noexcept {
    return callsUnderway != 0;
}

} // namespace kowen
