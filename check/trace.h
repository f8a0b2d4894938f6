// What the checking module tells: every call and callback in a trace, every mistake there and on
// standard error, where the last line counts them.
//
// Environment, read when the module is loaded:
//
//     KOWEN_CHECK_TRACE   the file that the trace is appended to, "-" for standard error; else none
//     KOWEN_CHECK_FORMAT  "json" for one object a line; "text", or nothing, for text
//     KOWEN_CHECK_ABORT   "1" ends the process at the first mistake, for a debugger
#pragma once

#include "rules.h"

#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

namespace kowen::check {

using Json = nlohmann::ordered_json;

/// Each takes the call's number and how deep it is nested. Any thread may call.
void TraceCall(int number, int depth, const char *function, const Json &arguments);
void TraceReturn(int number, int depth, const char *function, const Json &results);
void TraceCallback(int number, int depth, const std::string &what, const Json &arguments);
void TraceAnswer(int number, int depth, const std::string &what, const Json &answer);

/// Reports that a rule was broken, and how: in the trace, and as a line of text on standard error
/// unless the trace goes there. Outside of every call the number is 0, and the function what the
/// module is at. Of many that are alike a trace has all, standard error the first ones.
void ReportMistake(int number, const char *function, Rule rule, const std::string &how);

/// The same for what is allowed, but hardly ever meant.
void ReportNote(int number, const char *function, Rule rule, const std::string &how);

/// A message of the checking module's own, told as mistakes are.
void ReportTrouble(const std::string &what);

/// Reads the settings, and reports values that mean nothing.
void BeginTrace();

/// The last line, on standard error too: how many calls and mistakes there were.
void FinishTrace(int calls, bool hadModule);

} // namespace kowen::check
