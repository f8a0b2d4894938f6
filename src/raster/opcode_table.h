// The opcode table: which handler runs a request, and in which device states.
#pragma once

#include "kowen/records.h"

#include <cstddef>
#include <cstdint>

namespace kowen {

/// Runs one request. What it returns is ignored.
using RequestHandler = DdRequest *(*)(DdRequest *request) noexcept;

struct DdFuncEntry {
    uint32_t opcode;
    RequestHandler handler;
    uint32_t allowedStates; ///< set of DeviceState bits, and of states this driver has not
};

inline constexpr size_t kDdFuncCount = 74;
extern const DdFuncEntry ddFuncTable[kDdFuncCount];

/// Returns the handler of an opcode: that of the first row with it, or d_noop when there is no
/// row, when the row does not allow the device's state, and without a device record.
RequestHandler getfunc(uint32_t opcode) noexcept;

/// Returns its argument.
DdRequest *d_noop(DdRequest *request) noexcept;

/// Called with 1 before and 0 after each request of the export door. Does nothing.
void esc_mode(int32_t mode) noexcept;

/// Tells whether a request would run in the device's present state: 2 = yes, 0 = no. Of the
/// opcode the low 16 bits count, sign-extended; primitive counts for opcode 1034 only. Opcode
/// 1323 is never supported.
int32_t InquireSupport(int32_t opcode, int32_t primitive) noexcept;

/// Tells whether a generalised drawing primitive is supported.
///
/// Kept deliberately: the answer is 0 for every primitive, also for -5 and -6, which d_gdp does
/// run; a host uses those by prior agreement. Test: InqGDPSupport.DeniesEveryPrimitive.
/// Not on the export path.
int32_t InqGDPSupport(int32_t id) noexcept;

} // namespace kowen
