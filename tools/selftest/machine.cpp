#include "selftest/machine.h"

#include <bit>
#include <fstream>
#include <string_view>
#include <sys/utsname.h>

namespace kowen::cli {
namespace {

// The value of a line "key : value", without the blanks around it.
std::string ValueOf(const std::string &line) {
    const size_t colon = line.find(':');
    const size_t start = line.find_first_not_of(" \t", colon + 1);
    return start == std::string::npos ? "" : line.substr(start);
}

} // namespace

std::string Architecture() {
    utsname system = {};
    const std::string machine = uname(&system) == 0 ? system.machine : "unknown";
    return machine + ", " + std::to_string(8 * sizeof(void *)) + " bits, " +
           (std::endian::native == std::endian::little ? "little" : "big") + "-endian";
}

// x86 has a name; ARM numbers, of which the part tells most; PowerPC and others a short name.
std::string Processor() {
    std::ifstream file("/proc/cpuinfo");
    std::string line;
    while (std::getline(file, line))
        for (const std::string_view key : {"model name", "CPU part", "cpu\t", "processor 0"})
            if (line.starts_with(key) && !ValueOf(line).empty())
                return (key == "CPU part" ? "CPU part " : "") + ValueOf(line);
    return "unknown";
}

std::string System() {
    utsname system = {};
    return uname(&system) == 0 ? std::string(system.sysname) + " " + system.release : "unknown";
}

} // namespace kowen::cli
