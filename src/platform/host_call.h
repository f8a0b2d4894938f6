// A call out of the module into its host: to a status callback or an I/O procedure.
#pragma once

#include "kowen/records.h"
#include "platform/plain_floats.h"

namespace kowen {

struct SetupRecord;

/// Stands around every call of a function of the host's. What the host does with the module
/// meanwhile does not reach the work that goes on afterwards:
///
/// Hardened: the setup that was current is so again when the host returns, and until then it
/// is neither destroyed nor exported once more, for the work holds pointers into it. Test:
/// HostileCallbacks.AStatusCallbackOfTheRasterDeviceDoesEverything and the others there.
class HostCall {
public:
    HostCall() noexcept;
    ~HostCall();
    HostCall(const HostCall &) = delete;
    HostCall &operator=(const HostCall &) = delete;

    /// True while the host is at work inside such a call.
    static bool Underway() noexcept;

private:
    MemoryHandle handle_;
    SetupRecord *record_;
    HostFloats floats_;
};

} // namespace kowen
