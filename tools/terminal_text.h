// Text on its way to a terminal.
#pragma once

#include <string>

namespace kowen::cli {

/// The text with a question mark for each control character, those of UTF-8's second page included:
/// file names may hold any.
std::string Printable(std::string text);

/// The text as it may be written to a stream: printable on a terminal, else as it is.
///
/// stream  a file descriptor.
std::string TextFor(int stream, const std::string &text);

/// Writes "kowen: ", the text and a line end to the standard error output.
void PrintError(const std::string &text);

} // namespace kowen::cli
