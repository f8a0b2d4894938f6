#include "base/failure.h"

#include <system_error>

namespace kowen::host {

std::string ReasonOf(int errorNumber) {
    return std::generic_category().message(errorNumber);
}

void FailWith(int32_t code, const std::string &subject, int errorNumber) {
    throw Failure(code, subject + ": " + ReasonOf(errorNumber), errorNumber);
}

} // namespace kowen::host
