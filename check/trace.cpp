#include "trace.h"

#include "lifetime.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>

namespace kowen::check {
namespace {

bool IsSet(const char *name, const char *value) {
    const char *set = secure_getenv(name);
    return set != nullptr && std::strcmp(set, value) == 0;
}

/// Where the trace goes. A file is flushed line by line: the host may crash on the next one.
struct Sink {
    std::FILE *file = nullptr;
    bool json = IsSet("KOWEN_CHECK_FORMAT", "json");
    bool aborts = IsSet("KOWEN_CHECK_ABORT", "1");
    int mistakes = 0;

    Sink() {
        const char *path = secure_getenv("KOWEN_CHECK_TRACE");
        if (path == nullptr || *path == 0)
            return;
        file = std::strcmp(path, "-") == 0 ? stderr : std::fopen(path, "ae");
        if (file == nullptr)
            std::fprintf(stderr, "kowen-check: cannot write the trace %s: %s\n", path,
                         std::strerror(errno));
    }
    ~Sink() {
        if (file != nullptr && file != stderr)
            std::fclose(file);
    }
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;

    void Write(const std::string &line) const {
        if (file == nullptr)
            return;
        std::fputs((line + "\n").c_str(), file);
        std::fflush(file);
    }
    /// Standard error, as the user reads it: in the trace that goes there it stands already.
    void Say(const std::string &line) const {
        if (file != stderr)
            std::fprintf(stderr, "kowen-check: %s\n", line.c_str());
    }
};

std::mutex mutex;

Sink &TheSink() {
    return TheOne<Sink>();
}

std::string Dump(const Json &value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

bool IsPlain(const std::string &text) {
    for (const unsigned char c : text)
        if (c < ' ' || c == '"' || c == '\\' || c >= 0x7F)
            return false;
    return !text.empty();
}

std::string Text(const Json &value);

std::string TextOfMembers(const Json &object) {
    std::string text;
    for (const auto &[key, member] : object.items()) {
        const std::string value = Text(member);
        const bool saysKey = value.compare(0, key.size() + 1, key + " ") == 0; // "setup 1"
        text += (text.empty() ? "" : ", ") + (saysKey ? value : key + " " + value);
    }
    return text;
}

std::string Text(const Json &value) {
    if (value.is_object())
        return "{" + TextOfMembers(value) + "}";
    if (value.is_string() && IsPlain(value.get<std::string>()))
        return value.get<std::string>();
    return Dump(value);
}

std::string Indent(int depth) {
    return std::string(static_cast<size_t>(depth) * 4, ' ');
}

/// One event: as JSON with all of its members, or as the line that is given.
void Tell(const Json &event, const std::string &line) {
    const std::lock_guard lock(mutex);
    const Sink &sink = TheSink();
    sink.Write(sink.json ? Dump(event) : line);
}

} // namespace

void TraceCall(int number, int depth, const char *function, const Json &arguments) {
    Tell({{"event", "call"}, {"call", number}, {"function", function}, {"arguments", arguments}},
         Indent(depth) + std::to_string(number) + " " + function + "(" + TextOfMembers(arguments) +
             ")");
}

void TraceReturn(int number, int depth, const char *function, const Json &results) {
    Tell({{"event", "return"}, {"call", number}, {"function", function}, {"results", results}},
         Indent(depth) + std::to_string(number) + " returns" + (results.empty() ? "" : " ") +
             TextOfMembers(results));
}

void TraceCallback(int number, int depth, const std::string &what, const Json &arguments) {
    Tell({{"event", "callback"}, {"call", number}, {"callback", what}, {"arguments", arguments}},
         Indent(depth) + "calls back " + what + "(" + TextOfMembers(arguments) + ")");
}

void TraceAnswer(int number, int depth, const std::string &what, const Json &answer) {
    Tell({{"event", "answer"}, {"call", number}, {"callback", what}, {"answer", answer}},
         Indent(depth) + "answered " + Text(answer));
}

void ReportMistake(int number, const char *function, Rule rule, const std::string &how) {
    const RuleText &text = TextOf(rule);
    const std::lock_guard lock(mutex);
    Sink &sink = TheSink();
    ++sink.mistakes;
    const std::string line = "mistake " + std::to_string(sink.mistakes) + " [" + text.name +
                             "] in call " + std::to_string(number) + ", " + function + ": " + how +
                             ". docs/" + text.page + ": \"" + text.sentence + "\"";
    const Json event = {
        {"event", "mistake"},       {"call", number}, {"function", function},
        {"rule", text.name},        {"how", how},     {"page", std::string("docs/") + text.page},
        {"sentence", text.sentence}};
    sink.Write(sink.json ? Dump(event) : line);
    sink.Say(line);
    if (sink.aborts)
        std::abort();
}

void ReportTrouble(const std::string &what) {
    Tell({{"event", "trouble"}, {"what", what}}, "trouble: " + what);
    const std::lock_guard lock(mutex);
    TheSink().Say(what);
}

void FinishTrace(int calls) {
    const int mistakes = TheSink().mistakes;
    Tell({{"event", "end"}, {"calls", calls}, {"mistakes", mistakes}},
         std::to_string(calls) + " calls, " + std::to_string(mistakes) + " mistakes");
}

} // namespace kowen::check
