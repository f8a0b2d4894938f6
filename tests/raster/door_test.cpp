#include "raster/door.h"

#include "device/common_record.h"
#include "raster/device.h"

namespace kowen {
namespace {

using namespace test;

using Door32 = int32_t (*)(uint32_t, uint16_t, void *);

const struct {
    int32_t (*shortDoor)(int16_t, void *, int16_t);
    Door32 door;
} kDoors[] = {{dd_entry, dd_entry32}, {RASTER_dd_entry, RASTER_dd_entry32}};

/// Makes a common record for the export door while it lives.
class CommonForTest {
public:
    explicit CommonForTest(int32_t state) {
        record.stateWord = state;
        hCommon = 1;
        lpCommon = &record;
    }
    ~CommonForTest() {
        hCommon = 0;
        lpCommon = nullptr;
    }
    CommonRecord record = {};
};

TEST(ShortDoor, HandsOutTheVersion) {
    for (const auto &doors : kDoors) {
        uint32_t out[2] = {0xAAAAAAAA, 0xAAAAAAAA};
        EXPECT_EQ(doors.shortDoor(-2, out, 0), 0);
        EXPECT_EQ(out[0], 0x02000005u);
        EXPECT_EQ(out[1], 0xAAAAAAAAu);
    }
}

TEST(ShortDoor, HandsOutItsDoorAtAnyAddress) {
    for (const auto &doors : kDoors) {
        uint8_t out[1 + sizeof(Door32) + 1];
        std::memset(out, 0xAA, sizeof out);
        EXPECT_EQ(doors.shortDoor(-3, out + 1, 77), 0);
        Door32 door;
        std::memcpy(&door, out + 1, sizeof door);
        EXPECT_EQ(door, doors.door);
        EXPECT_EQ(out[0], 0xAA);
        EXPECT_EQ(out[sizeof out - 1], 0xAA);
    }
}

TEST(ShortDoor, DoesNothingElse) {
    for (const auto &doors : kDoors) {
        uint64_t out = 0xAAAAAAAAAAAAAAAA;
        for (int16_t function : {-32768, -4, -1, 0, 1, 2, 32767})
            EXPECT_EQ(doors.shortDoor(function, &out, 0), 0);
        EXPECT_EQ(out, 0xAAAAAAAAAAAAAAAAu);
        EXPECT_EQ(doors.shortDoor(-2, nullptr, 0), 0);
        EXPECT_EQ(doors.shortDoor(-3, nullptr, 0), 0);
    }
}

TEST(Door, AnswersItsVersion) {
    for (const auto &doors : kDoors) {
        uint8_t out[6] = {0xAA, 0, 0, 0, 0, 0xAA};
        EXPECT_EQ(doors.door(0, 0xFFFE, out + 1), 4);
        const uint32_t version = 0x2000005;
        EXPECT_EQ(std::memcmp(out + 1, &version, 4), 0);
        EXPECT_EQ(out[0], 0xAA);
        EXPECT_EQ(out[5], 0xAA);
        EXPECT_EQ(doors.door(0, 0xFFFE, nullptr), 0);
    }
}

TEST(Door, IgnoresOtherFunctions) {
    Request request(1);
    for (const auto &doors : kDoors)
        for (uint16_t function : {1, 3, 4, 255, 0x7FFF, 0x8000, 0xFFFD})
            EXPECT_EQ(doors.door(5, function, request.Data()), 0) << function;
}

TEST(Door, IsSafeBeforeInitialisation) {
    ASSERT_EQ(lpEMData, nullptr);
    for (uint32_t opcode = 0; opcode < 4096; ++opcode) {
        Request request(opcode);
        EXPECT_EQ(RASTER_dd_entry32(0, 2, request.Data()), 0);
        EXPECT_EQ(dd_entry32(0, 2, request.Data()), 0);
    }
    EXPECT_EQ(RASTER_dd_entry32(0, 2, nullptr), 0);
    EXPECT_EQ(dd_entry32(0, 2, nullptr), 0);
    EXPECT_EQ(RASTER_dd_entry32(0, 0xFFFF, nullptr), 0);
    EXPECT_EQ(dd_entry32(0, 0xFFFF, nullptr), 300);
}

TEST(Door, InitialisationNeedsARecord) {
    EXPECT_EQ(RASTER_dd_entry32(0, 0, nullptr), 300);
    EXPECT_EQ(dd_entry32(0, 0, nullptr), 22);
    EXPECT_EQ(lpEMData, nullptr);
}

using RasterDoor = RasterDeviceTest;
using ExportDoor = RasterDeviceTest;

TEST_F(RasterDoor, IsSafeAfterTermination) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Terminate(), 0);
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Terminate(), 0);
    EXPECT_EQ(lpEMData, nullptr);
}

TEST_F(RasterDoor, RunsNothingInAStateThatIsNotPositive) {
    ASSERT_EQ(Initialise(), 0);
    for (int32_t state : {0, -1, INT32_MIN}) {
        lpEMData->stateWord = state;
        lpEMData->errorStack.currentError = 303;
        EXPECT_EQ(Run(kOpenDevice), 0);
        EXPECT_EQ(lpEMData->errorStack.currentError, 0);
        EXPECT_EQ(lpEMData->stateWord, state);
    }
    lpEMData->stateWord = kStateInitialised;
}

TEST_F(RasterDoor, ClearsTheCurrentErrorEvenWithoutARequest) {
    ASSERT_EQ(Initialise(), 0);
    lpEMData->errorStack.currentError = 303;
    EXPECT_EQ(Door(2, nullptr), 0);
    EXPECT_EQ(lpEMData->errorStack.currentError, 0);
}

TEST_F(RasterDoor, RequestsThatTheStateDoesNotAllowDoNothing) {
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Run(kBeginBody), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
    EXPECT_EQ(Run(kOpenDevice), 0);
    const FileHandle open = lpEMData->outputFile;
    EXPECT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(lpEMData->outputFile, open);
    EXPECT_EQ(Run(kBeginBody), 0);
    EXPECT_EQ(lpEMData->stateWord, 2);
}

TEST_F(RasterDoor, AnswersTheLatestErrorOfTheDispatchOnly) {
    NameOutput("/nonexistent/directory/a.jpg");
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(Run(kOpenDevice), 303);
    EXPECT_EQ(Run(kBeginPicture), 0);
}

TEST_F(RasterDoor, SignExtendsTheError) {
    ASSERT_EQ(Initialise(), 0);
    host.answer = [](const StatusCall &) { return lpEMData->errorStack.currentError = -2, 0; };
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Run(kCloseDevice), -2);
}

TEST_F(RasterDoor, InitialisesAgainWhileThereIsNoCommonRecord) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
}

TEST_F(RasterDoor, DoesNotInitialiseAgainWithACommonRecord) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    const EMData *before = lpEMData;
    CommonForTest common(1);
    EXPECT_EQ(Initialise(), 0);
    EXPECT_EQ(lpEMData, before);
    EXPECT_EQ(lpEMData->stateWord, 2);
}

// State -1 lets a device begin again: the old one ends, and a new one is not made.
TEST_F(RasterDoor, AStateOfMinusOneIsInitialisedAgainEvenWithACommonRecord) {
    ASSERT_EQ(Initialise(), 0);
    lpEMData->stateWord = -1;
    CommonForTest common(1);
    EXPECT_EQ(Initialise(), 300);
    EXPECT_EQ(lpEMData, nullptr);
}

TEST_F(RasterDoor, WithACommonRecordThereIsNoNewDevice) {
    CommonForTest common(1);
    EXPECT_EQ(Initialise(), 300);
    EXPECT_EQ(lpEMData, nullptr);
}

TEST_F(RasterDoor, IsShutInsideItsOwnCallbacks) {
    int32_t inner = -1, innerExport = -1;
    host.answer = [&](const StatusCall &) {
        inner = Door(KOWEN_DD_TERMINATE, nullptr);
        innerExport = dd_entry32(0, KOWEN_DD_TERMINATE, nullptr);
        return 0;
    };
    ASSERT_EQ(Initialise(), 0);
    EXPECT_EQ(inner, 0);
    EXPECT_EQ(innerExport, 0) << "300 of a door that is open";
    EXPECT_NE(lpEMData, nullptr);
    inner = -1;
    ASSERT_EQ(Run(kOpenDevice), 0);
    EXPECT_EQ(Run(kCloseDevice), 0);
    EXPECT_EQ(inner, 0);
    EXPECT_NE(lpEMData, nullptr);
    host.answer = nullptr;
    EXPECT_EQ(Terminate(), 0);
    EXPECT_EQ(lpEMData, nullptr);
}

TEST_F(RasterDoor, TellsItsVersionInsideItsOwnCallbacks) {
    uint32_t versions[2] = {};
    host.answer = [&](const StatusCall &) {
        EXPECT_EQ(Door(KOWEN_DD_VERSION, &versions[0]), 4);
        EXPECT_EQ(dd_entry32(0, KOWEN_DD_VERSION, &versions[1]), 4);
        return 0;
    };
    ASSERT_EQ(Initialise(), 0);
    host.answer = nullptr;
    EXPECT_EQ(versions[0], 0x02000005u);
    EXPECT_EQ(versions[1], 0x02000005u);
}

TEST_F(ExportDoor, RunsNothingWithoutACommonRecord) {
    ASSERT_EQ(Initialise(), 0);
    Request request(kOpenDevice);
    EXPECT_EQ(dd_entry32(0, 2, request.Data()), 0);
    EXPECT_EQ(lpEMData->stateWord, 1);
}

TEST_F(ExportDoor, RunsRequestsWithACommonRecordAndADevice) {
    ASSERT_EQ(Initialise(), 0);
    CommonForTest common(1);
    common.record.currentError = 303;
    Request request(kOpenDevice);
    EXPECT_EQ(dd_entry32(0, 2, request.Data()), 0);
    EXPECT_EQ(common.record.currentError, 0);
    EXPECT_EQ(lpEMData->stateWord, 2);
}

TEST_F(ExportDoor, RunsNothingWithoutADevice) {
    CommonForTest common(1);
    for (uint32_t opcode : {1u, 3842u, 3843u, 767u}) {
        Request request(opcode);
        EXPECT_EQ(dd_entry32(0, 2, request.Data()), 0);
    }
}

TEST_F(ExportDoor, RunsNothingInACommonStateThatIsNotPositive) {
    ASSERT_EQ(Initialise(), 0);
    for (int32_t state : {0, -1}) {
        CommonForTest common(state);
        common.record.currentError = 303;
        Request request(kOpenDevice);
        EXPECT_EQ(dd_entry32(0, 2, request.Data()), 0);
        EXPECT_EQ(common.record.currentError, 0);
        EXPECT_EQ(lpEMData->stateWord, 1);
    }
}

TEST_F(ExportDoor, InitialisesOnlyInTheCommonRecordsFirstState) {
    record.setup = 0;
    CommonForTest common(2);
    EXPECT_EQ(dd_entry32(0, 0, &record), 0);
    common.record.stateWord = 1;
    EXPECT_EQ(dd_entry32(0, 0, &record), 22);
}

TEST_F(ExportDoor, TerminationClearsTheCommonRecordsError) {
    CommonForTest common(1);
    common.record.currentError = 303;
    EXPECT_EQ(dd_entry32(0, 0xFFFF, nullptr), 300);
    EXPECT_EQ(common.record.currentError, 0);
}

} // namespace
} // namespace kowen
