// What the checking module tells: every call and callback in a trace, every mistake there and on
// standard error.
//
// Environment, read when the module is loaded:
//
//     KOWEN_CHECK_TRACE   the file that the trace is appended to, "-" for standard error; else none
//     KOWEN_CHECK_FORMAT  "json" for one object a line; else text
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
/// unless the trace goes there. The number is 0 outside of every call.
void ReportMistake(int number, const char *function, Rule rule, const std::string &how);

/// A message of the checking module's own, told as mistakes are.
void ReportTrouble(const std::string &what);

/// The last line: how many calls and mistakes there were.
void FinishTrace(int calls);

} // namespace kowen::check
