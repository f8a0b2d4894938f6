#include "platform/state.h"

#include "platform/text.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kowen {
namespace {

// The tests of setups leave no current one behind, so this holds in any order.
TEST(FilterState, NothingIsCurrentAtTheStart) {
    EXPECT_EQ(hCommon, MemoryHandle{0});
    EXPECT_EQ(lpCommon, nullptr);
    EXPECT_EQ(hSetup, MemoryHandle{0});
    EXPECT_EQ(lpSetup, nullptr);
    EXPECT_EQ(hRaster, MemoryHandle{0});
    EXPECT_EQ(lpRaster, nullptr);
    EXPECT_EQ(hEMData, MemoryHandle{0});
    EXPECT_EQ(lpEMData, nullptr);
    EXPECT_EQ(hDLLModule, 0u);
    EXPECT_EQ(hAppAnchorBlock, 0u);
}

TEST(FilterState, TheNumbersOfTheHostInterface) {
    EXPECT_EQ(FilterVersion, 1);
    EXPECT_EQ(FilterID, 28);
}

TEST(FilterState, TheModuleNameIsWritable) {
    EXPECT_EQ(stricmp(szFilter, "kowen"), 0);
    const char first = szFilter[0];
    szFilter[0] = 'x';
    EXPECT_EQ(szFilter[0], 'x');
    szFilter[0] = first;
}

TEST(FilterState, TheModulePathHas260Zeros) {
    EXPECT_EQ(sizeof export_szDLLName, 260u);
    for (const char byte : export_szDLLName)
        ASSERT_EQ(byte, 0);
}

} // namespace
} // namespace kowen
