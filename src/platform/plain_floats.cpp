#include "platform/plain_floats.h"

namespace kowen {

namespace {
const PlainFloats *innermost = nullptr;
} // namespace

PlainFloats::PlainFloats() noexcept : outer_(innermost) {
    std::fegetenv(&host_);
    std::fesetenv(FE_DFL_ENV);
    innermost = this;
}

PlainFloats::~PlainFloats() {
    innermost = outer_;
    std::fesetenv(&host_);
}

HostFloats::HostFloats() noexcept : changed_(innermost) {
    if (!changed_)
        return;
    std::fegetenv(&plain_);
    std::fesetenv(&innermost->host_);
}

HostFloats::~HostFloats() {
    if (changed_)
        std::fesetenv(&plain_);
}

} // namespace kowen
