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
    Rule nameRule;
    DeviceDoorFunction door = nullptr;
    Output output{};
    DeviceState state{};
    const void *returnArea = nullptr;
    bool hasName = false;
};

struct Devices {
    Device raster{"RASTER_dd_entry", "RASTER_dd_entry32", kRasterNameBytes, Rule::kDeviceName};
    Device exporter{"dd_entry", "dd_entry32", kExportNameBytes, Rule::kExportDeviceName};
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
    if (record->setup == 0)
        call.Mistake(Rule::kDeviceSetup, "the record has none");
    else
        RequireSetup(call, record->setup);
    RequireDriver(call, record->setup);
    const size_t length = record->outputName != nullptr ? std::strlen(record->outputName) : 0;
    if (length > device.nameBytes)
        call.Mistake(device.nameRule, "the name has " + std::to_string(length) + " bytes");
}

/// As the initialisation does, so that the callbacks meanwhile are the old device's.
void EndDeviceThatRuns(Device &device) {
    if (device.output.Runs()) {
        const OutputAtWork ending(device.output);
        device.door(0, KOWEN_DD_TERMINATE, nullptr);
    }
    device.output.End();
}

/// Hands over a copy of the record, in which the export record is another one.
int32_t PassOpenRecord(Device &device, OpenRecord *record) {
    const OutputAtWork work(device.output);
    OpenRecord copy = *record;
    copy.exportRecord = device.output.ForTheModule();
    const int32_t result = device.door(0, KOWEN_DD_INITIALISE, &copy);
    copy.exportRecord = record->exportRecord;
    *record = copy;
    return result;
}

int32_t Initialise(Device &device, Call &call, OpenRecord *record) {
    CheckOpenRecord(call, device, record);
    if (!call.Passes())
        return KOWEN_ERR_MEMORY;
    EndDeviceThatRuns(device);
    if (record == nullptr)
        return device.door(0, KOWEN_DD_INITIALISE, nullptr);
    device.output.Begin(record->setup, record->exportRecord);
    MakeCurrent(record->setup);
    const bool hasName = record->outputName != nullptr && *record->outputName != 0;
    const int32_t result = PassOpenRecord(device, record);
    device.state = {};
    device.state.returnAreaSize = record->returnAreaSize;
    device.returnArea = record->returnArea;
    device.hasName = hasName;
    if (result != KOWEN_OK)
        device.output.End();
    else
        call.Tell("record", DescribeOpenRecordOutputs(*record, &device == &Raster()));
    return result;
}

/// A request of the raster device that has run.
void Follow(Device &device, Call &call, const void *request, int32_t result) {
    const uint32_t place = device.state.returnAreaUsed;
    const uint32_t bytes = AnswerBytes(device.state, request);
    FollowRequest(&device.state, request, result);
    if (bytes != 0 && device.state.returnAreaUsed - place == bytes)
        call.Tell("answer",
                  DescribeAnswer(static_cast<const char *>(device.returnArea) + place, bytes));
}

void CheckOutput(const Call &call, const Device &device, const void *request) {
    if (ValueAt<uint32_t>(request) == KOWEN_REQUEST_OPEN_DEVICE &&
        RequestRuns(device.state, request) && !device.hasName &&
        ProcedureOf(device.output.Setup()) == nullptr)
        call.Mistake(Rule::kDeviceOutput,
                     "there is neither a name nor an I/O procedure, so the picture is lost");
}

int32_t Dispatch(Device &device, Call &call, void *request) {
    if (request == nullptr)
        call.Mistake(Rule::kDeviceRecord, "the request is null");
    if (!device.output.Runs())
        call.Mistake(Rule::kDeviceRuns, "the device is not initialised");
    const bool follows = request != nullptr && device.output.Runs() && &device == &Raster();
    if (follows) {
        CheckOutput(call, device, request);
        CheckRequest(call, device.state, request);
    }
    const OutputAtWork work(device.output);
    const int32_t result = device.door(0, KOWEN_DD_DISPATCH, request);
    if (follows)
        Follow(device, call, request, result);
    return result;
}

int32_t Terminate(Device &device, const Call &call, void *record) {
    if (!device.output.Runs())
        call.Mistake(Rule::kDeviceRuns, "the device is not initialised");
    int32_t result;
    {
        const OutputAtWork work(device.output);
        result = device.door(0, KOWEN_DD_TERMINATE, record);
    }
    device.output.End();
    return result;
}

int32_t TellVersion(const Device &device, Call &call, void *record) {
    if (record == nullptr)
        call.Mistake(Rule::kDoorPlace, "there is none for the version");
    const int32_t bytes = device.door(0, KOWEN_DD_VERSION, record);
    if (record != nullptr)
        call.Tell("version", ValueAt<uint32_t>(record));
    return bytes;
}

int32_t DoNothing(const Device &device, const Call &call, uint16_t function, void *record) {
    if (function != KOWEN_DD_NOTHING)
        call.Mistake(Rule::kDoorFunction, "there is no function " + std::to_string(function));
    return device.door(0, function, record);
}

/// The export device reads none of its requests, the raster device those that run.
bool ReadsRequest(const Device &device, const void *request) {
    return request != nullptr && &device == &Raster() && device.output.Runs() && !DoorsAreShut() &&
           RequestRuns(device.state, request);
}

Json DescribeDoorRecord(const Device &device, uint16_t function, void *record) {
    if (function == KOWEN_DD_INITIALISE)
        return DescribeOpenRecord(static_cast<const OpenRecord *>(record));
    if (function == KOWEN_DD_DISPATCH)
        return DescribeRequest(record, ReadsRequest(device, record));
    return record != nullptr ? "not read" : "null";
}

/// A door that is shut does nothing, so there is nothing to follow, and no mistake but that it was
/// called.
int32_t RunFunction(Device &device, Call &call, uint16_t function, void *record) {
    if (DoorsAreShut() && function != KOWEN_DD_VERSION)
        return device.door(0, function, record);
    switch (function) {
    case KOWEN_DD_INITIALISE:
        return Initialise(device, call, static_cast<OpenRecord *>(record));
    case KOWEN_DD_DISPATCH:
        return Dispatch(device, call, record);
    case KOWEN_DD_TERMINATE:
        return Terminate(device, call, record);
    case KOWEN_DD_VERSION:
        return TellVersion(device, call, record);
    default:
        return DoNothing(device, call, function, record);
    }
}

int32_t RunDoor(Device &device, uint16_t function, void *record) {
    Call call(device.doorName, CallKind::kOther,
              {{"function", DoorFunctionName(function)},
               {"record", DescribeDoorRecord(device, function, record)}});
    int32_t result = function == KOWEN_DD_INITIALISE ? KOWEN_ERR_MEMORY : KOWEN_OK;
    if (call.Passes())
        result = RunFunction(device, call, function, record);
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

void CheckShortDoor(const Call &call, int16_t function, const void *out) {
    const bool isKnown = function == KOWEN_DOOR_VERSION || function == KOWEN_DOOR_ADDRESS;
    if (!isKnown)
        call.Mistake(Rule::kDoorFunction, "there is no function " + std::to_string(function));
    else if (out == nullptr)
        call.Mistake(Rule::kDoorPlace, "there is none for what was asked");
}

int32_t RunShortDoor(Device &device, ShortDoorFunction real, DeviceDoorFunction checked,
                     int16_t function, void *out, int16_t ignored) {
    Call call(device.shortDoorName, CallKind::kOther,
              {{"function", ShortDoorFunctionName(function)}, {"out", out != nullptr}});
    if (!call.Passes())
        return 0;
    CheckShortDoor(call, function, out);
    const bool handsOut = function == KOWEN_DOOR_ADDRESS && out != nullptr;
    const int32_t result = real(function, handsOut ? &device.door : out, ignored);
    if (handsOut)
        std::memcpy(out, &checked, sizeof checked);
    if (function == KOWEN_DOOR_VERSION && out != nullptr)
        call.Tell("version", ValueAt<uint32_t>(out));
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
