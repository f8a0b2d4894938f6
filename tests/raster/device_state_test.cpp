#include "raster/device_state.h"

#include "raster/device.h"
#include "support/failing_memory.h"
#include "support/temp_directory.h"

namespace kowen {
namespace {

using namespace test;

class DeviceStateTest : public RasterDeviceTest {
protected:
    DeviceStateTest() { NameOutput(directory.File("out.jpg")); }

    bool HasOutput() const { return directory.Has("out.jpg"); }

    TempDirectory directory;
};

using InitDevice = DeviceStateTest;
using TermDevice = DeviceStateTest;
using OpenDevice = DeviceStateTest;
using CloseDevice = DeviceStateTest;
using PictureStates = DeviceStateTest;

TEST_F(InitDevice, LeavesTheFirstStateWithNoOutputOpen) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
    EXPECT_EQ(lpEMData->outputFile, 0u);
    EXPECT_EQ(lpEMData->errorStack.capacity, 0);
    EXPECT_FALSE(HasOutput());
}

TEST_F(InitDevice, MakesTheSetupCurrentEverywhere) {
    hRaster = hSetup = 0;
    lpRaster = lpSetup = nullptr;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(hRaster, setup.handle);
    EXPECT_EQ(hSetup, setup.handle);
    EXPECT_EQ(lpRaster, GlobalLock(setup.handle));
    EXPECT_EQ(lpSetup, lpRaster);
    EXPECT_EQ(lpEMData->setup, setup.handle);
}

TEST_F(InitDevice, HandsOutTheReturnArea) {
    record.returnAreaSize = 100;
    ASSERT_EQ(Initialise(), 0);
    ASSERT_NE(record.returnArea, nullptr);
    EXPECT_EQ(record.returnArea, lpEMData->returnArea.data);
    EXPECT_EQ(GlobalSize(lpEMData->returnArea.handle), 100u);
    EXPECT_EQ(lpEMData->returnArea.fillPosition, 0u);
    EXPECT_EQ(lpEMData->returnArea.data[99], 0);
}

TEST_F(InitDevice, AnEmptyReturnAreaIsAllowed) {
    record.returnAreaSize = 0;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_NE(record.returnArea, nullptr);
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Run(kQueryWindow), 0);
}

TEST_F(InitDevice, TellsItsCapabilitiesAndTheColorMode) {
    setup->colorMode = KOWEN_COLOR_GREY_SCALE;
    capabilities[6] = 77;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->colorMode, 3);
    EXPECT_EQ(capabilities[0], 100);
    EXPECT_EQ(capabilities[6], 77);
    EXPECT_EQ(capabilities[47], 3);
}

TEST_F(InitDevice, TakesColorModesThatAreNoneForUnchanged) {
    for (const int mode :
         {int{KOWEN_COLOR_UNCHANGED} - 1, int{KOWEN_COLOR_GREY_SCALE_INVERTED} + 1}) {
        setup->colorMode = static_cast<int16_t>(mode);
        ASSERT_EQ(Initialise(), 0);
        EXPECT_EQ(lpEMData->colorMode, 0) << mode;
        Terminate();
    }
    setup->colorMode = KOWEN_COLOR_GREY_SCALE_INVERTED;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->colorMode, KOWEN_COLOR_GREY_SCALE_INVERTED - KOWEN_COLOR_UNCHANGED);
}

TEST_F(InitDevice, OpensForAHostWithoutRoomForItsCapabilities) {
    record.capabilities = nullptr;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(lpEMData->stateWord, 2);
}

TEST_F(InitDevice, AnnouncesAProgressRangeOfAHundred) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(host.calls, (std::vector<StatusCall>{{0x1234, 0, -2, 100, 0, 0}}));
}

TEST_F(InitDevice, IgnoresARefusedAnnouncement) {
    host.answer = [](const StatusCall &) { return 5; };
    EXPECT_EQ(Initialise(), 0);
    EXPECT_EQ(host.calls.size(), 1u);
    host.answer = nullptr;
}

TEST_F(InitDevice, AnnouncesNothingWithoutAContext) {
    host.record.context = 0;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(InitDevice, AnnouncesNothingWithoutACallback) {
    host.record.statusCallback = nullptr;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_TRUE(host.calls.empty());
}

TEST_F(InitDevice, StoresTheStatusRecordInTheSetupUntilTermination) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(setup->exportRecord, &host.record);
    Terminate();
    EXPECT_EQ(setup->exportRecord, nullptr);
}

TEST_F(InitDevice, EverythingMayBeMissingFromTheRecord) {
    record = {};
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->colorMode, 0);
    EXPECT_EQ(lpRaster, nullptr);
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_NE(lpEMData->outputBlock, nullptr);
    EXPECT_EQ(Run(kCloseDevice), 0);
    EXPECT_EQ(Terminate(), 0);
}

TEST_F(InitDevice, FailsWithoutMemoryForTheReturnArea) {
    record.returnAreaSize = 0xFFFFFFFF;
    EXPECT_EQ(Initialise(), 300);
    EXPECT_EQ(lpEMData, nullptr);
    EXPECT_EQ(hEMData, 0u);
    EXPECT_EQ(setup->exportRecord, nullptr);
}

TEST_F(InitDevice, FailsWithoutMemory) {
    for (int k = 1;; ++k) {
        FailingMemory memory(k);
        const int32_t code = Initialise();
        if (!memory.Failed()) {
            EXPECT_EQ(code, 0);
            EXPECT_EQ(k, 3); // the record and the return area
            break;
        }
        EXPECT_EQ(code, 300) << "allocation " << k;
        EXPECT_EQ(lpEMData, nullptr);
    }
}

TEST_F(InitDevice, EndsAnEarlierDeviceFirst) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    ASSERT_EQ(Run(CellsRequest(16, 8, 24, std::vector<uint8_t>(16 * 8 * 3))), 0);
    ASSERT_EQ(Run(WritePictureRequest()), 0);
    const std::string before = directory.Read("out.jpg");
    NameOutput(directory.File("second.jpg"));
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
    EXPECT_EQ(lpEMData->outputFile, 0u);
    const std::string after = directory.Read("out.jpg");
    ASSERT_GE(after.size(), 2u);
    EXPECT_EQ(after.substr(after.size() - 2), "\xFF\xD9");
    EXPECT_EQ(setup->exportRecord, &host.record);
}

TEST_F(OpenDevice, CreatesTheNamedFile) {
    directory.Write("out.jpg", "old");
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(directory.Read("out.jpg"), "old");
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(lpEMData->stateWord, 2);
    EXPECT_NE(lpEMData->outputFile, 0u);
    EXPECT_EQ(directory.Read("out.jpg"), "");
    EXPECT_STRNE(name, ""); // this door leaves the host's string alone
}

TEST_F(OpenDevice, EmptiesTheErrorStack) {
    ASSERT_EQ(Initialise(), 0);
    lpEMData->errorStack.overflow = 4;
    lpEMData->errorStack.lastOpcode = 9;
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(lpEMData->errorStack.overflow, 0);
    EXPECT_EQ(lpEMData->errorStack.lastOpcode, 0u);
}

TEST_F(OpenDevice, AFileThatCannotBeOpenedLeavesAnOpenDeviceWithoutOutput) {
    NameOutput(directory.File("no/such/directory.jpg"));
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Run(kOpenDevice), 303);
    EXPECT_EQ(lpEMData->stateWord, 2);
    EXPECT_EQ(lpEMData->outputFile, 0u);
    EXPECT_EQ(Run(kCloseDevice), 303);
    EXPECT_EQ(lpEMData->stateWord, 1);
}

TEST_F(OpenDevice, ANameOfAHundredAndFortyThreeBytesFits) {
    const std::string path = directory.Path() + "/";
    NameOutput(path + std::string(143 - path.size(), 'n'));
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Run(kCloseDevice), 0);
    EXPECT_TRUE(directory.Has(std::string(143 - path.size(), 'n')));
}

TEST_F(OpenDevice, ALongerNameFailsAtTheOpenAndAtTheClose) {
    const std::string path = directory.Path() + "/";
    for (size_t length : {144u, 145u, 1000u}) {
        NameOutput(path + std::string(length - path.size(), 'n'));
        ASSERT_EQ(Initialise(), 0);
        EXPECT_EQ(Run(kOpenDevice), 303) << length;
        EXPECT_EQ(Run(kCloseDevice), 303) << length;
        EXPECT_TRUE(std::filesystem::is_empty(directory.Path())) << length;
    }
}

TEST_F(OpenDevice, WithoutANameWritesIntoABlockThatLivesUntilTermination) {
    NameOutput("");
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    ASSERT_EQ(Run(WritePictureRequest()), 0);
    ASSERT_EQ(Run(kEndPicture), 0);
    ASSERT_EQ(Run(kCloseDevice), 0);
    const auto *block = static_cast<const uint8_t *>(lpEMData->outputBlock);
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block[0], 0xFF);
    EXPECT_EQ(block[1], 0xD8);
    EXPECT_EQ(host.record.memoryBlock, 0u);
    // The 1-byte block has grown in steps of 4096.
    EXPECT_EQ(GlobalSize(GlobalHandle(block)) % 4096, 0u);
    // Opening again starts with a new block; a leak checker sees the old one go.
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(GlobalSize(GlobalHandle(lpEMData->outputBlock)), 1u);
}

TEST_F(OpenDevice, FailsWithoutMemoryForTheBlock) {
    NameOutput("");
    ASSERT_EQ(Initialise(), 0);
    {
        FailingMemory memory(1);
        EXPECT_EQ(Run(kOpenDevice), 300);
    }
    EXPECT_EQ(lpEMData->stateWord, 2);
    EXPECT_EQ(Run(kCloseDevice), 303);
    {
        FailingMemory memory(2); // the file's record
        EXPECT_EQ(Run(kOpenDevice), 303);
    }
    EXPECT_EQ(Run(kCloseDevice), 303);
}

TEST_F(OpenDevice, GoesToTheHostsProcedure) {
    HostFile file;
    setup->ioProcedure = HostFile::Procedure;
    host.record.ioContext = 0x5678;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(file.openContext, 0x5678u);
    EXPECT_EQ(file.openMode, 4097);
    EXPECT_EQ(file.openName, name);
    EXPECT_FALSE(HasOutput());
    EXPECT_EQ(Run(kCloseDevice), 0);
    EXPECT_EQ(file.closes, (std::vector<int32_t>{0}));
}

TEST_F(OpenDevice, ReadsTheProcedureWhenItOpens) {
    HostFile file;
    ASSERT_EQ(Initialise(), 0);
    setup->ioProcedure = HostFile::Procedure;
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(file.openName, name);
}

TEST_F(OpenDevice, DoesNotCheckTheHostsAnswer) {
    HostFile file;
    file.refuses = true;
    setup->ioProcedure = HostFile::Procedure;
    NameOutput("");
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(lpEMData->outputFile, 0u);
    EXPECT_EQ(Run(kCloseDevice), 303);
}

TEST_F(OpenDevice, TheProcedureNeedsNoStatusRecord) {
    HostFile file;
    setup->ioProcedure = HostFile::Procedure;
    record.exportRecord = nullptr;
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(file.openContext, 0u);
}

TEST_F(CloseDevice, ClosesTheFileAndReturnsToTheFirstState) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    setup->header.outputFile = lpEMData->outputFile;
    host.calls.clear();
    EXPECT_EQ(Run(kCloseDevice), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
    EXPECT_EQ(lpEMData->outputFile, 0u);
    EXPECT_EQ(setup->header.outputFile, 0u);
    EXPECT_EQ(host.calls, (std::vector<StatusCall>{{0x1234, 0, 0, 0, 0, 0}}));
    EXPECT_TRUE(HasOutput());
}

TEST_F(CloseDevice, AFailedCloseIsReported) {
    HostFile file;
    file.closeAnswer = 7;
    setup->ioProcedure = HostFile::Procedure;
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Run(kCloseDevice), 303);
}

TEST_F(CloseDevice, ACancelDeletesTheFile) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    ASSERT_TRUE(HasOutput());
    setup->header.outputFile = lpEMData->outputFile;
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(Run(kCloseDevice), 901);
    EXPECT_FALSE(HasOutput());
    EXPECT_EQ(lpEMData->outputFile, 0u);
    EXPECT_EQ(setup->header.outputFile, 0u);
    EXPECT_EQ(lpEMData->errorStack.slots[0].code, 901);
}

TEST_F(CloseDevice, ACancelDeletesTheHostsFile) {
    HostFile file;
    setup->ioProcedure = HostFile::Procedure;
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(Run(kCloseDevice), 901);
    EXPECT_EQ(file.closes, (std::vector<int32_t>{512}));
}

TEST_F(CloseDevice, ACancelOfMemoryOutputDeletesNoFile) {
    NameOutput("");
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(Run(kCloseDevice), 901);
    EXPECT_NE(lpEMData->outputBlock, nullptr);
}

TEST_F(CloseDevice, ACancelAfterAFailedOpenDeletesNothing) {
    directory.Write("out.jpg", "precious");
    ASSERT_EQ(Initialise(), 0);
    {
        FailingMemory memory(1);
        EXPECT_EQ(Run(kOpenDevice), 303);
    }
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(Run(kCloseDevice), 901);
    EXPECT_EQ(directory.Read("out.jpg"), "precious");
}

TEST_F(CloseDevice, AnUnconfirmedCancelKeepsTheFile) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    host.answer = [](const StatusCall &call) { return call.command == 0 ? 1 : 0; };
    EXPECT_EQ(Run(kCloseDevice), 0);
    EXPECT_TRUE(HasOutput());
}

TEST_F(CloseDevice, ASecondCloseDoesNothingMore) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    host.answer = [](const StatusCall &) { return 1; };
    ASSERT_EQ(Run(kCloseDevice), 901);
    directory.Write("out.jpg", "another");
    host.calls.clear();
    EXPECT_EQ(Run(kCloseDevice), 0);
    EXPECT_EQ(Terminate(), 0);
    EXPECT_EQ(Terminate(), 0);
    EXPECT_TRUE(host.calls.empty());
    EXPECT_EQ(directory.Read("out.jpg"), "another");
}

TEST_F(TermDevice, InTheFirstStateClosesNothing) {
    ASSERT_EQ(Initialise(), 0);
    host.calls.clear();
    EXPECT_EQ(Terminate(), 0);
    EXPECT_TRUE(host.calls.empty());
    EXPECT_EQ(lpEMData, nullptr);
    EXPECT_EQ(hEMData, 0u);
}

TEST_F(TermDevice, InThePictureBodyClosesTheOutputFirst) {
    HostFile file;
    setup->ioProcedure = HostFile::Procedure;
    DrawPicture(16, 8);
    host.calls.clear();
    EXPECT_EQ(Terminate(), 0);
    EXPECT_EQ(host.calls.size(), 1u);
    EXPECT_EQ(file.closes, (std::vector<int32_t>{0}));
}

TEST_F(TermDevice, ACancelDeletesTheFile) {
    DrawPicture(16, 8);
    host.answer = [](const StatusCall &) { return 1; };
    EXPECT_EQ(Terminate(), 0);
    EXPECT_FALSE(HasOutput());
}

TEST_F(TermDevice, FreesAPictureThatWasNeverWritten) {
    DrawPicture(16, 8);
    ASSERT_EQ(Run(OpenPictureRequest(16, 8, 24)), 0);
    EXPECT_EQ(Terminate(), 0); // a leak checker sees what it leaves
}

TEST_F(PictureStates, FollowOneAnother) {
    ASSERT_EQ(Initialise(), 0);
    const std::pair<uint32_t, int32_t> steps[] = {
        {kOpenDevice, 2},   {kBeginPicture, 4}, {kBeginBody, 8},   {kEndPicture, 16},
        {kBeginPicture, 4}, {kBeginBody, 8},    {kEndPicture, 16}, {kCloseDevice, 1},
        {kOpenDevice, 2},   {kCloseDevice, 1},
    };
    for (const auto &[opcode, state] : steps) {
        EXPECT_EQ(Run(opcode), 0);
        EXPECT_EQ(lpEMData->stateWord, state) << opcode;
    }
}

TEST_F(PictureStates, TouchNothingElse) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    EMData before = *lpEMData;
    for (uint32_t opcode : {kBeginPicture, kBeginBody, kEndPicture})
        Run(opcode);
    before.stateWord = 16;
    EXPECT_EQ(std::memcmp(&before, lpEMData, sizeof before), 0);
}

TEST_F(PictureStates, TheOutputStaysOpenAcrossPictures) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    const FileHandle file = lpEMData->outputFile;
    for (uint32_t opcode : {kBeginPicture, kBeginBody, kEndPicture, kBeginPicture})
        Run(opcode);
    EXPECT_EQ(lpEMData->outputFile, file);
}

} // namespace
} // namespace kowen
