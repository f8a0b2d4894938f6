// How a command fails: one exception type that carries the message and the exit status.
#pragma once

#include <stdexcept>
#include <string>

namespace kowen::cli {

/// Exit statuses of the command line. A signal that ends it has its own: 128 and its number.
enum ExitStatus { kExitOk = 0, kExitFailure = 1, kExitUsage = 2 };

/// Ends a command, or the picture of it that is under way. what() is the message for the user,
/// without the program's name.
class Failure : public std::runtime_error {
public:
    explicit Failure(const std::string &message, ExitStatus exitStatus = kExitFailure)
        : std::runtime_error(message), status(exitStatus) {}

    ExitStatus Status() const { return status; }

    /// A line of its own behind the message, or empty: where to read on.
    const std::string &Advice() const { return advice; }

protected:
    std::string advice;

private:
    ExitStatus status;
};

/// A choice that cannot be met; ends with kExitUsage.
class UsageFailure : public Failure {
public:
    explicit UsageFailure(const std::string &message, const std::string &nextLine = "")
        : Failure(message, kExitUsage) {
        advice = nextLine;
    }
};

/// Nobody reads the standard output any more: the program ends as a closed pipe ends others.
class ReaderGone : public Failure {
public:
    ReaderGone() : Failure("standard output: its reader has gone") {}
};

/// The user asked to stop.
class Cancelled : public Failure {
public:
    Cancelled() : Failure("cancelled") {}
};

/// The message with the picture's name before it, unless it begins with that.
std::string NamingPicture(const std::string &picture, const std::string &message);

/// Throws "subject: reason", the reason being that of a system error number.
[[noreturn]] void FailWith(const std::string &subject, int errorNumber);

} // namespace kowen::cli
