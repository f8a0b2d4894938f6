#include "io/file_record.h"

#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <string>

namespace kowen {
namespace {

FileHandle Open(const std::string &name, int32_t mode) {
    return static_cast<FileHandle>(qivOpen(name.c_str(), nullptr, mode));
}

TEST(QivOpen, CreatesAndReadsBack) {
    TempDirectory directory;
    const FileHandle file = Open(directory.File("a"), 4097);
    ASSERT_NE(file, 0u);
    EXPECT_EQ(qivWrite(file, "hello", 5), 5);
    EXPECT_EQ(qivClose(file), 0);
    EXPECT_EQ(directory.Read("a"), "hello");
}

} // namespace
} // namespace kowen
