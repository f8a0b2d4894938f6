#include "platform/host_call.h"

#include "platform/current_setup.h"

namespace kowen {

namespace {

int32_t callsUnderway = 0;

// A setup's record begins with its count.
uint32_t &CallsThatKeep(SetupRecord *record) {
    return reinterpret_cast<HostCallCount *>(record)->underway;
}

} // namespace

HostCall::HostCall() noexcept : handle_(hRaster), record_(lpRaster) {
    ++callsUnderway;
    if (record_)
        ++CallsThatKeep(record_);
}

HostCall::~HostCall() {
    hRaster = handle_;
    lpRaster = record_;
    if (record_)
        --CallsThatKeep(record_);
    --callsUnderway;
}

bool HostCall::Underway() noexcept {
    return callsUnderway != 0;
}

} // namespace kowen
