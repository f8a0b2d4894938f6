// The calls that are underway: their numbers, the threads and callbacks they come from.
#pragma once

#include "trace.h"

#include <cstddef>

namespace kowen::check {

/// What may be called from inside a callback.
enum class CallKind { kMemory, kOther };

/// One call of the host's, from its beginning to its return. Traces both, and reports calls that
/// come while another thread is in the module, or from inside a callback.
class Call {
public:
    Call(const char *function, CallKind kind, const Json &arguments);
    ~Call();
    Call(const Call &) = delete;
    Call &operator=(const Call &) = delete;

    /// Reports a mistake of this call's.
    void Mistake(Rule rule, const std::string &how) const;
    /// The same for one that would make the module touch what is not there.
    void Danger(Rule rule, const std::string &how);

    /// Whether the call may reach the module: there is one, no other thread is in it and nothing
    /// dangerous was found. A call that may not has the result that the function documents for
    /// handle 0.
    bool Passes() const { return passes_; }

    /// Adds to what the trace says of the return.
    void Tell(const char *name, Json value) { results_[name] = std::move(value); }

private:
    const char *function_;
    int number_;
    int depth_;
    bool entered_ = false;
    bool passes_ = true;
    Json results_ = Json::object();
};

/// A callback that is underway inside a call.
class Callback {
public:
    Callback(const std::string &what, const Json &arguments);
    ~Callback();
    Callback(const Callback &) = delete;
    Callback &operator=(const Callback &) = delete;

    /// Calls the host's procedure, and reports an exception on its way out of there.
    template <typename Procedure> auto Run(const Procedure &procedure) const {
        try {
            return procedure();
        } catch (...) {
            Mistake(Rule::kCallbackReturns, what_ + " was left by an exception");
            throw;
        }
    }
    void Answers(const Json &answer) const;
    void Mistake(Rule rule, const std::string &how) const;
    void Note(Rule rule, const std::string &how) const;

private:
    std::string what_;
    int number_;
    int depth_;
};

/// Reports a mistake that belongs to no call.
void MistakeOutsideCalls(Rule rule, const std::string &how);

int CountCalls();

/// The calls and callbacks that have not returned: the one at work is the last of them.
size_t CountUnderway();

} // namespace kowen::check
