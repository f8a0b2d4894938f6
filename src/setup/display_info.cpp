#include "setup/display_info.h"

#include <algorithm>
#include <cstdlib>

namespace kowen {

namespace {

constexpr int32_t kDefaultWidthPixels = 1280;
constexpr int32_t kDefaultHeightPixels = 1078;
constexpr int32_t kDefaultResolution = 96;

struct DeviceInfo {
    double width;
    double height;
    int32_t xResolution;
    int32_t yResolution;
};

DeviceInfo display = {};
DeviceInfo printer = {};

// atoi, saturated where that is undefined.
int32_t ParseInteger(const char *text) {
    const long value = std::strtol(text, nullptr, 10);
    return static_cast<int32_t>(std::clamp<long>(value, INT32_MIN, INT32_MAX));
}

int32_t NextInteger(const char **text) {
    const int32_t value = ParseInteger(*text);
    moveptr(text);
    return value;
}

DeviceInfo ParseDisplay(const char *text) {
    DeviceInfo info = {};
    info.width = NextInteger(&text);
    info.height = NextInteger(&text);
    info.xResolution = NextInteger(&text);
    info.yResolution = NextInteger(&text);
    if (info.xResolution == 0)
        info.xResolution = kDefaultResolution;
    if (info.yResolution == 0)
        info.yResolution = kDefaultResolution;
    return info;
}

DeviceInfo StoredDisplay() {
    DeviceInfo info = {kDefaultWidthPixels, kDefaultHeightPixels, kDefaultResolution,
                       kDefaultResolution};
    if (display.width != 0.0)
        info.width = display.width;
    if (display.height != 0.0)
        info.height = display.height;
    if (display.xResolution != 0)
        info.xResolution = display.xResolution;
    if (display.yResolution != 0)
        info.yResolution = display.yResolution;
    return info;
}

int32_t Answer(const DeviceInfo &info, double *width, double *height, int16_t *xResolution,
               int16_t *yResolution) {
    if (width)
        *width = info.width;
    if (height)
        *height = info.height;
    if (xResolution)
        *xResolution = static_cast<int16_t>(info.xResolution);
    if (yResolution)
        *yResolution = static_cast<int16_t>(info.yResolution);
    return 0;
}

} // namespace

void SetDisplayInfo(double width, double height, int16_t xResolution,
                    int16_t yResolution) noexcept {
    display = {width, height, xResolution, yResolution};
}

void SetPrinterInfo(double width, double height, int16_t xResolution,
                    int16_t yResolution) noexcept {
    printer = {width, height, xResolution, yResolution};
}

int32_t GetDisplayInfo(double *width, double *height, int16_t *xResolution,
                       int16_t *yResolution) noexcept {
    const char *variable = std::getenv("DISPLAYINFO");
    const bool given = variable && *variable != 0;
    DeviceInfo info = given ? ParseDisplay(variable) : StoredDisplay();
    info.width /= info.xResolution;
    info.height /= info.yResolution;
    return Answer(info, width, height, xResolution, yResolution);
}

int32_t GetPrinterInfo(double *width, double *height, int16_t *xResolution,
                       int16_t *yResolution) noexcept {
    return Answer(printer, width, height, xResolution, yResolution);
}

int32_t GetDisplayColorInfo(void *) noexcept {
    return 0;
}

void moveptr(const char **text) noexcept {
    while (**text >= '0' && **text <= '9')
        ++*text;
    if (**text != 0)
        ++*text;
}

} // namespace kowen
