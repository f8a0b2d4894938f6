#include "setup/escapes.h"

#include "platform/global_memory.h"
#include "setup/geometry.h"
#include "setup/limits.h"
#include "setup/setting_store.h"
#include "setup/setup.h"

#include <cstring>

namespace kowen {

namespace {

constexpr int32_t kHandled = 1;
constexpr int32_t kUnknown = 0;
constexpr int32_t kRejected = -1;

// The host's colour modes 101..105 are stored as 103..107.
constexpr int32_t kMinHostColor = KOWEN_ESCAPE_COLOR_UNCHANGED;
constexpr int32_t kMaxHostColor = KOWEN_ESCAPE_COLOR_GREY_SCALE_INVERTED;
constexpr int32_t kHostColorOffset = KOWEN_COLOR_UNCHANGED - kMinHostColor;

// Host I/O procedures are handed over as a 4-byte value, whatever the size of a pointer.
constexpr uint32_t kProcedureSize = 4;

constexpr char kIntegerFormat[] = "%d";
constexpr char kHeightFormat[] = "%.3g";
// Kept deliberately: the text is ".3" and the value, so 6.67 is written as .36.67 and loads as
// 0.36. Test: EscapeSetWidth.PersistedWidthLoadsAsAnother.
constexpr char kWidthFormat[] = ".3%g";

struct EscapeCall {
    MemoryHandle handle;
    SetupRecord &setup;
    uint32_t size;
    const void *in;
    void *out;
    bool persist;
};

// In and out are in the host's byte order and need no alignment. False: the size is wrong or there
// is no value.
template <typename T> bool ReadInput(const EscapeCall &call, T *value) {
    if (call.size != sizeof *value || !call.in)
        return false;
    std::memcpy(value, call.in, sizeof *value);
    return true;
}

template <typename T> int32_t WriteOutput(const EscapeCall &call, const T &value) {
    if (!call.out)
        return kRejected;
    std::memcpy(call.out, &value, sizeof value);
    return kHandled;
}

void PersistInteger(const EscapeCall &call, StringId key, int32_t value) {
    if (call.persist)
        WriteSetting(call.setup, key, kIntegerFormat, static_cast<int>(value));
}

int32_t SetColorMode(const EscapeCall &call) {
    int32_t input;
    if (!ReadInput(call, &input) || input < kMinHostColor || input > kMaxHostColor)
        return kRejected;
    call.setup.colorMode = input + kHostColorOffset;
    PersistInteger(call, kStringColorMode, call.setup.colorMode);
    return kHandled;
}

int32_t GetColorMode(const EscapeCall &call) {
    if (call.size != sizeof(int32_t))
        return kHandled;
    const int32_t mode = call.setup.colorMode;
    if (mode < KOWEN_COLOR_UNCHANGED || mode > KOWEN_COLOR_GREY_SCALE_INVERTED)
        return kRejected;
    return WriteOutput(call, mode - kHostColorOffset);
}

int32_t SetColorFormat(const EscapeCall &call) {
    int32_t input;
    if (!ReadInput(call, &input))
        return kRejected;
    switch (input) {
    case KOWEN_ESCAPE_FORMAT_GREY:
        call.setup.colorFormat = KOWEN_FORMAT_GREY;
        break;
    case KOWEN_ESCAPE_FORMAT_RGB444:
        call.setup.colorFormat = KOWEN_FORMAT_RGB444;
        break;
    case KOWEN_ESCAPE_FORMAT_YCC422:
        call.setup.colorFormat = KOWEN_FORMAT_YCC422;
        break;
    default:
        return kRejected;
    }
    PersistInteger(call, kStringColorFormat, call.setup.colorFormat);
    return kHandled;
}

int32_t SetResolution(const EscapeCall &call, int16_t *resolution, StringId key) {
    int32_t input;
    if (!ReadInput(call, &input) || !ResolutionIsValid(input))
        return kRejected;
    *resolution = static_cast<int16_t>(input);
    PersistInteger(call, key, input);
    return kHandled;
}

int32_t SetWidth(const EscapeCall &call) {
    double input;
    if (!ReadInput(call, &input) || !InchesAreValid(input))
        return kRejected;
    call.setup.width = input;
    if (call.persist)
        WriteSetting(call.setup, kStringWidth, kWidthFormat, input);
    return kHandled;
}

int32_t SetHeight(const EscapeCall &call) {
    double input;
    if (!ReadInput(call, &input) || !InchesAreValid(input))
        return kRejected;
    call.setup.height = input;
    if (call.persist)
        WriteSetting(call.setup, kStringHeight, kHeightFormat, input);
    return kHandled;
}

int32_t GetResolution(const EscapeCall &call) {
    struct {
        int32_t x;
        int32_t y;
    } answer = {0, 0};
    if (call.setup.resolutionMode != KOWEN_RESOLUTION_FROM_PICTURE)
        answer = {call.setup.header.xResolution, call.setup.header.yResolution};
    return WriteOutput(call, answer);
}

int32_t GetSize(const EscapeCall &call) {
    SizeInches answer = {0.0, 0.0};
    if (call.setup.sizeMode != KOWEN_SIZE_FROM_PICTURE)
        answer = {call.setup.width, call.setup.height};
    return WriteOutput(call, answer);
}

// The host counts a mode's codes from 0; a number beyond the last one changes nothing.
// Kept deliberately: a mode is never persisted, whatever the persist flag says.
// Test: EscapeTest.ModesAreNeverPersisted.
int32_t SetMode(const EscapeCall &call, int32_t *mode, int32_t firstCode, int32_t lastCode) {
    int32_t input;
    if (call.size != sizeof input)
        return kHandled;
    if (!ReadInput(call, &input))
        return kRejected;
    if (input >= 0 && input <= lastCode - firstCode)
        *mode = firstCode + input;
    return kHandled;
}

int32_t SetHostValue(const EscapeCall &call) {
    call.setup.hostValue = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(call.in));
    return kHandled;
}

int32_t SetQuality(const EscapeCall &call) {
    int32_t input;
    if (!ReadInput(call, &input) || !QualityIsValid(input))
        return kRejected;
    call.setup.quality = static_cast<int16_t>(input);
    PersistInteger(call, kStringQuality, input);
    return kHandled;
}

int32_t QueryRaster(const EscapeCall &call) {
    if (!call.in || !call.out)
        return kRejected;
    if (!lpRaster)
        return kHandled;
    RasterQuery query;
    RasterAnswer answer;
    std::memcpy(&query, call.in, sizeof query);
    GetRasterInfo(call.handle, &query, &answer);
    return WriteOutput(call, answer);
}

int32_t SetHostIo(const EscapeCall &call) {
    if (call.size != kProcedureSize)
        return kHandled;
    call.setup.ioProcedure = reinterpret_cast<HostIoProcedure>(const_cast<void *>(call.in));
    // Kept deliberately: one unlock more than locks. Test: EscapeSetHostIo.UnlocksTwice.
    GlobalUnlock(call.handle);
    return kHandled;
}

int32_t Dispatch(const EscapeCall &call, int32_t code) {
    SetupRecord &setup = call.setup;
    switch (code) {
    case KOWEN_ESCAPE_SET_COLOR_MODE:
        return SetColorMode(call);
    case KOWEN_ESCAPE_SET_COLOR_FORMAT:
        return SetColorFormat(call);
    case KOWEN_ESCAPE_SET_X_RESOLUTION:
        return SetResolution(call, &setup.header.xResolution, kStringXResolution);
    case KOWEN_ESCAPE_SET_Y_RESOLUTION:
        return SetResolution(call, &setup.header.yResolution, kStringYResolution);
    case KOWEN_ESCAPE_SET_WIDTH:
        return SetWidth(call);
    case KOWEN_ESCAPE_SET_HEIGHT:
        return SetHeight(call);
    case KOWEN_ESCAPE_GET_RESOLUTION:
        return GetResolution(call);
    case KOWEN_ESCAPE_GET_SIZE:
        return GetSize(call);
    case KOWEN_ESCAPE_SET_RESOLUTION_MODE:
        return SetMode(call, &setup.resolutionMode, KOWEN_RESOLUTION_FROM_DISPLAY,
                       KOWEN_RESOLUTION_USER);
    case KOWEN_ESCAPE_SET_SIZE_MODE:
        return SetMode(call, &setup.sizeMode, KOWEN_SIZE_FROM_DISPLAY, KOWEN_SIZE_USER);
    case KOWEN_ESCAPE_SET_HOST_VALUE:
        return SetHostValue(call);
    case KOWEN_ESCAPE_GET_HOST_VALUE:
        return WriteOutput(call, setup.hostValue);
    case KOWEN_ESCAPE_SET_QUALITY:
        return SetQuality(call);
    case KOWEN_ESCAPE_GET_QUALITY:
        return WriteOutput(call, int32_t{setup.quality});
    case KOWEN_ESCAPE_SET_QUALITY_MODE:
        return SetMode(call, &setup.qualityMode, KOWEN_QUALITY_FIXED, KOWEN_QUALITY_USER);
    case KOWEN_ESCAPE_RASTER_QUERY:
        return QueryRaster(call);
    case KOWEN_ESCAPE_GET_COLOR_MODE:
        return GetColorMode(call);
    case KOWEN_ESCAPE_SET_HOST_IO:
        return SetHostIo(call);
    default:
        return kUnknown;
    }
}

} // namespace

int32_t xEscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in, void *out,
                     int32_t persist) noexcept {
    if (setup == 0)
        return kRejected;
    SetupRecord *record = Lock<SetupRecord>(setup);
    if (!record)
        return kRejected;
    const int32_t result = Dispatch({setup, *record, size, in, out, persist != 0}, code);
    GlobalUnlock(setup);
    return result;
}

} // namespace kowen
