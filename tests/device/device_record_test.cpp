#include "device/device_record.h"

#include "device/common_record.h"
#include "platform/global_memory.h"
#include "support/failing_memory.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kowen {
namespace {

// The tests of this program leave no record behind, so this holds in any order.
TEST(DeviceRecord, NothingIsThereAtTheStart) {
    EXPECT_EQ(hCommon, MemoryHandle{0});
    EXPECT_EQ(lpCommon, nullptr);
    EXPECT_EQ(hEMData, MemoryHandle{0});
    EXPECT_EQ(lpEMData, nullptr);
}

TEST(AllocGlobal, MakesAZeroedRecord) {
    EXPECT_EQ(AllocGlobal(), 0);
    ASSERT_NE(hEMData, 0u);
    EXPECT_EQ(lpEMData, GlobalLock(hEMData));
    EXPECT_EQ(GlobalSize(hEMData), sizeof(EMData));
    const auto *bytes = reinterpret_cast<const uint8_t *>(lpEMData);
    EXPECT_TRUE(std::all_of(bytes, bytes + sizeof(EMData), [](uint8_t b) { return b == 0; }));
    EXPECT_EQ(FreeGlobal(), 0);
    EXPECT_EQ(hEMData, 0u);
    EXPECT_EQ(lpEMData, nullptr);
}

TEST(AllocGlobal, TouchesNothingWhileThereIsACommonRecord) {
    hCommon = 1;
    hEMData = 0x77;
    EXPECT_EQ(AllocGlobal(), 0);
    EXPECT_EQ(hEMData, 0x77u);
    EXPECT_EQ(lpEMData, nullptr);
    hCommon = 0;
    hEMData = 0;
}

TEST(AllocGlobal, ReturnsZeroWithoutMemoryToo) {
    FailingMemory memory(1);
    EXPECT_EQ(AllocGlobal(), 0);
    EXPECT_EQ(hEMData, 0u);
    EXPECT_EQ(lpEMData, nullptr);
}

TEST(FreeGlobal, DoesNothingWithoutARecord) {
    hEMData = 0x77;
    EXPECT_EQ(FreeGlobal(), 0);
    EXPECT_EQ(hEMData, 0x77u);
    hEMData = 0;
}

TEST(LockGlobal, DoesNothing) {
    EXPECT_EQ(LockGlobal(5), 0);
    EXPECT_EQ(UnlockGlobal(5), 0);
    EXPECT_EQ(lpEMData, nullptr);
}

} // namespace
} // namespace kowen
