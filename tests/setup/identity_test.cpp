#include "setup/identity.h"

#include "platform/text.h"
#include "setup/setup.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

// The tests of setups leave no current one behind, so this holds in any order.
TEST(Identity, NoSetupIsCurrentAtTheStart) {
    EXPECT_EQ(hSetup, MemoryHandle{0});
    EXPECT_EQ(lpSetup, nullptr);
    EXPECT_EQ(hRaster, MemoryHandle{0});
    EXPECT_EQ(lpRaster, nullptr);
}

TEST(Identity, TheNumbersOfTheHostInterface) {
    EXPECT_EQ(QIVGetFilterVersion(), 0x02000005u);
    EXPECT_EQ(FilterVersion, 1);
    EXPECT_EQ(FilterID, 28);
    EXPECT_EQ(hDLLModule, 0u);
    EXPECT_EQ(hAppAnchorBlock, 0u);
}

TEST(Identity, TheModuleNameIsWritable) {
    EXPECT_EQ(stricmp(szFilter, "kowen"), 0);
    const char first = szFilter[0];
    szFilter[0] = 'x';
    EXPECT_EQ(szFilter[0], 'x');
    szFilter[0] = first;
}

TEST(Identity, TheModulePathHas260Zeros) {
    EXPECT_EQ(sizeof export_szDLLName, 260u);
    for (const char byte : export_szDLLName)
        ASSERT_EQ(byte, 0);
}

} // namespace
} // namespace kowen
