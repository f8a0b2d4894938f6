// How the host fails: one exception type that carries the message and the exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace kowen::host {

/// Exit statuses of the command line.
enum ExitStatus { kExitOk = 0, kExitFailure = 1, kExitUsage = 2, kExitCancelled = 130 };

/// Ends a command. what() is the message for the user, without the program's name.
class HostError : public std::runtime_error {
public:
    explicit HostError(const std::string &message, ExitStatus exitStatus = kExitFailure)
        : std::runtime_error(message), status(exitStatus) {}

    ExitStatus Status() const { return status; }

private:
    ExitStatus status;
};

/// A choice that cannot be met; ends with kExitUsage.
class UsageError : public HostError {
public:
    explicit UsageError(const std::string &message) : HostError(message, kExitUsage) {}
};

/// The user asked to stop.
class Cancelled : public HostError {
public:
    Cancelled() : HostError("cancelled", kExitCancelled) {}
};

/// Throws "subject: reason", the reason being that of a system error number.
[[noreturn]] void FailWith(const std::string &subject, int errorNumber);

} // namespace kowen::host
