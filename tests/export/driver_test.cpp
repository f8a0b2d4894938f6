#include "export/driver.h"

#include "device/common_record.h"
#include "support/failing_memory.h"
#include "support/fake_host.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstring>

namespace kowen {
namespace {

using namespace test;

class DriverTest : public testing::Test {
protected:
    DriverTest() {
        NameOutput(directory.File("out.jpg"));
        record.outputName = name;
        record.setup = setup.handle;
        record.exportRecord = &host.record;
    }
    ~DriverTest() override {
        termdvr(0);
        lpCommon = nullptr;
    }

    void NameOutput(const std::string &path) { std::strcpy(name, path.c_str()); }

    /// The driver overwrites the record's setup; a host puts it back for the next export.
    int32_t Initialise() {
        record.setup = setup.handle;
        return initdvr(&record);
    }
    /// Makes the export door's cancel poll ask the host.
    void PollTheHost() {
        common.statusRecord = &host.record;
        lpCommon = &common;
    }

    TempDirectory directory;
    char name[8192] = "";
    TestSetup setup;
    StatusHost host;
    HostFile hostFile;
    CommonRecord common = {};
    OpenRecord record = {};
};

using InitDvr = DriverTest;
using TermDvr = DriverTest;
using OutputMetafileTest = DriverTest;
using DescribeMetafileTest = DriverTest;
using ReportCapabilitiesTest = DriverTest;
using UpdateStatusTest = DriverTest;

TEST_F(InitDvr, BindsTheSetupAndOpensTheOutput) {
    hRaster = 0;
    lpRaster = nullptr;
    const std::string path = name;
    record.hostValue1 = 11;
    record.hostValue2 = 22;
    host.record.hostValue = 33;
    setup->metafileWord1 = setup->metafileWord2 = 44;
    hSetup = 55;
    EXPECT_EQ(Initialise(), 0);
    EXPECT_EQ(hRaster, setup.handle);
    EXPECT_EQ(lpRaster, GlobalLock(setup.handle));
    EXPECT_EQ(setup->exportRecord, &host.record);
    EXPECT_EQ(setup->metafileFilter, 11u);
    EXPECT_EQ(setup->metafileWord1, 0u);
    EXPECT_EQ(setup->metafileWord2, 0u);
    EXPECT_EQ(setup->exportHostValue, 33u);
    EXPECT_EQ(setup->outputName, path);
    EXPECT_NE(setup->header.outputFile, 0u);
    EXPECT_STREQ(name, "");
    EXPECT_EQ(record.setup, 0u); // hSetup, which the metafile layer has cleared
    EXPECT_TRUE(directory.Has("out.jpg"));
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(InitDvr, NeedsASetup) {
    record.setup = 0;
    EXPECT_EQ(initdvr(&record), 22);
    EXPECT_EQ(initdvr(nullptr), 22);
    EXPECT_EQ(lpRaster, nullptr);
    EXPECT_STRNE(name, "");
    EXPECT_FALSE(directory.Has("out.jpg"));
}

TEST_F(InitDvr, FixesTheComponentsByTheColorFormat) {
    const struct {
        int32_t format;
        uint8_t components;
    } cases[] = {{KOWEN_FORMAT_YCC422, 3},
                 {KOWEN_FORMAT_RGB444, 3},
                 {KOWEN_FORMAT_GREY, 1},
                 {213, 7},
                 {0, 7}};
    for (const auto &[format, components] : cases) {
        setup->colorFormat = format;
        setup->header.componentCount = 7;
        NameOutput("");
        ASSERT_EQ(Initialise(), 0);
        EXPECT_EQ(setup->header.componentCount, components) << format;
    }
}

TEST_F(InitDvr, AFileThatCannotBeOpenedIsAnError) {
    NameOutput(directory.File("no/such.jpg"));
    setup->header.componentCount = 7;
    EXPECT_EQ(Initialise(), 303);
    EXPECT_STRNE(name, "");
    EXPECT_EQ(record.setup, setup.handle);
    EXPECT_EQ(setup->header.outputFile, 0u);
    EXPECT_EQ(setup->header.componentCount, 7);
    EXPECT_EQ(termdvr(0), 300);
}

TEST_F(InitDvr, ANameThatDoesNotFitIsAnErrorNotAShorterName) {
    const std::string path = directory.Path() + "/";
    for (size_t length : {4096u, 5000u}) {
        NameOutput(path + std::string(length - path.size(), 'n'));
        EXPECT_EQ(Initialise(), 303) << length;
        EXPECT_STREQ(setup->outputName, "");
    }
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
    setup->ioProcedure = HostFile::Procedure;
    NameOutput(std::string(4096, 'n'));
    EXPECT_EQ(Initialise(), 303);
    NameOutput(std::string(4095, 'n'));
    EXPECT_EQ(Initialise(), 0);
    EXPECT_EQ(hostFile.openName, std::string(4095, 'n'));
}

TEST_F(InitDvr, KeepsTheMemoryBlockToItself) {
    NameOutput("");
    ASSERT_EQ(Initialise(), 0);
    EXPECT_NE(setup->header.outputFile, 0u);
    EXPECT_EQ(host.record.memoryBlock, 0u);
    EXPECT_EQ(qivWrite(setup->header.outputFile, std::string(5000, 'x').data(), 5000), 5000);
    EXPECT_EQ(termdvr(0), 300); // a leak checker sees the block go
    EXPECT_EQ(host.record.memoryBlock, 0u);
}

TEST_F(InitDvr, ANullNameAndRecordCountAsEmpty) {
    record.outputName = nullptr;
    record.exportRecord = nullptr;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_NE(setup->header.outputFile, 0u);
    EXPECT_EQ(setup->exportHostValue, 0u);
    EXPECT_EQ(UpdateStatus(5), 0);
    EXPECT_EQ(termdvr(0), 300);
}

TEST_F(InitDvr, FailsWithoutMemoryForTheBlock) {
    NameOutput("");
    {
        FailingMemory memory(1);
        EXPECT_EQ(Initialise(), 21);
    }
    {
        FailingMemory memory(2);
        EXPECT_EQ(Initialise(), 303);
    }
    EXPECT_EQ(setup->header.outputFile, 0u);
}

TEST_F(InitDvr, GoesToTheHostsProcedure) {
    setup->ioProcedure = HostFile::Procedure;
    host.record.ioContext = 0x9999;
    const std::string path = name;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(hostFile.openContext, 0x9999u);
    EXPECT_EQ(hostFile.openMode, 4097);
    EXPECT_EQ(hostFile.openName, path);
    EXPECT_FALSE(directory.Has("out.jpg"));
}

TEST_F(InitDvr, DoesNotCheckTheHostsAnswer) {
    setup->ioProcedure = HostFile::Procedure;
    hostFile.refuses = true;
    NameOutput("");
    EXPECT_EQ(Initialise(), 0);
    EXPECT_EQ(setup->header.outputFile, 0u);
    EXPECT_EQ(termdvr(0), 300);
    EXPECT_TRUE(hostFile.closes.empty());
}

TEST_F(InitDvr, EndsAnEarlierExportFirst) {
    ASSERT_EQ(Initialise(), 0);
    qivWrite(setup->header.outputFile, "abc", 3);
    NameOutput(directory.File("second.jpg"));
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(directory.Read("out.jpg"), "abc");
    EXPECT_TRUE(directory.Has("second.jpg"));
    NameOutput("");
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Initialise(), 0); // a leak checker sees the first block go
}

TEST_F(InitDvr, EndsAnEarlierExportOfAnotherSetup) {
    ASSERT_EQ(Initialise(), 0);
    qivWrite(setup->header.outputFile, "abc", 3);
    TestSetup other;
    record.setup = other.handle;
    NameOutput("");
    ASSERT_EQ(initdvr(&record), 0);
    EXPECT_EQ(directory.Read("out.jpg"), "abc");
    termdvr(0);
}

TEST_F(TermDvr, HasNothingToDrawAndClosesTheOutput) {
    ASSERT_EQ(Initialise(), 0);
    qivWrite(setup->header.outputFile, "abc", 3);
    EXPECT_EQ(directory.Read("out.jpg"), "");
    EXPECT_EQ(termdvr(12345), 300);
    EXPECT_EQ(directory.Read("out.jpg"), "abc");
    EXPECT_EQ(setup->header.outputFile, 0u);
    EXPECT_EQ(setup->exportRecord, nullptr);
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(TermDvr, WithoutAnExportHasNothingToDraw) {
    EXPECT_EQ(termdvr(0), 300);
    lpRaster = nullptr;
    EXPECT_EQ(termdvr(0), 300);
}

TEST_F(TermDvr, WithoutAnExportLeavesTheSetupAlone) {
    setup->exportRecord = &host.record; // of a raster device
    EXPECT_EQ(termdvr(0), 300);
    EXPECT_EQ(setup->exportRecord, &host.record);
}

TEST_F(TermDvr, ClosesOnce) {
    setup->ioProcedure = HostFile::Procedure;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(termdvr(0), 300);
    EXPECT_EQ(termdvr(0), 300);
    EXPECT_EQ(hostFile.closes, (std::vector<int32_t>{0}));
}

TEST_F(TermDvr, AFailedCloseIsReported) {
    setup->ioProcedure = HostFile::Procedure;
    hostFile.closeAnswer = 3;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(termdvr(0), 303);
    EXPECT_EQ(termdvr(0), 300);
}

TEST_F(TermDvr, ClosesTheOutputOfASetupThatIsGone) {
    {
        TestSetup passing;
        record.setup = passing.handle;
        ASSERT_EQ(initdvr(&record), 0);
        qivWrite(passing->header.outputFile, "abc", 3);
    }
    ASSERT_EQ(lpRaster, nullptr);
    EXPECT_EQ(termdvr(0), 300);
    EXPECT_EQ(directory.Read("out.jpg"), "abc");
}

// The platform draws no bands: its band height of 0 ends the picture with 27.
TEST_F(OutputMetafileTest, HandsThePictureToTheBandLoop) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(OutputMetafile(1), 27);
    EXPECT_TRUE(directory.Has("out.jpg"));
}

TEST_F(OutputMetafileTest, NeedsAMetafileAndASetup) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(OutputMetafile(0), 300);
    lpRaster = nullptr;
    EXPECT_EQ(OutputMetafile(1), 300);
}

TEST_F(OutputMetafileTest, TakesThePicturesSizeFromTheExportRecord) {
    const int32_t words[5] = {0, 2000, 3000, 0, 1000};
    std::memcpy(host.record.picture, words, sizeof words);
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(OutputMetafile(1), 27);
    EXPECT_EQ(setup->width, 3.0); // the size mode takes the picture's
    EXPECT_EQ(setup->height, 2.0);
}

TEST_F(OutputMetafileTest, RunsWithoutAnExportRecord) {
    record.exportRecord = nullptr;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(OutputMetafile(1), 27);
}

TEST_F(OutputMetafileTest, ACancelBeforeTheDrawingKeepsTheFile) {
    ASSERT_EQ(Initialise(), 0);
    PollTheHost();
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(OutputMetafile(1), 300);
    EXPECT_TRUE(directory.Has("out.jpg"));
}

TEST_F(OutputMetafileTest, ACancelDuringTheDrawingDeletesTheFile) {
    ASSERT_EQ(Initialise(), 0);
    PollTheHost();
    host.CancelFrom(2);
    EXPECT_EQ(OutputMetafile(1), 27);
    EXPECT_FALSE(directory.Has("out.jpg"));
    host.answer = nullptr;
    EXPECT_EQ(termdvr(0), 300);
    EXPECT_FALSE(directory.Has("out.jpg"));
}

TEST_F(OutputMetafileTest, ACancelDuringTheDrawingDeletesTheHostsFile) {
    directory.Write("out.jpg", "precious");
    setup->ioProcedure = HostFile::Procedure;
    ASSERT_EQ(Initialise(), 0);
    PollTheHost();
    host.CancelFrom(2);
    EXPECT_EQ(OutputMetafile(1), 27);
    EXPECT_EQ(hostFile.deletions, (std::vector<std::string>{directory.File("out.jpg")}));
    EXPECT_EQ(directory.Read("out.jpg"), "precious");
}

TEST_F(OutputMetafileTest, ACancelOfMemoryOutputDeletesNoFile) {
    NameOutput("");
    ASSERT_EQ(Initialise(), 0);
    PollTheHost();
    host.CancelFrom(2);
    EXPECT_EQ(OutputMetafile(1), 27);
}

TEST_F(DescribeMetafileTest, TakesTheExtentsInAnotherOrder) {
    const double extents[5] = {1.5, 2.5, 3.5, 4.5, 5.5};
    std::memcpy(setup->extents, extents, sizeof extents);
    setup->metafileWord1 = 88;
    const MetafilePicture picture = DescribeMetafile(66);
    EXPECT_EQ(picture.metafile, 66u);
    EXPECT_EQ(picture.extents[0], 1.5);
    EXPECT_EQ(picture.extents[1], 4.5);
    EXPECT_EQ(picture.extents[2], 3.5);
    EXPECT_EQ(picture.extents[3], 2.5);
    EXPECT_EQ(picture.roundedExtent, 6.0);
    EXPECT_EQ(picture.word, 88u);
    EXPECT_EQ(picture.cleared[0], 0u);
    EXPECT_EQ(picture.unitsPerInch, 0);
}

TEST_F(DescribeMetafileTest, TakesFiveWordsFromTheExportRecord) {
    const int32_t words[5] = {1, 2, 3, 4, 5};
    std::memcpy(host.record.picture, words, sizeof words);
    setup->exportRecord = &host.record;
    const MetafilePicture picture = DescribeMetafile(66);
    EXPECT_EQ(picture.left, 1);
    EXPECT_EQ(picture.top, 2);
    EXPECT_EQ(picture.right, 3);
    EXPECT_EQ(picture.bottom, 4);
    EXPECT_EQ(picture.unitsPerInch, 5);
}

struct Report {
    MemoryHandle setup;
    int32_t item, size, value, reserved1, reserved2;
    bool operator==(const Report &) const = default;
};
std::vector<Report> reports;
void *lineModeAddress;

void TakeReport(MemoryHandle setup, int32_t item, int32_t size, void *value, int32_t reserved1,
                int32_t reserved2) {
    int32_t word;
    std::memcpy(&word, value, sizeof word);
    if (item == 5)
        lineModeAddress = value;
    reports.push_back({setup, item, size, word, reserved1, reserved2});
}

TEST_F(ReportCapabilitiesTest, MakesFiveReportsInOrder) {
    const std::pair<int32_t, int32_t> colorModes[] = {
        {103, 101}, {104, 102}, {105, 103}, {106, 104}, {107, 105}, {0, 101}, {108, 101}};
    setup->lineMode = 119;
    for (const auto &[colorMode, reported] : colorModes) {
        setup->colorMode = colorMode;
        reports.clear();
        ReportCapabilities(TakeReport, 66);
        EXPECT_EQ(reports, (std::vector<Report>{{66, 1, 4, reported, 0, 0},
                                                {66, 2, 4, 110, 0, 0},
                                                {66, 6, 4, 130, 0, 0},
                                                {66, 5, 4, 119, 0, 0},
                                                {66, 3, 4, 1, 0, 0}}))
            << colorMode;
        EXPECT_EQ(lineModeAddress, &lpRaster->lineMode);
    }
}

TEST_F(UpdateStatusTest, TellsTheHostThePercentage) {
    setup->exportRecord = &host.record;
    EXPECT_EQ(UpdateStatus(50), 0);
    EXPECT_EQ(UpdateStatus(100), 0);
    EXPECT_EQ(host.calls,
              (std::vector<StatusCall>{{0x1234, 0, 0, 0, 50, 0}, {0x1234, 0, 0, 0, 100, 0}}));
}

TEST_F(UpdateStatusTest, StopsWhenTheHostConfirms) {
    setup->exportRecord = &host.record;
    host.answer = [](const StatusCall &) { return -7; };
    EXPECT_EQ(UpdateStatus(50), 901);
    EXPECT_EQ(host.calls,
              (std::vector<StatusCall>{{0x1234, 0, 0, 0, 50, 0}, {0x1234, 2, 61, 0, 0, 0}}));
}

TEST_F(UpdateStatusTest, GoesOnWhenTheHostDoesNotConfirm) {
    setup->exportRecord = &host.record;
    host.answer = [](const StatusCall &call) { return call.command == 0 ? 1 : 0; };
    EXPECT_EQ(UpdateStatus(50), 0);
}

TEST_F(UpdateStatusTest, GoesOnWhenThereIsNobodyToTell) {
    EXPECT_EQ(UpdateStatus(50), 0);
    setup->exportRecord = &host.record;
    host.record.statusCallback = nullptr;
    EXPECT_EQ(UpdateStatus(50), 0);
    lpRaster = nullptr;
    EXPECT_EQ(UpdateStatus(50), 0);
    EXPECT_TRUE(host.calls.empty());
}

} // namespace
} // namespace kowen
