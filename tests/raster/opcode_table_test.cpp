#include "raster/opcode_table.h"

#include "device/common_record.h"
#include "raster/attributes.h"
#include "raster/cell_array.h"
#include "raster/device.h"
#include "raster/device_state.h"
#include "raster/primitives.h"

#include <iterator>
#include <set>

namespace kowen {
namespace {

using namespace test;

struct ExpectedRow {
    uint32_t opcode;
    RequestHandler handler;
    uint32_t mask;
    std::set<int32_t> states; ///< in which the row's handler runs
};

const std::set<int32_t> kNone = {};
const std::set<int32_t> kInitialised = {1};
const std::set<int32_t> kOpen = {2};
const std::set<int32_t> kBegun = {4};
const std::set<int32_t> kBody = {8};
const std::set<int32_t> kBetween = {2, 16};
const std::set<int32_t> kDescribed = {4, 8};
const std::set<int32_t> kOpened = {2, 4, 8, 16};
const std::set<int32_t> kAny = {1, 2, 4, 8, 16};

const ExpectedRow kExpected[] = {
    {1, d_opdv, 0x1, kInitialised},   {2, d_cldv, 0x7E, kOpened},
    {3, d_begp, 0x12, kBetween},      {4, d_begpb, 0x4, kBegun},
    {5, d_endp, 0x8, kBody},          {8, d_noop, 0x8008, kBody},
    {9, d_noop, 0x8020, kNone},       {778, d_noop, 0x8020, kNone},
    {255, d_noop, 0x1, kInitialised}, {269, d_noop, 0x2, kOpen},
    {270, d_noop, 0x2, kOpen},        {518, ds_dvwn, 0x84, kBegun},
    {519, ds_bgc, 0x84, kBegun},      {520, ds_dvvp, 0x4, kBegun},
    {521, ds_vpsm, 0x84, kBegun},     {767, dq_dvwn, 0x7E, kOpened},
    {766, d_noop, 0x6C, kDescribed},  {765, dq_dvvp, 0x7E, kOpened},
    {771, ds_axc, 0x8088, kBody},     {772, ds_tran, 0x8088, kBody},
    {773, ds_clpr, 0x8088, kBody},    {774, ds_clip, 0x8088, kBody},
    {1025, d_noop, 0x8128, kBody},    {1026, d_noop, 0x8128, kBody},
    {1027, d_noop, 0x8108, kBody},    {1028, d_noop, 0x8108, kBody},
    {1029, d_noop, 0x8108, kBody},    {1030, d_noop, 0x8148, kBody},
    {1031, d_noop, 0x8128, kBody},    {1033, d_ca, 0x8008, kBody},
    {1034, d_gdp, 0x8128, kBody},     {1035, d_noop, 0x8128, kBody},
    {1036, d_noop, 0x8128, kBody},    {1037, d_noop, 0x8128, kBody},
    {1038, d_noop, 0x8128, kBody},    {1039, d_noop, 0x8128, kBody},
    {1040, d_noop, 0x8128, kBody},    {1041, d_noop, 0x8128, kBody},
    {1042, d_noop, 0x8128, kBody},    {1043, d_noop, 0x8128, kBody},
    {1282, d_noop, 0x8088, kBody},    {1283, d_noop, 0x8088, kBody},
    {1284, d_noop, 0x8088, kBody},    {1286, d_noop, 0x8088, kBody},
    {1287, d_noop, 0x8088, kBody},    {1288, d_noop, 0x8088, kBody},
    {1290, d_noop, 0x80C8, kBody},    {1299, d_noop, 0x80C8, kBody},
    {1291, d_noop, 0x80C8, kBody},    {1292, d_noop, 0x80C8, kBody},
    {1293, d_noop, 0x80C8, kBody},    {1294, d_noop, 0x80C8, kBody},
    {1295, d_noop, 0x80C8, kBody},    {1296, d_noop, 0x8088, kBody},
    {1297, d_noop, 0x8088, kBody},    {1298, d_noop, 0x8088, kBody},
    {1302, d_noop, 0x8088, kBody},    {1303, d_noop, 0x8088, kBody},
    {1304, d_noop, 0x8088, kBody},    {1305, d_noop, 0x8088, kBody},
    {1307, d_noop, 0x8088, kBody},    {1308, d_noop, 0x8088, kBody},
    {1309, d_noop, 0x8088, kBody},    {1310, d_noop, 0x8088, kBody},
    {1311, d_noop, 0x8088, kBody},    {1312, d_noop, 0x8088, kBody},
    {1323, d_noop, 0x8088, kBody},    {1314, ds_ct, 0x8088, kBody},
    {1537, d_noop, 0x8FFF, kAny},     {2310, ds_dm, 0x8008, kBody},
    {3841, d_noop, 0x7F, kAny},       {3842, d_popes, 0x7F, kAny},
    {3843, d_empes, 0x7F, kAny},      {1788, d_noop, 0x8, kBody},
};

TEST(DdFuncTable, HasSeventyFourRowsInOrder) {
    ASSERT_EQ(std::size(kExpected), 74u);
    ASSERT_EQ(std::size(ddFuncTable), 74u);
    for (size_t i = 0; i < 74; ++i) {
        EXPECT_EQ(ddFuncTable[i].opcode, kExpected[i].opcode) << "row " << i + 1;
        EXPECT_EQ(ddFuncTable[i].handler, kExpected[i].handler) << "row " << i + 1;
        EXPECT_EQ(ddFuncTable[i].allowedStates, kExpected[i].mask) << "row " << i + 1;
    }
}

class GetFuncTest : public RasterDeviceTest {
protected:
    GetFuncTest() { Initialise(); }
    ~GetFuncTest() override { lpEMData->stateWord = kStateInitialised; }
};

TEST_F(GetFuncTest, FindsEveryRowInTheStatesItAllows) {
    for (int32_t state : kAny) {
        lpEMData->stateWord = state;
        for (const ExpectedRow &row : kExpected) {
            const bool runs = row.states.count(state) != 0;
            EXPECT_EQ(getfunc(row.opcode), runs ? row.handler : d_noop)
                << "opcode " << row.opcode << " in state " << state;
            const bool supported = runs && row.handler != d_noop && row.opcode != 1034;
            EXPECT_EQ(InquireSupport(static_cast<int32_t>(row.opcode), -5), supported ? 2 : 0)
                << "opcode " << row.opcode << " in state " << state;
        }
    }
}

TEST_F(GetFuncTest, UnknownOpcodesDoNothingInEveryState) {
    std::set<uint32_t> known;
    for (const ExpectedRow &row : kExpected)
        known.insert(row.opcode);
    for (int32_t state : kAny) {
        lpEMData->stateWord = state;
        for (uint32_t opcode = 0; opcode < 4096; ++opcode)
            EXPECT_TRUE(known.count(opcode) != 0 || getfunc(opcode) == d_noop) << opcode;
        EXPECT_EQ(getfunc(0xFFFFFFFF), d_noop);
        EXPECT_EQ(getfunc(0x10001), d_noop);
    }
}

TEST_F(GetFuncTest, StatesOfALargerDriverAreInTheMasks) {
    lpEMData->stateWord = 0x80;
    EXPECT_EQ(getfunc(518), ds_dvwn);
    lpEMData->stateWord = 0x8000;
    EXPECT_EQ(getfunc(1033), d_ca);
    lpEMData->stateWord = 0x40;
    EXPECT_EQ(getfunc(2), d_cldv);
}

TEST(GetFunc, FindsNothingWithoutADevice) {
    ASSERT_EQ(lpEMData, nullptr);
    for (const ExpectedRow &row : kExpected)
        EXPECT_EQ(getfunc(row.opcode), d_noop);
}

TEST(InquireSupport, AnswersNoWithoutADevice) {
    for (const ExpectedRow &row : kExpected)
        EXPECT_EQ(InquireSupport(static_cast<int32_t>(row.opcode), 0), 0);
}

TEST_F(GetFuncTest, SupportLooksAtTheLowSixteenBitsSignExtended) {
    lpEMData->stateWord = kStatePictureBody;
    EXPECT_EQ(InquireSupport(1033, 0), 2);
    EXPECT_EQ(InquireSupport(0x50000 + 1033, 0), 2);
    EXPECT_EQ(InquireSupport(-1, 0), 0);
    lpEMData->stateWord = kStateOpen;
    EXPECT_EQ(InquireSupport(1033, 0), 0);
}

TEST_F(GetFuncTest, SupportOfPrimitivesIsAskedForTheWholeOpcodeOnly) {
    lpEMData->stateWord = kStatePictureBody;
    EXPECT_EQ(InquireSupport(1034, -5), 0);
    EXPECT_EQ(InquireSupport(1034, -6), 0);
    // With other high bits it is an ordinary opcode, and that has a handler.
    EXPECT_EQ(InquireSupport(0x10000 + 1034, -5), 2);
    EXPECT_EQ(InquireSupport(1323, 0), 0);
}

TEST(InqGDPSupport, DeniesEveryPrimitive) {
    for (int32_t id : {0, 1, 7, -1, -2, -3, -4, -5, -6, -7, -8, INT32_MAX, INT32_MIN})
        EXPECT_EQ(InqGDPSupport(id), 0) << id;
}

TEST(DNoop, ReturnsItsArgument) {
    Request request(6);
    EXPECT_EQ(d_noop(request.Data()), request.Data());
    EXPECT_EQ(d_noop(nullptr), nullptr);
}

using EscMode = RasterDeviceTest;

TEST_F(EscMode, ChangesNoRecord) {
    ASSERT_EQ(Initialise(), 0);
    ASSERT_EQ(Run(kOpenDevice), 0);
    CommonRecord common = {1, 17, 50, &host.record};
    const auto device = BytesOf(*lpEMData);
    const auto shared = BytesOf(common);
    lpCommon = &common;
    for (const int32_t mode : {0, 1, -7})
        esc_mode(mode);
    lpCommon = nullptr;
    EXPECT_EQ(BytesOf(*lpEMData), device);
    EXPECT_EQ(BytesOf(common), shared);
}

} // namespace
} // namespace kowen
