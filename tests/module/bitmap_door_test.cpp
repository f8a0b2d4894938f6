// 48 worked exports through the loaded module: profile, bitmap and cell in, JPEG, status calls and
// the host's pixels out, byte for byte.
#include "module/export_host.h"
#include "module/worked_export.h"

#include <gtest/gtest.h>

namespace {

class BitmapDoor : public testing::TestWithParam<size_t> {};

TEST_P(BitmapDoor, GivesTheWorkedBytes) {
    const WorkedExport &worked = Worked(GetParam());
    SCOPED_TRACE(worked.label);
    const ExportHost host;
    const std::string profile = host.directory.Write("worked.ini", worked.profile);
    const MemoryHandle setup =
        host.createSetup(0, profile.c_str(), worked.section.c_str(), nullptr);
    StatusRecorder status;
    status.answers.assign(2, worked.statusAnswer);
    ExportRecord record = ExportHost::RecordFor(&status);

    const ExportRun run = host.Export("", worked.bitmap, worked.cell, setup, &record);

    EXPECT_EQ(run.result, worked.code);
    ASSERT_GT(run.block.size(), worked.jpeg.size());
    EXPECT_EQ(run.jpeg, worked.jpeg);
    EXPECT_EQ(run.block[worked.jpeg.size()], 255);
    EXPECT_EQ(status.Values(), worked.statusCalls);
    EXPECT_EQ(run.pixelsAfter, worked.pixelsAfter);
    EXPECT_EQ(host.destroySetup(setup), 0);
}

INSTANTIATE_TEST_SUITE_P(Worked, BitmapDoor, testing::Range(size_t{0}, kWorkedExports));

} // namespace
