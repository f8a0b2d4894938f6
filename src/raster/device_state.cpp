#include "raster/device_state.h"

#include "device/cancel_poll.h"
#include "device/device_record.h"
#include "export/output_file.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "platform/status.h"
#include "raster/capabilities.h"
#include "setup/setup.h"

#include <cstring>

namespace kowen {
namespace {

constexpr int32_t kProgressRange = 100;

int32_t TransformOf(int32_t colorMode) {
    const bool known =
        colorMode >= KOWEN_COLOR_UNCHANGED && colorMode <= KOWEN_COLOR_GREY_SCALE_INVERTED;
    return known ? colorMode - KOWEN_COLOR_UNCHANGED : 0;
}

void MakeSetupCurrent(MemoryHandle setup) {
    hSetup = hRaster = lpEMData->setup = setup;
    lpSetup = lpRaster = Lock<SetupRecord>(setup);
    lpEMData->colorMode = lpSetup ? TransformOf(lpSetup->colorMode) : 0;
}

// The setup keeps the status record too, so that the band loop of primitive -6 finds it.
void KeepStatusRecord(ExportRecord *status) {
    lpEMData->statusRecord = status;
    if (lpSetup)
        lpSetup->exportRecord = status;
    if (status && status->statusCallback && status->context)
        CallGetSet_Status(status->statusCallback, status->context, KOWEN_STATUS_PROGRESS,
                          KOWEN_STATUS_CODE_RANGE, kProgressRange, 0, 0, nullptr);
}

bool MakeReturnArea(OpenRecord *record) {
    ReturnArea &area = lpEMData->returnArea;
    area.handle = GlobalAlloc(kGlobalFlags, record->returnAreaSize);
    area.data = Lock<uint8_t>(area.handle);
    if (!area.data)
        return false;
    area.size = record->returnAreaSize;
    record->returnArea = area.data;
    return true;
}

// Hardened: a name that does not fit is not kept, so that no other file is opened in its place;
// opening the device reports it. Test: OpenDevice.ALongerNameFailsAtTheOpenAndAtTheClose.
void KeepOutputName(const char *name) {
    const size_t length = name ? std::strlen(name) : 0;
    lpEMData->nameTooLong = length >= kDeviceNameBytes;
    if (length > 0 && !lpEMData->nameTooLong)
        std::memcpy(lpEMData->outputName, name, length);
}

void ClearStatusIn(SetupRecord *setup) {
    if (setup && setup->exportRecord == lpEMData->statusRecord)
        setup->exportRecord = nullptr;
}

void ClearStatusRecord() {
    ClearStatusIn(lpSetup);
    ClearStatusIn(lpRaster);
}

// Closes an open device and frees what the record owns.
void EndDevice() {
    if (lpEMData->stateWord != kStateInitialised)
        d_cldv(nullptr);
    ClearStatusRecord();
    GlobalUnlock(lpEMData->returnArea.handle);
    GlobalFree(lpEMData->returnArea.handle);
    GlobalFree(lpEMData->pictureBitmap);
    FreeOutputBlock(&lpEMData->outputBlock);
}

int32_t OpenDeviceOutput() {
    if (lpEMData->nameTooLong)
        return KOWEN_ERR_OUTPUT;
    FreeOutputBlock(&lpEMData->outputBlock);
    const ExportRecord *status = lpEMData->statusRecord;
    const OutputTarget target = {lpEMData->outputName, lpSetup ? lpSetup->ioProcedure : nullptr,
                                 status ? status->ioContext : 0};
    OutputFile output;
    const int32_t result = OpenOutput(target, &lpEMData->outputBlock, &output);
    lpEMData->outputFile = output.file;
    return result == KOWEN_ERR_MEMORY_OUTPUT ? KOWEN_ERR_MEMORY : result;
}

} // namespace

int32_t RASTER_initdvr(OpenRecord *record) noexcept {
    RASTER_termdvr();
    if (!record)
        return KOWEN_ERR_MEMORY;
    AllocGlobal();
    if (!lpEMData)
        return KOWEN_ERR_MEMORY;
    MakeSetupCurrent(record->setup);
    KeepStatusRecord(record->exportRecord);
    if (!MakeReturnArea(record)) {
        ClearStatusRecord();
        FreeGlobal();
        return KOWEN_ERR_MEMORY;
    }
    KeepOutputName(record->outputName);
    lpEMData->stateWord = kStateInitialised;
    FillCapabilities(record->capabilities, lpEMData->colorMode);
    return KOWEN_OK;
}

int32_t RASTER_termdvr() noexcept {
    if (!lpEMData)
        return KOWEN_OK;
    EndDevice();
    FreeGlobal();
    return KOWEN_OK;
}

DdRequest *d_opdv(DdRequest *request) noexcept {
    d_empes(request);
    lpEMData->stateWord = kStateOpen;
    if (const int32_t failed = OpenDeviceOutput())
        push_er(failed);
    return request;
}

// Hardened: the file's handle is cleared, so that a second close finds none.
// Test: CloseDevice.ASecondCloseDoesNothingMore.
DdRequest *d_cldv(DdRequest *request) noexcept {
    lpEMData->stateWord = kStateInitialised;
    const FileHandle file = lpEMData->outputFile;
    lpEMData->outputFile = 0;
    if (RASTER_escape() != 0) {
        qivCloseandDelete(file, lpEMData->outputName);
        ClearOutput(file);
    } else if (CloseOutput(file) != 0) {
        push_er(KOWEN_ERR_OUTPUT);
    }
    return request;
}

DdRequest *d_begp(DdRequest *request) noexcept {
    lpEMData->stateWord = kStatePictureBegun;
    d_reset(0, kStatePictureBegun);
    return request;
}

DdRequest *d_begpb(DdRequest *request) noexcept {
    lpEMData->stateWord = kStatePictureBody;
    return request;
}

DdRequest *d_endp(DdRequest *request) noexcept {
    lpEMData->stateWord = kStatePictureEnded;
    return request;
}

void d_reset(int32_t, int32_t) noexcept {}

} // namespace kowen
