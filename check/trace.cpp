#include "trace.h"

#include "lifetime.h"
#include "tally.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <mutex>

namespace kowen::check {
namespace {

std::string Setting(const char *name) {
    const char *set = secure_getenv(name);
    return set != nullptr ? set : "";
}

/// Where the trace goes. A file is flushed line by line: the host may crash on the next one.
struct Sink {
    const std::string path = Setting("KOWEN_CHECK_TRACE");
    const bool json = Setting("KOWEN_CHECK_FORMAT") == "json";
    const bool aborts = Setting("KOWEN_CHECK_ABORT") == "1";
    std::FILE *file = nullptr;
    Tally mistakes;
    Tally notes;

    Sink() {
        if (path == "-")
            file = stderr;
        else if (!path.empty() && (file = std::fopen(path.c_str(), "ae")) == nullptr)
            SayThatItCannotBeWritten("");
    }
    ~Sink() { Close(); }
    Sink(const Sink &) = delete;
    Sink &operator=(const Sink &) = delete;

    void Close() {
        if (file != nullptr && file != stderr)
            std::fclose(file);
        file = nullptr;
    }
    void SayThatItCannotBeWritten(const char *what) const {
        std::fprintf(stderr, "kowen-check: cannot write the trace %s: %s%s\n", path.c_str(),
                     std::strerror(errno), what);
    }
    void Write(const std::string &line) {
        if (file == nullptr ||
            (std::fputs((line + "\n").c_str(), file) >= 0 && std::fflush(file) == 0))
            return;
        if (file != stderr)
            SayThatItCannotBeWritten("; it ends here");
        Close();
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
    Sink &sink = TheSink();
    sink.Write(sink.json ? Dump(event) : line);
}

std::string Place(const Report &report) {
    if (report.number == 0)
        return std::string("at ") + report.function;
    return "in call " + std::to_string(report.number) + ", " + report.function;
}

/// On standard error, where a host that goes on making one mistake does not bury the others.
void SayReport(const Sink &sink, Telling telling, const std::string &title,
               const std::string &line) {
    if (telling == Telling::kWhole)
        sink.Say(line);
    else if (telling == Telling::kAreMore)
        sink.Say(title + " is like one before; further ones of the kind are counted, and told in "
                         "a trace alone");
}

void TellReport(Sink &sink, Tally *tally, const char *event, const Report &report) {
    const RuleText &text = TextOf(report.rule);
    const Telling telling = tally->Count(report);
    const std::string title = std::string(event) + " " + std::to_string(tally->Reports()) + " [" +
                              text.name + "] " + Place(report);
    const std::string line =
        title + ": " + report.how + ". docs/" + text.page + ": \"" + text.sentence + "\"";
    const Json json = {{"event", event},
                       {"call", report.number},
                       {"function", report.function},
                       {"rule", text.name},
                       {"how", report.how},
                       {"page", std::string("docs/") + text.page},
                       {"sentence", text.sentence}};
    sink.Write(sink.json ? Dump(json) : line);
    SayReport(sink, telling, title, line);
}

/// A setting with a value that means nothing is told, and is as if it were not set.
void RefuseSetting(const char *name, std::initializer_list<const char *> known, const char *why) {
    const std::string value = Setting(name);
    const bool isKnown =
        value.empty() || std::find(known.begin(), known.end(), value) != known.end();
    if (!isKnown)
        ReportTrouble(std::string(name) + "=" + value + " " + why);
}

std::string Counted(int count, const std::string &what) {
    return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

/// ", 2 mistakes (unload 2)".
std::string CountedReports(const Tally &tally, const char *what, bool alsoNone) {
    if (tally.Reports() == 0)
        return alsoNone ? std::string(", 0 ") + what + "s" : "";
    return ", " + Counted(tally.Reports(), what) + " (" + tally.ByRule() + ")";
}

} // namespace

void TraceCall(int number, int depth, const char *function, const Json &arguments) {
    Tell({{"event", "call"}, {"call", number}, {"function", function}, {"arguments", arguments}},
         Indent(depth) + std::to_string(number) + " " + function + "(" + TextOfMembers(arguments) +
             ")");
}

void TraceReturn(int number, int depth, const char *function, const Json &results) {
    Tell({{"event", "return"}, {"call", number}, {"function", function}, {"results", results}},
         Indent(depth) + std::to_string(number) + " returns " +
             (results.empty() ? "nothing" : TextOfMembers(results)));
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
    const std::lock_guard lock(mutex);
    Sink &sink = TheSink();
    TellReport(sink, &sink.mistakes, "mistake", {number, function, rule, how});
    if (sink.aborts)
        std::abort();
}

void ReportNote(int number, const char *function, Rule rule, const std::string &how) {
    const std::lock_guard lock(mutex);
    Sink &sink = TheSink();
    TellReport(sink, &sink.notes, "note", {number, function, rule, how});
}

void ReportTrouble(const std::string &what) {
    Tell({{"event", "trouble"}, {"what", what}}, "trouble: " + what);
    const std::lock_guard lock(mutex);
    TheSink().Say(what);
}

void BeginTrace() {
    TheSink();
    RefuseSetting("KOWEN_CHECK_FORMAT", {"json", "text"}, "is neither json nor text: it is text");
    RefuseSetting("KOWEN_CHECK_ABORT", {"0", "1"}, "is not 1: no mistake ends the process");
}

void FinishTrace(int calls, bool hadModule) {
    const Sink &sink = TheSink();
    const std::string line =
        Counted(calls, "call") + (hadModule ? "" : " without a module behind them") +
        CountedReports(sink.mistakes, "mistake", true) + CountedReports(sink.notes, "note", false);
    Tell({{"event", "end"},
          {"calls", calls},
          {"mistakes", sink.mistakes.Reports()},
          {"notes", sink.notes.Reports()}},
         line);
    const std::lock_guard lock(mutex);
    TheSink().Say(line);
}

} // namespace kowen::check
