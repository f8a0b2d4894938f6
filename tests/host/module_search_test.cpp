// Whose word on where the module is counts.
#include "filter/module_search.h"

#include "base/failure.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kowen::host {
namespace {

namespace fs = std::filesystem;

constexpr const char *kNamed = "/somewhere/else.so";
constexpr uid_t kNobody = 65534;

std::string Found() {
    try {
        return FindModule();
    } catch (const Failure &) {
        return "";
    }
}

// Run by the test below, in a copy of this program.
TEST(FindModule, DISABLED_TakesWhatTheEnvironmentNames) {
    EXPECT_EQ(Found(), kNamed);
}

// The exit status of the test above, run by that copy.
int StatusOf(const std::string &program) {
    const pid_t child = fork();
    if (child == 0) {
        dup2(open("/dev/null", O_WRONLY | O_CLOEXEC), STDOUT_FILENO); // a failure is what is wanted
        execl(program.c_str(), program.c_str(), "--gtest_also_run_disabled_tests",
              "--gtest_filter=FindModule.DISABLED_TakesWhatTheEnvironmentNames",
              "--gtest_output=", static_cast<char *>(nullptr));
        _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(FindModule, WithRightsOfAnotherTheEnvironmentDoesNotCount) {
    const TempDirectory directory;
    struct statvfs system = {};
    statvfs(directory.Path().c_str(), &system);
    if (geteuid() != 0 || (system.f_flag & ST_NOSUID) != 0)
        GTEST_SKIP() << "no way to make a program that runs with another's rights";
    const ScopedEnvironment set("KOWEN_MODULE", kNamed);
    const std::string program = directory.File("program");
    fs::copy_file(fs::read_symlink("/proc/self/exe"), program);
    fs::permissions(directory.Path(), fs::perms(0755));
    EXPECT_EQ(StatusOf(program), 0);
    EXPECT_EQ(chown(program.c_str(), kNobody, kNobody), 0);
    EXPECT_EQ(chmod(program.c_str(), 04755), 0);
    EXPECT_EQ(StatusOf(program), 1);
}

} // namespace
} // namespace kowen::host
