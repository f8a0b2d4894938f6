// What a report says of the machine.
#pragma once

#include <string>

namespace kowen::cli {

/// "x86_64, 64 bits, little-endian"
std::string Architecture();

/// The processor's name as the system tells it; "unknown" when it does not.
std::string Processor();

/// "Linux 6.1.0"
std::string System();

} // namespace kowen::cli
