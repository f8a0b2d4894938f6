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

/// An escape whose inputs are codes, and the first and the last of them. Those of a format lie
/// between others.
struct Codes {
    int32_t code;
    int32_t first, last;
    std::string (*inputName)(int32_t);
    std::string (*profileName)(int32_t); ///< of what a profile has in their place
};

constexpr Codes kCodes[] = {
    {KOWEN_ESCAPE_SET_COLOR_MODE, KOWEN_ESCAPE_COLOR_UNCHANGED,
     KOWEN_ESCAPE_COLOR_GREY_SCALE_INVERTED, EscapeColorName, ColorModeName},
    {KOWEN_ESCAPE_SET_COLOR_FORMAT, KOWEN_ESCAPE_FORMAT_GREY, KOWEN_ESCAPE_FORMAT_YCC422,
     EscapeFormatName, FormatName},
    {KOWEN_ESCAPE_SET_RESOLUTION_MODE, KOWEN_ESCAPE_RESOLUTION_FROM_DISPLAY,
     KOWEN_ESCAPE_RESOLUTION_USER, EscapeResolutionName, ResolutionModeName},
    {KOWEN_ESCAPE_SET_SIZE_MODE, KOWEN_ESCAPE_SIZE_FROM_DISPLAY, KOWEN_ESCAPE_SIZE_USER,
     EscapeSizeName, SizeModeName},
    {KOWEN_ESCAPE_SET_QUALITY_MODE, KOWEN_ESCAPE_QUALITY_FIXED, KOWEN_ESCAPE_QUALITY_USER,
     EscapeQualityName, QualityModeName},
};

/// The number, and what it would be in a profile.
std::string DescribeWrongCode(const Codes &codes, int32_t value) {
    const std::string number = std::to_string(value);
    const std::string name = codes.profileName(value);
    return name == number ? number : number + ", which is the profile's " + name;
}

void CheckCode(const Call &call, int32_t code, const void *in) {
    for (const Codes &codes : kCodes) {
        if (codes.code != code)
            continue;
        const auto value = ValueAt<int32_t>(in);
        if (codes.inputName(value) == std::to_string(value))
            call.Mistake(Rule::kEscapeValue,
                         EscapeName(code) + " takes " + codes.inputName(codes.first) + " (" +
                             std::to_string(codes.first) + ") to " + codes.inputName(codes.last) +
                             " (" + std::to_string(codes.last) + "), not " +
                             DescribeWrongCode(codes, value));
    }
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
    if (escape->size == sizeof(int32_t) && size == escape->size && in != nullptr)
        CheckCode(call, code, in);
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
