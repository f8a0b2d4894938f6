#include "device/cancel_poll.h"

#include "device/common_record.h"
#include "raster/device.h"

namespace kowen {
namespace {

using namespace test;

class CancelPollTest : public RasterDeviceTest {
protected:
    CancelPollTest() {
        Initialise();
        host.calls.clear();
    }
    ~CancelPollTest() override { lpCommon = nullptr; }
};

TEST(RasterEscape, GoesOnWithoutADevice) {
    EXPECT_EQ(RASTER_escape(), 0);
}

TEST(Escape, GoesOnWithoutACommonRecord) {
    EXPECT_EQ(escape(), 0);
}

TEST_F(CancelPollTest, AsksTheHostWithZeros) {
    EXPECT_EQ(RASTER_escape(), 0);
    EXPECT_EQ(host.calls, (std::vector<StatusCall>{{0x1234, 0, 0, 0, 0, 0}}));
    EXPECT_EQ(lpEMData->errorStack.overflow, 0);
}

TEST_F(CancelPollTest, PushesAConfirmedRefusal) {
    host.answer = [](const StatusCall &) { return 5; };
    EXPECT_EQ(RASTER_escape(), 901);
    EXPECT_EQ(host.calls,
              (std::vector<StatusCall>{{0x1234, 0, 0, 0, 0, 0}, {0x1234, 2, 61, 0, 0, 0}}));
    EXPECT_EQ(lpEMData->errorStack.currentError, 901);
    EXPECT_EQ(lpEMData->errorStack.overflow, 1);
}

TEST_F(CancelPollTest, GoesOnWhenTheRefusalIsNotConfirmed) {
    host.answer = [](const StatusCall &call) { return call.command == 0 ? 5 : 0; };
    EXPECT_EQ(RASTER_escape(), 0);
    EXPECT_EQ(lpEMData->errorStack.overflow, 0);
}

TEST_F(CancelPollTest, GoesOnWithoutAStatusRecordOrCallback) {
    host.record.statusCallback = nullptr;
    EXPECT_EQ(RASTER_escape(), 0);
    lpEMData->statusRecord = nullptr;
    EXPECT_EQ(RASTER_escape(), 0);
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(CancelPollTest, TheExportDriversPollTellsItsStatusValue) {
    CommonRecord common = {};
    common.statusValue = 42;
    common.statusRecord = &host.record;
    lpCommon = &common;
    EXPECT_EQ(escape(), 0);
    EXPECT_EQ(host.calls, (std::vector<StatusCall>{{0x1234, 0, 0, 0, 42, 0}}));
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(escape(), 901);
    EXPECT_EQ(lpEMData->errorStack.currentError, 901);
}

TEST_F(CancelPollTest, TheExportDriversPollGoesOnWithoutAStatusRecord) {
    CommonRecord common = {};
    lpCommon = &common;
    EXPECT_EQ(escape(), 0);
}

TEST(Escape, NeedsNoDeviceToReportACancel) {
    StatusHost host;
    host.answer = [](const StatusCall &) { return 1; };
    CommonRecord common = {};
    common.statusRecord = &host.record;
    lpCommon = &common;
    EXPECT_EQ(escape(), 901);
    lpCommon = nullptr;
}

} // namespace
} // namespace kowen
