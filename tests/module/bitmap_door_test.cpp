// 48 recorded exports through the loaded module: profile, bitmap and cell in, JPEG, status calls
// and the host's pixels out, byte for byte.
#include "module/export_host.h"
#include "module/recorded_export.h"

#include <gtest/gtest.h>

namespace {

class BitmapDoor : public testing::TestWithParam<size_t> {};

TEST_P(BitmapDoor, GivesTheRecordedBytes) {
    const RecordedExport &recorded = Recorded(GetParam());
    SCOPED_TRACE(recorded.label);
    const ExportHost host;
    const std::string profile = host.directory.Write("recorded.ini", recorded.profile);
    const MemoryHandle setup =
        host.createSetup(0, profile.c_str(), recorded.section.c_str(), nullptr);
    StatusRecorder status;
    status.answers.assign(2, recorded.statusAnswer);
    ExportRecord record = ExportHost::RecordFor(&status);

    const ExportRun run = host.Export("", recorded.bitmap, recorded.cell, setup, &record);

    EXPECT_EQ(run.result, recorded.code);
    ASSERT_GT(run.block.size(), recorded.jpeg.size());
    EXPECT_EQ(run.jpeg, recorded.jpeg);
    EXPECT_EQ(run.block[recorded.jpeg.size()], 255);
    EXPECT_EQ(status.Values(), recorded.statusCalls);
    EXPECT_EQ(run.pixelsAfter, recorded.pixelsAfter);
    EXPECT_EQ(host.destroySetup(setup), 0);
}

INSTANTIATE_TEST_SUITE_P(Worked, BitmapDoor, testing::Range(size_t{0}, kWorkedExports));

} // namespace
