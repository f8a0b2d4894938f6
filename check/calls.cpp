#include "calls.h"

#include "lifetime.h"
#include "real_module.h"

#include <cstdint>
#include <mutex>
#include <thread>
#include <vector>

namespace kowen::check {
namespace {

/// A call or a callback that has not returned yet.
struct Frame {
    bool isCallback;
    int number; ///< of the call
    const char *function;
    uintptr_t place; ///< on the stack
};

/// Guarded by its mutex.
struct Underway {
    std::mutex mutex;
    std::thread::id thread; ///< of all frames
    std::vector<Frame> frames;
    int calls = 0;
};

Underway &TheUnderway() {
    return TheOne<Underway>();
}

/// Stacks grow downwards: what was called from a frame lies below it.
bool WasLeft(const Frame &frame, uintptr_t place) {
    return frame.place <= place;
}

/// Takes off the frames that a jump has left. Returns the call whose callback it was, or null.
const char *ForgetFramesThatWereLeft(Underway &underway, uintptr_t place, int *number) {
    const char *function = nullptr;
    while (!underway.frames.empty() && WasLeft(underway.frames.back(), place)) {
        function = underway.frames.back().function;
        *number = underway.frames.back().number;
        underway.frames.pop_back();
    }
    return function;
}

} // namespace

Call::Call(const char *function, CallKind kind, const Json &arguments) : function_(function) {
    Underway &underway = TheUnderway();
    const auto place = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    const char *left = nullptr;
    int leftNumber = 0;
    Frame around = {};
    {
        const std::lock_guard lock(underway.mutex);
        number_ = ++underway.calls;
        entered_ = underway.frames.empty() || underway.thread == std::this_thread::get_id();
        if (entered_)
            left = ForgetFramesThatWereLeft(underway, place, &leftNumber);
        if (!underway.frames.empty())
            around = underway.frames.back();
        depth_ = entered_ ? static_cast<int>(underway.frames.size()) : 0;
        if (entered_) {
            underway.thread = std::this_thread::get_id();
            underway.frames.push_back({false, number_, function, place});
        }
    }
    if (left != nullptr)
        ReportMistake(leftNumber, left, Rule::kCallbackReturns,
                      "a callback of this call was left by a jump");
    TraceCall(number_, depth_, function, arguments);
    if (!entered_)
        Danger(Rule::kOneThread, std::string("it comes while another thread is in call ") +
                                     std::to_string(around.number) + ", " + around.function);
    else if (around.isCallback && kind == CallKind::kOther)
        Mistake(Rule::kCallbackCalls, std::string("it comes from inside a callback of call ") +
                                          std::to_string(around.number) + ", " + around.function);
    if (passes_ && Real() == nullptr)
        passes_ = false;
}

Call::~Call() {
    if (entered_) {
        Underway &underway = TheUnderway();
        const std::lock_guard lock(underway.mutex);
        underway.frames.pop_back();
    }
    TraceReturn(number_, depth_, function_, results_);
}

void Call::Mistake(Rule rule, const std::string &how) const {
    ReportMistake(number_, function_, rule, how);
}

void Call::Danger(Rule rule, const std::string &how) {
    Mistake(rule, how + "; the call was not passed on");
    passes_ = false;
}

Callback::Callback(const std::string &what, const Json &arguments) : what_(what) {
    Underway &underway = TheUnderway();
    const auto place = reinterpret_cast<uintptr_t>(__builtin_frame_address(0));
    {
        const std::lock_guard lock(underway.mutex);
        depth_ = static_cast<int>(underway.frames.size());
        number_ = underway.frames.empty() ? 0 : underway.frames.back().number;
        const char *function = underway.frames.empty() ? "" : underway.frames.back().function;
        underway.frames.push_back({true, number_, function, place});
    }
    TraceCallback(number_, depth_, what_, arguments);
}

Callback::~Callback() {
    Underway &underway = TheUnderway();
    const std::lock_guard lock(underway.mutex);
    underway.frames.pop_back();
}

void Callback::Answers(const Json &answer) const {
    TraceAnswer(number_, depth_, what_, answer);
}

void Callback::Mistake(Rule rule, const std::string &how) const {
    ReportMistake(number_, what_.c_str(), rule, how);
}

void Callback::Note(Rule rule, const std::string &how) const {
    ReportNote(number_, what_.c_str(), rule, how);
}

void MistakeOutsideCalls(Rule rule, const std::string &how) {
    ReportMistake(0, "unloading", rule, how);
}

int CountCalls() {
    return TheUnderway().calls;
}

size_t CountUnderway() {
    Underway &underway = TheUnderway();
    const std::lock_guard lock(underway.mutex);
    return underway.frames.size();
}

} // namespace kowen::check
