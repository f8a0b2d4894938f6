#include "escape_checks.h"

#include "callbacks.h"
#include "decode.h"
#include "names.h"
#include "real_module.h"
#include "setups.h"

#include <cstring>

namespace kowen::check {
namespace {

constexpr uint32_t kAnySize = 0;

/// What a code needs.
struct Escape {
    int32_t code;
    uint32_t size; ///< kAnySize when it does not count
    bool needsIn;
    bool needsOut;
};

constexpr Escape kEscapes[] = {
    {KOWEN_ESCAPE_SET_COLOR_MODE, 4, true, false},
    {KOWEN_ESCAPE_SET_COLOR_FORMAT, 4, true, false},
    {KOWEN_ESCAPE_SET_X_RESOLUTION, 4, true, false},
    {KOWEN_ESCAPE_SET_Y_RESOLUTION, 4, true, false},
    {KOWEN_ESCAPE_SET_WIDTH, 8, true, false},
    {KOWEN_ESCAPE_SET_HEIGHT, 8, true, false},
    {KOWEN_ESCAPE_GET_RESOLUTION, kAnySize, false, true},
    {KOWEN_ESCAPE_GET_SIZE, kAnySize, false, true},
    {KOWEN_ESCAPE_SET_RESOLUTION_MODE, 4, true, false},
    {KOWEN_ESCAPE_SET_SIZE_MODE, 4, true, false},
    {KOWEN_ESCAPE_SET_HOST_VALUE, kAnySize, false, false},
    {KOWEN_ESCAPE_GET_HOST_VALUE, kAnySize, false, true},
    {KOWEN_ESCAPE_SET_QUALITY, 4, true, false},
    {KOWEN_ESCAPE_GET_QUALITY, kAnySize, false, true},
    {KOWEN_ESCAPE_SET_QUALITY_MODE, 4, true, false},
    {KOWEN_ESCAPE_RASTER_QUERY, kAnySize, true, true},
    {KOWEN_ESCAPE_GET_COLOR_MODE, 4, false, true},
    {KOWEN_ESCAPE_SET_HOST_IO, 4, false, false},
};

const Escape *Find(int32_t code) {
    for (const Escape &escape : kEscapes)
        if (escape.code == code)
            return &escape;
    return nullptr;
}

void CheckEscape(const Call &call, MemoryHandle setup, int32_t code, uint32_t size, const void *in,
                 const void *out) {
    const Escape *escape = Find(code);
    if (escape == nullptr)
        return call.Mistake(Rule::kEscapeCode, "there is no escape " + std::to_string(code));
    if (escape->size != kAnySize && size != escape->size)
        call.Mistake(Rule::kEscapeSize, EscapeName(code) + " takes " +
                                            std::to_string(escape->size) + " bytes, not " +
                                            std::to_string(size));
    if (escape->needsIn && in == nullptr)
        call.Mistake(Rule::kEscapePointers, EscapeName(code) + " has no in");
    if (escape->needsOut && out == nullptr)
        call.Mistake(Rule::kEscapePointers, EscapeName(code) + " has no out");
    if (code == KOWEN_ESCAPE_RASTER_QUERY && setup != CurrentSetup())
        call.Mistake(Rule::kRasterQuery,
                     DescribeSetup(setup) + " is asked, " +
                         (CurrentSetup() != 0 ? DescribeSetup(CurrentSetup()) + " is" : "none is") +
                         " current");
}

/// The host's procedure is kept, and the module gets one that calls it.
const void *TakeProcedure(MemoryHandle setup, const void *in) {
    HostIoProcedure procedure = nullptr;
    static_assert(sizeof procedure == sizeof in);
    std::memcpy(&procedure, &in, sizeof in);
    SetProcedure(setup, procedure);
    return in != nullptr ? reinterpret_cast<const void *>(TracingProcedure()) : nullptr;
}

} // namespace

int32_t CheckedEscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in,
                           void *out, int32_t persist) {
    Call call("EscapeSetup", CallKind::kOther,
              {{"setup", DescribeSetup(setup)},
               {"code", EscapeName(code)},
               {"size", size},
               {"in", DescribeEscapeInput(code, size, in)},
               {"out", out != nullptr},
               {"persist", persist}});
    RequireSetup(call, setup);
    if (!call.Passes())
        return -1;
    if (setup != 0)
        CheckEscape(call, setup, code, size, in, out);
    const void *passed = in;
    if (code == KOWEN_ESCAPE_SET_HOST_IO && size == 4 && setup != 0)
        passed = TakeProcedure(setup, in);
    const int32_t result = Real()->escapeSetup(setup, code, size, passed, out, persist);
    call.Tell("result", result);
    if (result == 1)
        call.Tell("out", DescribeEscapeOutput(code, out));
    return result;
}

} // namespace kowen::check
