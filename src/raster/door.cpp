#include "raster/door.h"

#include "device/common_record.h"
#include "device/device_record.h"
#include "device/request.h"
#include "export/driver.h"
#include "kowen/codes.h"
#include "platform/host_call.h"
#include "platform/plain_floats.h"
#include "raster/device_state.h"
#include "raster/opcode_table.h"
#include "setup/identity.h"

#include <cstring>

namespace kowen {
namespace {

using DeviceDoor = int32_t (*)(uint32_t, uint16_t, void *);

constexpr int32_t kVersionBytes = 4;

// Hardened: a host that calls a door from inside its own callback finds it shut. Its records would
// otherwise be freed under the work that goes on. Only the version, which touches no record, is
// told all the same. Tests: RasterDoor.IsShutInsideItsOwnCallbacks and
// ...TellsItsVersionInsideItsOwnCallbacks.
bool IsShut() {
    return HostCall::Underway();
}

int32_t CopyVersion(void *out) {
    if (!out)
        return 0;
    const uint32_t version = QIVGetFilterVersion();
    static_assert(sizeof version == kVersionBytes);
    std::memcpy(out, &version, sizeof version);
    return kVersionBytes;
}

int32_t ShortDoor(int16_t function, void *out, DeviceDoor door) {
    if (function == KOWEN_DOOR_VERSION)
        CopyVersion(out);
    else if (function == KOWEN_DOOR_ADDRESS && out)
        std::memcpy(out, &door, sizeof door);
    return 0;
}

void RunRequest(DdRequest *request) {
    getfunc(Argument<uint32_t>(request, offsetof(DdRequest, opcode)))(request);
}

int32_t InitialiseRaster(OpenRecord *record) {
    if (hCommon && lpEMData && lpEMData->stateWord != -1)
        return 0;
    return RASTER_initdvr(record);
}

int32_t DispatchRaster(DdRequest *request) {
    if (!lpEMData)
        return 0;
    lpEMData->errorStack.currentError = 0;
    if (lpEMData->stateWord <= 0 || !request)
        return 0;
    RunRequest(request);
    return lpEMData->errorStack.currentError;
}

int32_t TerminateRaster() {
    if (lpEMData)
        lpEMData->errorStack.currentError = 0;
    return RASTER_termdvr();
}

int32_t InitialiseExport(OpenRecord *record) {
    if (hCommon && lpCommon && lpCommon->stateWord != kStateInitialised)
        return 0;
    return initdvr(record);
}

// Hardened: without a raster device record getfunc finds d_noop for every opcode, so that no
// handler runs without the record it works on. Test: ExportDoor.RunsNothingWithoutADevice.
int32_t DispatchExport(DdRequest *request) {
    if (!lpCommon)
        return 0;
    lpCommon->currentError = 0;
    if (lpCommon->stateWord > 0 && request) {
        esc_mode(1);
        RunRequest(request);
        esc_mode(0);
    }
    return lpCommon->currentError;
}

int32_t TerminateExport() {
    if (lpCommon)
        lpCommon->currentError = 0;
    return termdvr(0);
}

// What is behind a 32-bit door.
struct Driver {
    int32_t (*initialise)(OpenRecord *record);
    int32_t (*dispatch)(DdRequest *request);
    int32_t (*terminate)();
};

int32_t Enter(const Driver &driver, uint16_t function, void *record) {
    if (function == KOWEN_DD_VERSION)
        return CopyVersion(record);
    if (IsShut())
        return 0;
    const PlainFloats floats;
    switch (function) {
    case KOWEN_DD_INITIALISE:
        return driver.initialise(static_cast<OpenRecord *>(record));
    case KOWEN_DD_DISPATCH:
        return driver.dispatch(static_cast<DdRequest *>(record));
    case KOWEN_DD_TERMINATE:
        return driver.terminate();
    default:
        return 0;
    }
}

} // namespace

int32_t dd_entry(int16_t function, void *out, int16_t) noexcept {
    return ShortDoor(function, out, dd_entry32);
}

int32_t RASTER_dd_entry(int16_t function, void *out, int16_t) noexcept {
    return ShortDoor(function, out, RASTER_dd_entry32);
}

int32_t dd_entry32(uint32_t, uint16_t function, void *record) noexcept {
    return Enter({InitialiseExport, DispatchExport, TerminateExport}, function, record);
}

int32_t RASTER_dd_entry32(uint32_t, uint16_t function, void *record) noexcept {
    return Enter({InitialiseRaster, DispatchRaster, TerminateRaster}, function, record);
}

} // namespace kowen
