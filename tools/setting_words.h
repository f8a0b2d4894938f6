// The library's words for settings as options of the command line.
#pragma once

#include <string>

namespace kowen::cli {

/// A message of the library, which quotes the names of settings, for somebody who gives options:
/// "set 'colour' to grey" becomes "give --colour grey". Quoted words behind "not" are what the user
/// wrote and stay.
std::string InOptions(std::string message);

} // namespace kowen::cli
