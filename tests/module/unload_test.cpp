// Loading and unloading leave nothing behind in the host's process.
#include "module/tiny_export.h"
#include "support/emulator.h"
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <dlfcn.h>

namespace {

#ifdef KOWEN_SANITIZED
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
constexpr int kRounds = kSanitized ? 100 : 10000;
// Sanitizers and emulators keep notes of their own about each module they have seen.
constexpr bool kProcessIsTheHosts = !kSanitized && kEmulator.empty();
constexpr int kWarmUpRounds = 50;
constexpr long kGrowthLimitKilobytes = 256;
// The heap's own mappings part and join; a module that stays adds several in each round.
constexpr int kRestlessMappings = 8;

int CountMappings() {
    std::FILE *maps = std::fopen("/proc/self/maps", "r");
    int lines = 0;
    for (int c; (c = std::getc(maps)) != EOF;)
        lines += c == '\n';
    std::fclose(maps);
    return lines;
}

long ResidentKilobytes() {
    std::FILE *status = std::fopen("/proc/self/status", "r");
    char line[256];
    long kilobytes = -1;
    while (std::fgets(line, sizeof line, status) != nullptr)
        std::sscanf(line, "VmRSS: %ld", &kilobytes);
    std::fclose(status);
    return kilobytes;
}

bool IsLoaded() {
    void *library = dlopen(kModulePath, RTLD_NOW | RTLD_NOLOAD);
    if (library != nullptr)
        dlclose(library);
    return library != nullptr;
}

TEST(Unload, TheModuleGoesWithItsLastClose) {
    EXPECT_FALSE(IsLoaded());
    {
        const ModuleHost host;
        EXPECT_TRUE(IsLoaded());
    }
    EXPECT_FALSE(IsLoaded());
}

TEST(Unload, AnExportDoesNotPinTheModule) {
    const TempDirectory directory;
    {
        const ModuleHost host;
        EXPECT_EQ(ExportTinyPicture(host, directory.File("a.jpg")), 0);
    }
    EXPECT_FALSE(IsLoaded());
    EXPECT_TRUE(directory.Has("a.jpg"));
}

TEST(Unload, ItsStateStartsAnew) {
    {
        const ModuleHost host;
        std::memset(host.Entry<char *>("szDLLName"), 'x', 260);
    }
    const ModuleHost host;
    EXPECT_EQ(host.Entry<char *>("szDLLName")[0], 0);
}

TEST(Unload, ManyRoundsLeaveNothingBehind) {
    for (int i = 0; i < kWarmUpRounds; ++i)
        const ModuleHost host;
    const int mappings = CountMappings();
    const long resident = ResidentKilobytes();
    for (int i = 0; i < kRounds; ++i) {
        const ModuleHost host;
        ASSERT_EQ(host.Table().entryCount, 9);
    }
    EXPECT_LE(CountMappings(), mappings + kRestlessMappings);
    if (kProcessIsTheHosts) {
        EXPECT_LE(ResidentKilobytes(), resident + kGrowthLimitKilobytes);
    }
    EXPECT_FALSE(IsLoaded());
}

} // namespace
