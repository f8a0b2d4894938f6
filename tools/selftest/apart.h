// Work on a module that may end its process, hang, or print, in a process of its own.
#pragma once

#include <functional>
#include <string>
#include <string_view>

namespace kowen::cli {

/// What a process said and how it ended.
struct ApartEnd {
    std::string said;
    int status; ///< as waitpid has it; 0 when its work came to an end
};

using Saying = std::function<void(std::string_view)>;

/// Runs work in a process of its own, with no profile and no display of the machine's, for at most
/// a minute. What the work says is collected; what the module prints goes to the standard error
/// output. Throws Failure when there is no process to be had, Cancelled when the user has asked to
/// stop, which ends the process at once.
ApartEnd RunApart(const std::function<void(const Saying &)> &work);

/// Of a process that came to an early end: "ended by a signal: Aborted".
std::string HowItEnded(int status);

} // namespace kowen::cli
