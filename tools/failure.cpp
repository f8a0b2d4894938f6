#include "failure.h"

#include <cstring>

namespace kowen::cli {

void FailWith(const std::string &subject, int errorNumber) {
    throw Failure(subject + ": " + std::strerror(errorNumber));
}

} // namespace kowen::cli
