// Where the module is.
#pragma once

#include <string>

namespace kowen::host {

/// The module's path: $KOWEN_MODULE when it is set; else the first that exists of kowen.so beside
/// this library, kowen/kowen.so there, ../kowen/kowen.so, and where the build was to be installed.
/// Throws Failure that lists what was looked for.
///
/// Hardened: a program that runs with more rights than who started it loads no code that its
/// environment names. Test: FindModule.WithRightsOfAnotherTheEnvironmentDoesNotCount.
std::string FindModule();

} // namespace kowen::host
