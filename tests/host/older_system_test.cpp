// Systems that lack the calls that leave nothing behind: the saves are the same.
#include "older_system.h"
#include "saving.h"

#include "support/temp_directory.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kowen::test {
namespace {

#if defined(__x86_64__)

enum Status { kFine, kNoFilter, kStillThere, kWrongCode, kWrongBytes, kCancelFailed };

Status SaveWithoutNewerCalls(KowenModule *module, const std::string &path,
                             const std::vector<uint8_t> &expected) {
    if (!ForgetNewerCalls())
        return kNoFilter;
    if (open("/tmp", O_TMPFILE | O_RDWR, 0600) >= 0 || syscall(SYS_memfd_create, "a", 0) >= 0)
        return kStillThere;
    const std::vector<uint8_t> pixels = Gradient(40, 30);
    const KowenPicture picture = RgbPicture(pixels, 40, 30);
    SaveOptions options;
    options.path = path;
    if (Save(module, picture, {{"progressive", "yes"}}, options).code != KOWEN_HOST_OK)
        return kWrongCode;
    if (Save(module, picture, {{"progressive", "yes"}}).bytes != expected)
        return kWrongBytes;
    KowenProgress progress = {};
    progress.size = sizeof progress;
    progress.callback = [](void *, double fraction) -> int32_t { return fraction > 0.5; };
    options.progress = &progress;
    return Save(module, picture, {}, options).code == KOWEN_HOST_ERR_CANCELLED ? kFine
                                                                               : kCancelFailed;
}

TEST(Files, AppearWholeOnOlderSystemsToo) {
    const OpenedModule module;
    const TempDirectory directory;
    const std::vector<uint8_t> pixels = Gradient(40, 30);
    const std::vector<uint8_t> expected =
        Save(module, RgbPicture(pixels, 40, 30), {{"progressive", "yes"}}).bytes;
    setenv("TMPDIR", directory.Path().c_str(), 1);
    const pid_t child = fork();
    if (child == 0)
        _exit(SaveWithoutNewerCalls(module, directory.File("a.jpg"), expected));
    unsetenv("TMPDIR");
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    if (WEXITSTATUS(status) == kNoFilter)
        GTEST_SKIP() << "this system filters no calls";
    EXPECT_EQ(WEXITSTATUS(status), kFine);
    EXPECT_EQ(directory.Read("a.jpg"), std::string(expected.begin(), expected.end()));
    // Neither the settings' file nor a temporary one is left.
    size_t entries = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(directory.Path()))
        ++entries;
    EXPECT_EQ(entries, 1U);
}

#endif

} // namespace
} // namespace kowen::test
