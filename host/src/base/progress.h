// The caller's progress callback.
#pragma once

#include "kowen/host.h"

namespace kowen::host {

/// Tells how far a call is, and hears when it is to stop.
class Progress {
public:
    /// given  null, or the caller's record.
    explicit Progress(const KowenProgress *given);

    /// Maps the fractions told from now on to a part of the whole call.
    void BeginPart(double first, double last);

    /// fraction  0 to 1, of the part. What is told never falls.
    /// Returns whether to go on; once it has not, it never does.
    bool Tell(double fraction) noexcept;

    /// As Tell with what was told last.
    bool Ask() noexcept { return Tell(0); }

    /// Throws Failure (KOWEN_HOST_ERR_CANCELLED) instead of returning false.
    void TellOrThrow(double fraction);

    /// Tells that all is done; it is too late to cancel.
    void Finish() noexcept;

    bool Cancelled() const { return cancelled; }

private:
    KowenProgressCallback callback = nullptr;
    void *context = nullptr;
    double begin = 0;
    double end = 1;
    double told = 0;
    bool cancelled = false;
};

/// Throws Failure (KOWEN_HOST_ERR_CANCELLED).
[[noreturn]] void FailCancelled();

} // namespace kowen::host
