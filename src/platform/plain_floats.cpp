#include "platform/plain_floats.h"

namespace kowen {

namespace {
const PlainFloats *innermost = nullptr;
} // namespace

PlainFloats::PlainFloats() noexcept : outer(innermost) {
    std::fegetenv(&host);
    std::fesetenv(FE_DFL_ENV);
    innermost = this;
}

PlainFloats::~PlainFloats() {
    innermost = outer;
    std::fesetenv(&host);
}

HostFloats::HostFloats() noexcept : changed(innermost != nullptr) {
    if (!changed)
        return;
    std::fegetenv(&plain);
    std::fesetenv(&innermost->host);
}

HostFloats::~HostFloats() {
    if (changed)
        std::fesetenv(&plain);
}

} // namespace kowen
