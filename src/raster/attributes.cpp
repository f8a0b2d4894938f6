#include "raster/attributes.h"

#include "color/color_mode.h"
#include "device/device_record.h"
#include "device/error_stack.h"
#include "device/request.h"
#include "platform/text.h"

#include <algorithm>

namespace kowen {
namespace {

constexpr size_t kColorStart = 16;
constexpr size_t kColors = 20;
constexpr uint32_t kArgumentsBeforeColors = 2;

constexpr size_t kVpsmMode = 16;
constexpr size_t kVpsmScale = 24;
constexpr int16_t kVpsmMetric = 1;
constexpr int16_t kVpsmHighest = 2;
constexpr int32_t kVpsmLockedState = 0x80;
constexpr double kMillimetresPerInch = 25.4;

int32_t ResolutionOf(int16_t mode, double scale) {
    if (mode != kVpsmMetric || scale == 0.0)
        return 0;
    return TruncateToInt32(kMillimetresPerInch / scale + 0.5);
}

// Colours of a request.
//
// Hardened: an argument count too small for the two words before them means none.
// Test: ColorTable.ArgumentCountsBelowFiveSetNothing.
uint32_t ColorCount(const DdRequest *request) {
    const auto arguments = Argument<uint32_t>(request, offsetof(DdRequest, argumentCount));
    return arguments < kArgumentsBeforeColors ? 0
                                              : (arguments - kArgumentsBeforeColors) / kColorBytes;
}

} // namespace

DdRequest *ds_dvwn(DdRequest *request) noexcept {
    lpEMData->window = Argument<DeviceRectangle>(request, kFirstArgument);
    return request;
}

DdRequest *dq_dvwn(DdRequest *request) noexcept {
    mov2buf(&lpEMData->window, sizeof lpEMData->window);
    return request;
}

DdRequest *ds_dvvp(DdRequest *request) noexcept {
    const auto given = Argument<DeviceRectangle>(request, kFirstArgument);
    DeviceRectangle &viewport = lpEMData->viewport;
    viewport.x1 = given.x1;
    viewport.y1 = given.y1;
    viewport.x2 = given.x2;
    viewport.y2 = given.y2;
    return request;
}

DdRequest *dq_dvvp(DdRequest *request) noexcept {
    const DeviceRectangle &viewport = lpEMData->viewport;
    const double answer[6] = {viewport.x1, viewport.y2, 0.0, viewport.y1, viewport.x2, 0.0};
    mov2buf(answer, sizeof answer);
    return request;
}

DdRequest *ds_bgc(DdRequest *request) noexcept {
    std::memcpy(lpEMData->background, Bytes(request, kFirstArgument), kColorBytes);
    return request;
}

DdRequest *ds_vpsm(DdRequest *request) noexcept {
    const auto mode = Argument<int16_t>(request, kVpsmMode);
    if (mode < 0 || mode > kVpsmHighest || (lpEMData->stateWord & kVpsmLockedState) != 0)
        return request;
    lpEMData->resolution = ResolutionOf(mode, Argument<double>(request, kVpsmScale));
    return request;
}

DdRequest *ds_ct(DdRequest *request) noexcept {
    const uint32_t given = ColorCount(request);
    const auto start = Argument<uint32_t>(request, kColorStart);
    uint8_t *colours = Bytes(request, kColors);
    rev_rgb(static_cast<int32_t>(given), colours, lpEMData->colorMode);
    // Hardened: a start beyond the table finds no entries.
    // Test: ColorTable.AStartBeyondTheTableTransformsAndCopiesNothing.
    if (start >= kColorTableEntries)
        return request;
    const uint32_t copied = std::min(given, kColorTableEntries - start);
    std::memcpy(lpEMData->colorTable + start * kColorBytes, colours, copied * kColorBytes);
    return request;
}

DdRequest *ds_axc(DdRequest *request) noexcept {
    return request;
}
DdRequest *ds_tran(DdRequest *request) noexcept {
    return request;
}
DdRequest *ds_clpr(DdRequest *request) noexcept {
    return request;
}
DdRequest *ds_clip(DdRequest *request) noexcept {
    return request;
}
DdRequest *ds_dm(DdRequest *request) noexcept {
    return request;
}
DdRequest *ds_fl(DdRequest *request) noexcept {
    return request;
}

} // namespace kowen
