// What the example of the host guide tells its user.
#include "module/guide_example.h"
#include "support/full_disk.h"
#include "support/module_path.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(GuideExample, SavesAWholeJpeg) {
    const TempDirectory directory;
    const std::string words = directory.File("words");
    ASSERT_EQ(RunGuideExample(kModulePath, directory.File("a.jpg"), words), 0);
    EXPECT_EQ(directory.Read("words"), "100 %\n");
    const std::string jpeg = directory.Read("a.jpg");
    ASSERT_GT(jpeg.size(), 700u);
    EXPECT_EQ(jpeg.substr(0, 2), "\xFF\xD8");
    EXPECT_EQ(jpeg.substr(jpeg.size() - 2), "\xFF\xD9");
}

TEST(GuideExample, ReportsAnOutputThatCannotBeOpened) {
    const TempDirectory directory;
    const std::string output = directory.File("missing/a.jpg");
    EXPECT_NE(RunGuideExample(kModulePath, output, directory.File("words")), 0);
    EXPECT_EQ(directory.Read("words"), output + ": error 303\n");
}

TEST(GuideExample, ReportsADeviceWithoutSpace) {
    const TempDirectory directory;
    EXPECT_NE(RunGuideExample(kModulePath, "/dev/full", directory.File("words")), 0);
    EXPECT_EQ(directory.Read("words"),
              "/dev/full: the file is not whole; is there no space left?\n100 %\n");
}

TEST(GuideExample, ReportsAFullDisk) {
    const TempDirectory full;
    const TempDirectory directory;
    const std::string output = full.File("a.jpg");
    const int status =
        RunOnFullDisk(full, GuideCommand(kModulePath, output, directory.File("words")));
    if (status == -1)
        GTEST_SKIP() << "only root can mount a full disk";
    EXPECT_EQ(status, 1);
    EXPECT_EQ(directory.Read("words"),
              output + ": the file is not whole; is there no space left?\n100 %\n");
}

TEST(GuideExample, ReportsAModuleThatIsNone) {
    const TempDirectory directory;
    const std::string module = directory.Write("kowen.so", "not a module");
    EXPECT_NE(RunGuideExample(module, directory.File("a.jpg"), directory.File("words")), 0);
    EXPECT_EQ(directory.Read("words"), module + ": not a filter\n");
}

TEST(GuideExample, ReportsAFilterWithoutAnEntry) {
    const TempDirectory directory;
    for (const char *lacking :
         {"CreateSetup", "DestroySetup", "EscapeSetup", "ExportCellData", "szDLLName"}) {
        const ScopedEnvironment lack("KOWEN_LACKING", lacking);
        EXPECT_NE(
            RunGuideExample(KOWEN_LACKING_MODULE, directory.File("a.jpg"), directory.File("words")),
            0);
        EXPECT_EQ(directory.Read("words"), KOWEN_LACKING_MODULE ": not a filter\n") << lacking;
    }
    const ScopedEnvironment lack("KOWEN_LACKING", "dd_entry"); // which it does not use
    EXPECT_EQ(
        RunGuideExample(KOWEN_LACKING_MODULE, directory.File("a.jpg"), directory.File("words")), 0);
}

} // namespace
