// What the example of the host guide tells its user.
#include "module/guide_example.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(GuideExample, SavesAWholeJpeg) {
    const TempDirectory directory;
    const std::string words = directory.File("words");
    ASSERT_EQ(RunGuideExample(KOWEN_MODULE_PATH, directory.File("a.jpg"), words), 0);
    EXPECT_EQ(directory.Read("words"), "100 %\n");
    const std::string jpeg = directory.Read("a.jpg");
    ASSERT_GT(jpeg.size(), 700u);
    EXPECT_EQ(jpeg.substr(0, 2), "\xFF\xD8");
    EXPECT_EQ(jpeg.substr(jpeg.size() - 2), "\xFF\xD9");
}

TEST(GuideExample, ReportsAnOutputThatCannotBeOpened) {
    const TempDirectory directory;
    const std::string output = directory.File("missing/a.jpg");
    EXPECT_NE(RunGuideExample(KOWEN_MODULE_PATH, output, directory.File("words")), 0);
    EXPECT_EQ(directory.Read("words"), output + ": error 303\n");
}

TEST(GuideExample, ReportsAModuleThatIsNone) {
    const TempDirectory directory;
    const std::string module = directory.Write("kowen.so", "not a module");
    EXPECT_NE(RunGuideExample(module, directory.File("a.jpg"), directory.File("words")), 0);
    EXPECT_EQ(directory.Read("words"), module + ": not a filter\n");
}

} // namespace
