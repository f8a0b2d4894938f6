#include "device.h"

#include "callbacks.h"
#include "decode.h"
#include "lifetime.h"
#include "names.h"
#include "real_module.h"
#include "requests.h"
#include "setups.h"

#include <cstring>

namespace kowen::check {
namespace {

constexpr size_t kRasterNameBytes = 143;
constexpr size_t kExportNameBytes = 4095;

/// One of the two devices.
struct Device {
    const char *shortDoorName;
    const char *doorName;
    size_t nameBytes; ///< that an output name has room for
    DeviceDoorFunction door = nullptr;
    Output output{};
    DeviceState state{};
};

struct Devices {
    Device raster{"RASTER_dd_entry", "RASTER_dd_entry32", kRasterNameBytes};
    Device exporter{"dd_entry", "dd_entry32", kExportNameBytes};
};

Device &Raster() {
    return TheOne<Devices>().raster;
}

Device &Exporter() {
    return TheOne<Devices>().exporter;
}

void CheckOpenRecord(Call &call, const Device &device, const OpenRecord *record) {
    if (record == nullptr)
        return call.Mistake(Rule::kDeviceRecord, "the record is null");
    if (device.output.Runs() && device.state.state != 1)
        call.Mistake(Rule::kDeviceAgain, "it runs in state " + std::to_string(device.state.state));
    RequireSetup(call, record->setup);
    if (record->setup == 0)
        call.Mistake(Rule::kDeviceSetup, "the record has none");
    const size_t length = record->outputName != nullptr ? std::strlen(record->outputName) : 0;
    if (length > device.nameBytes)
        call.Mistake(Rule::kDeviceName, "the name has " + std::to_string(length) + " bytes");
}

/// Hands over a copy of the record, in which the export record is another one.
int32_t Initialise(Device &device, Call &call, OpenRecord *record) {
    CheckOpenRecord(call, device, record);
    if (!call.Passes())
        return KOWEN_ERR_MEMORY;
    if (record == nullptr)
        return device.door(0, KOWEN_DD_INITIALISE, nullptr);
    if (device.output.Runs()) {
        const OutputAtWork ending(device.output);
        device.door(0, KOWEN_DD_TERMINATE, nullptr);
    }
    device.output.End();
    device.output.Begin(record->setup, record->exportRecord);
    const OutputAtWork work(device.output);
    OpenRecord copy = *record;
    copy.exportRecord = device.output.ForTheModule();
    const int32_t result = device.door(0, KOWEN_DD_INITIALISE, &copy);
    copy.exportRecord = record->exportRecord;
    *record = copy;
    MakeCurrent(device.output.Setup());
    device.state = {};
    device.state.returnAreaSize = record->returnAreaSize;
    if (result != KOWEN_OK)
        device.output.End();
    return result;
}

int32_t Dispatch(Device &device, Call &call, void *request) {
    if (request == nullptr)
        call.Mistake(Rule::kDeviceRecord, "the request is null");
    if (!device.output.Runs())
        call.Mistake(Rule::kDeviceRuns, "the device is not initialised");
    const bool follows = request != nullptr && device.output.Runs() && &device == &Raster();
    if (follows)
        CheckRequest(call, device.state, request);
    if (!call.Passes())
        return KOWEN_OK;
    const OutputAtWork work(device.output);
    const int32_t result = device.door(0, KOWEN_DD_DISPATCH, request);
    if (follows)
        FollowRequest(&device.state, request);
    return result;
}

int32_t Terminate(Device &device, const Call &call, void *record) {
    if (!device.output.Runs())
        call.Mistake(Rule::kDeviceRuns, "the device is not initialised");
    if (!call.Passes())
        return KOWEN_OK;
    int32_t result;
    {
        const OutputAtWork work(device.output);
        result = device.door(0, KOWEN_DD_TERMINATE, record);
    }
    device.output.End();
    return result;
}

Json DescribeDoorRecord(uint16_t function, void *record) {
    if (function == KOWEN_DD_INITIALISE)
        return DescribeOpenRecord(static_cast<const OpenRecord *>(record));
    if (function == KOWEN_DD_DISPATCH)
        return DescribeRequest(record);
    return record != nullptr ? "not read" : "null";
}

int32_t RunDoor(Device &device, uint16_t function, void *record) {
    Call call(device.doorName, CallKind::kOther,
              {{"function", DoorFunctionName(function)},
               {"record", DescribeDoorRecord(function, record)}});
    int32_t result = KOWEN_OK;
    if (function == KOWEN_DD_INITIALISE)
        result = Initialise(device, call, static_cast<OpenRecord *>(record));
    else if (function == KOWEN_DD_DISPATCH)
        result = Dispatch(device, call, record);
    else if (function == KOWEN_DD_TERMINATE)
        result = Terminate(device, call, record);
    else if (call.Passes())
        result = device.door(0, function, record);
    call.Tell("result", result);
    if (function != KOWEN_DD_VERSION)
        call.Tell("code", ResultName(result));
    return result;
}

int32_t RasterDoor(uint32_t, uint16_t function, void *record) {
    return RunDoor(Raster(), function, record);
}

int32_t ExportDoor(uint32_t, uint16_t function, void *record) {
    return RunDoor(Exporter(), function, record);
}

int32_t RunShortDoor(Device &device, ShortDoorFunction real, DeviceDoorFunction checked,
                     int16_t function, void *out, int16_t ignored) {
    Call call(device.shortDoorName, CallKind::kOther,
              {{"function", ShortDoorFunctionName(function)}, {"out", out != nullptr}});
    if (!call.Passes())
        return 0;
    if (function != KOWEN_DOOR_ADDRESS || out == nullptr)
        return real(function, out, ignored);
    const int32_t result = real(function, &device.door, ignored);
    std::memcpy(out, &checked, sizeof checked);
    return result;
}

void ReportLeft(const Device &device) {
    if (device.output.Runs())
        MistakeOutsideCalls(Rule::kUnload, std::string("the device of ") + device.shortDoorName +
                                               " was never terminated");
}

} // namespace

int32_t CheckedExportShortDoor(int16_t function, void *out, int16_t ignored) {
    return RunShortDoor(Exporter(), Real() != nullptr ? Real()->exportDoor : nullptr, ExportDoor,
                        function, out, ignored);
}

int32_t CheckedRasterShortDoor(int16_t function, void *out, int16_t ignored) {
    return RunShortDoor(Raster(), Real() != nullptr ? Real()->rasterDoor : nullptr, RasterDoor,
                        function, out, ignored);
}

bool IsUsedByDevice(MemoryHandle setup) {
    return (Raster().output.Runs() && Raster().output.Setup() == setup) ||
           (Exporter().output.Runs() && Exporter().output.Setup() == setup);
}

void ReportDevicesLeft() {
    ReportLeft(Raster());
    ReportLeft(Exporter());
}

} // namespace kowen::check
