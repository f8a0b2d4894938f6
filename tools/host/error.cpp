#include "host/error.h"

#include <system_error>

namespace kowen::host {

void FailWith(const std::string &subject, int errorNumber) {
    throw HostError(subject + ": " + std::generic_category().message(errorNumber));
}

} // namespace kowen::host
