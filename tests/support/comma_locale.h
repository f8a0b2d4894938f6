// A locale of the process whose numbers have a decimal comma, made when the machine has none.
#pragma once

#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <bit>
#include <clocale>
#include <cstdlib>
#include <optional>
#include <string>

/// The locale of the process for its life, unless it could not be made. The directory must be
/// there as long.
class CommaLocale {
public:
    explicit CommaLocale(const TempDirectory &directory) {
        directory.Write("comma", "LC_NUMERIC\ndecimal_point \",\"\nthousands_sep \"\"\n"
                                 "grouping -1\nEND LC_NUMERIC\nLC_CTYPE\nEND LC_CTYPE\n");
        const std::string command = "localedef -c --no-archive " + std::string(kByteOrder) +
                                    " -i " + directory.File("comma") + " -f ANSI_X3.4-1968 " +
                                    directory.File("xx") + " >/dev/null 2>&1";
        made = std::system(command.c_str()) != -1;
        path.emplace("LOCPATH", directory.Path().c_str());
        made = made && std::setlocale(LC_NUMERIC, "xx") != nullptr;
    }
    ~CommaLocale() { std::setlocale(LC_NUMERIC, "C"); }
    CommaLocale(const CommaLocale &) = delete;
    CommaLocale &operator=(const CommaLocale &) = delete;

    bool IsThere() const { return made; }

private:
    // What makes it may be a program of the machine that emulates this one.
    static constexpr const char *kByteOrder =
        std::endian::native == std::endian::big ? "--big-endian" : "--little-endian";

    std::optional<ScopedEnvironment> path;
    bool made = false;
};
