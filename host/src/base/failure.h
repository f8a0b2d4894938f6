// How the library fails inside: one exception, caught where C begins.
#pragma once

#include "kowen/host.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace kowen::host {

/// Ends a call. what() is the sentence for the result record.
class Failure : public std::runtime_error {
public:
    /// code  KOWEN_HOST_ERR_...
    Failure(int32_t resultCode, const std::string &message, int errorNumber = 0)
        : std::runtime_error(message), code(resultCode), systemError(errorNumber) {}

    int32_t Code() const { return code; }
    int SystemError() const { return systemError; }

private:
    int32_t code;
    int systemError;
};

/// A null or senseless argument, an unknown setting or value.
class BadArgument : public Failure {
public:
    explicit BadArgument(const std::string &message) : Failure(KOWEN_HOST_ERR_ARGUMENT, message) {}
};

/// Throws "subject: reason", the reason being that of a system error number.
[[noreturn]] void FailWith(int32_t code, const std::string &subject, int errorNumber);

/// The system's text for an error number.
std::string ReasonOf(int errorNumber);

} // namespace kowen::host
