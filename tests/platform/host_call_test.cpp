#include "platform/host_call.h"

#include "setup/setup.h"

#include <gtest/gtest.h>

#include <memory>

namespace kowen {
namespace {

class HostCallTest : public testing::Test {
protected:
    void SetUp() override { ClearCurrent(); }
    void TearDown() override { ClearCurrent(); }

    static void ClearCurrent() {
        hRaster = 0;
        lpRaster = nullptr;
    }

    SetupRecord mine = {};
    SetupRecord other = {};
};

TEST_F(HostCallTest, IsUnderwayForItsLife) {
    EXPECT_FALSE(HostCall::Underway());
    {
        const HostCall outer;
        {
            const HostCall inner;
            EXPECT_TRUE(HostCall::Underway());
        }
        EXPECT_TRUE(HostCall::Underway());
    }
    EXPECT_FALSE(HostCall::Underway());
}

TEST_F(HostCallTest, TheCurrentSetupIsBackAfterwards) {
    hRaster = 7;
    lpRaster = &mine;
    {
        const HostCall call;
        hRaster = 8;
        lpRaster = &other;
    }
    EXPECT_EQ(hRaster, MemoryHandle{7});
    EXPECT_EQ(lpRaster, &mine);
}

TEST_F(HostCallTest, NoCurrentSetupIsBackAsWell) {
    {
        const HostCall call;
        lpRaster = &other;
    }
    EXPECT_EQ(lpRaster, nullptr);
}

TEST_F(HostCallTest, EachCallCountsInTheSetupThatItKeeps) {
    lpRaster = &mine;
    const auto inside = std::make_unique<HostCall>();
    lpRaster = &other;
    {
        const HostCall call;
        EXPECT_EQ(mine.hostCalls.underway, 1u);
        EXPECT_EQ(other.hostCalls.underway, 1u);
    }
    EXPECT_EQ(mine.hostCalls.underway, 1u);
    EXPECT_EQ(other.hostCalls.underway, 0u);
}

} // namespace
} // namespace kowen
