#include "raster/opcode_table.h"

#include "device/device_record.h"
#include "device/error_stack.h"
#include "kowen/codes.h"
#include "raster/attributes.h"
#include "raster/cell_array.h"
#include "raster/device_state.h"
#include "raster/primitives.h"

namespace kowen {
namespace {

constexpr int32_t kOpcodeNeverSupported = 1323;
constexpr int32_t kSupported = 2;
constexpr int32_t kNotSupported = 0;
constexpr int32_t kLowestPrimitive = -7;

// Answers of InqGDPSupport by negated primitive; word 0 is never read.
constexpr int32_t GDPSupport[8] = {};

} // namespace

// Searched from the first row. Masks name states beyond 16 that this driver never enters; they
// stay, so that a driver with more states could use the table. Opcode 1299 stands between 1290
// and 1291, opcode 1788 is the last: the order is part of the table.
// clang-format off
const DdFuncEntry ddFuncTable[kDdFuncCount] = {
    {1, d_opdv, 0x1},
    {2, d_cldv, 0x7E},
    {3, d_begp, 0x12},
    {4, d_begpb, 0x4},
    {5, d_endp, 0x8},
    {8, d_noop, 0x8008},
    {9, d_noop, 0x8020},
    {778, d_noop, 0x8020},
    {255, d_noop, 0x1},
    {269, d_noop, 0x2},
    {270, d_noop, 0x2},
    {518, ds_dvwn, 0x84},
    {519, ds_bgc, 0x84},
    {520, ds_dvvp, 0x4},
    {521, ds_vpsm, 0x84},
    {767, dq_dvwn, 0x7E},
    {766, d_noop, 0x6C},
    {765, dq_dvvp, 0x7E},
    {771, ds_axc, 0x8088},
    {772, ds_tran, 0x8088},
    {773, ds_clpr, 0x8088},
    {774, ds_clip, 0x8088},
    {1025, d_noop, 0x8128},
    {1026, d_noop, 0x8128},
    {1027, d_noop, 0x8108},
    {1028, d_noop, 0x8108},
    {1029, d_noop, 0x8108},
    {1030, d_noop, 0x8148},
    {1031, d_noop, 0x8128},
    {1033, d_ca, 0x8008},
    {1034, d_gdp, 0x8128},
    {1035, d_noop, 0x8128},
    {1036, d_noop, 0x8128},
    {1037, d_noop, 0x8128},
    {1038, d_noop, 0x8128},
    {1039, d_noop, 0x8128},
    {1040, d_noop, 0x8128},
    {1041, d_noop, 0x8128},
    {1042, d_noop, 0x8128},
    {1043, d_noop, 0x8128},
    {1282, d_noop, 0x8088},
    {1283, d_noop, 0x8088},
    {1284, d_noop, 0x8088},
    {1286, d_noop, 0x8088},
    {1287, d_noop, 0x8088},
    {1288, d_noop, 0x8088},
    {1290, d_noop, 0x80C8},
    {1299, d_noop, 0x80C8},
    {1291, d_noop, 0x80C8},
    {1292, d_noop, 0x80C8},
    {1293, d_noop, 0x80C8},
    {1294, d_noop, 0x80C8},
    {1295, d_noop, 0x80C8},
    {1296, d_noop, 0x8088},
    {1297, d_noop, 0x8088},
    {1298, d_noop, 0x8088},
    {1302, d_noop, 0x8088},
    {1303, d_noop, 0x8088},
    {1304, d_noop, 0x8088},
    {1305, d_noop, 0x8088},
    {1307, d_noop, 0x8088},
    {1308, d_noop, 0x8088},
    {1309, d_noop, 0x8088},
    {1310, d_noop, 0x8088},
    {1311, d_noop, 0x8088},
    {1312, d_noop, 0x8088},
    {1323, d_noop, 0x8088},
    {1314, ds_ct, 0x8088},
    {1537, d_noop, 0x8FFF},
    {2310, ds_dm, 0x8008},
    {3841, d_noop, 0x7F},
    {3842, d_popes, 0x7F},
    {3843, d_empes, 0x7F},
    {1788, d_noop, 0x8},
};
// clang-format on

RequestHandler getfunc(uint32_t opcode) noexcept {
    if (!lpEMData)
        return d_noop;
    for (const DdFuncEntry &row : ddFuncTable)
        if (row.opcode == opcode)
            return row.allowedStates & static_cast<uint32_t>(lpEMData->stateWord) ? row.handler
                                                                                  : d_noop;
    return d_noop;
}

DdRequest *d_noop(DdRequest *request) noexcept {
    return request;
}

void esc_mode(int32_t) noexcept {}

int32_t InquireSupport(int32_t opcode, int32_t primitive) noexcept {
    if (opcode == KOWEN_REQUEST_PRIMITIVE)
        return InqGDPSupport(primitive);
    if (opcode == kOpcodeNeverSupported)
        return kNotSupported;
    const auto looked = static_cast<uint32_t>(static_cast<int32_t>(static_cast<int16_t>(opcode)));
    return getfunc(looked) == d_noop ? kNotSupported : kSupported;
}

int32_t InqGDPSupport(int32_t id) noexcept {
    return id < 0 && id >= kLowestPrimitive ? GDPSupport[-id] : kNotSupported;
}

} // namespace kowen
