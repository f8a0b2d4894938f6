#include "failure.h"

#include <cstring>

namespace kowen::cli {

void FailWith(const std::string &subject, int errorNumber) {
    throw Failure(subject + ": " + std::strerror(errorNumber));
}

std::string NamingPicture(const std::string &picture, const std::string &message) {
    return message.starts_with(picture + ": ") ? message : picture + ": " + message;
}

} // namespace kowen::cli
