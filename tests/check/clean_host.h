// A host of this tree, run with the checking module and without it.
#pragma once

#include "check/paths.h"
#include "support/emulator.h"
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <sstream>
#include <string>

namespace kowen::test {

inline std::string Quoted(const std::string &text) {
    return "'" + text + "'";
}

class CleanHost : public testing::Test {
protected:
    /// Runs a program with the checking module and without it: the file is the same, the last line
    /// of the trace counts no mistakes.
    void ExpectClean(const std::string &before, const std::string &behind) {
        ASSERT_EQ(Run(before + Quoted(kModulePath) + behind), 0);
        const std::string plain = directory.Read("a.jpg");
        ASSERT_GT(plain.size(), 600u);
        ASSERT_EQ(Run(before + Quoted(kCheckPath) + behind), 0);
        EXPECT_EQ(directory.Read("a.jpg"), plain);
        ExpectNothingSaid(1);
        ExpectNoMistake(" ExportCellData(", 1);
    }
    /// Standard error has the closing line of so many processes, and nothing else.
    void ExpectNothingSaid(int processes) const {
        std::istringstream errors(directory.Read("errors"));
        int closing = 0;
        for (std::string line; std::getline(errors, line); ++closing)
            EXPECT_TRUE(IsClosing(line)) << line;
        EXPECT_EQ(closing, processes);
    }
    static bool IsClosing(const std::string &line) {
        return line.compare(0, 13, "kowen-check: ") == 0 && line.size() > 31 &&
               line.substr(line.size() - 18) == " calls, 0 mistakes";
    }
    /// No line of the trace tells a mistake, the last one counts none, and the call is there as
    /// often as expected at least.
    void ExpectNoMistake(const std::string &call, int times) const {
        const std::string trace = directory.Read("trace");
        ASSERT_GT(trace.size(), 13u);
        EXPECT_EQ(trace.substr(trace.size() - 13), ", 0 mistakes\n");
        EXPECT_EQ(trace.find("\nmistake "), std::string::npos) << directory.Read("errors");
        int found = 0;
        for (size_t at = 0; (at = trace.find(call, at)) != std::string::npos; ++at)
            ++found;
        EXPECT_GE(found, times) << call;
    }
    int Run(const std::string &command) const {
        const std::string all = "KOWEN_CHECKED_MODULE=" + Quoted(kModulePath) +
                                " KOWEN_CHECK_TRACE=" + Quoted(directory.File("trace")) +
                                " INIDIR=" + Quoted(directory.Path()) + "; export " +
                                "KOWEN_CHECKED_MODULE KOWEN_CHECK_TRACE INIDIR; " +
                                std::string(kEmulator) + command + " >/dev/null 2>" +
                                Quoted(directory.File("errors"));
        return std::system(all.c_str());
    }

    TempDirectory directory;
};

} // namespace kowen::test
