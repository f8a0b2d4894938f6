// The functions that the checking module exports: those of the module, under the same names.
#include "blocks.h"
#include "device.h"
#include "escape_checks.h"
#include "export_checks.h"
#include "lifetime.h"
#include "names.h"
#include "real_module.h"
#include "setups.h"

#include <iterator>

namespace {

using namespace kowen::check;

// Nothing in it is computed, so the loader fills the table and closes it to writing, as it does
// that of the module behind.
const TableEntry entryTable[] = {
    {"CreateSetup", KOWEN_ORDINAL_CREATE_SETUP, 0, reinterpret_cast<const void *>(::CreateSetup)},
    {"DestroySetup", KOWEN_ORDINAL_DESTROY_SETUP, 0,
     reinterpret_cast<const void *>(::DestroySetup)},
    {"EditSetup", KOWEN_ORDINAL_EDIT_SETUP, 0, reinterpret_cast<const void *>(::EditSetup)},
    {"EscapeSetup", KOWEN_ORDINAL_ESCAPE_SETUP, 0, reinterpret_cast<const void *>(::EscapeSetup)},
    {"QIVGetFilterVersion", KOWEN_ORDINAL_GET_FILTER_VERSION, 0,
     reinterpret_cast<const void *>(::QIVGetFilterVersion)},
    {"dd_entry", KOWEN_ORDINAL_DD_ENTRY, 0, reinterpret_cast<const void *>(::dd_entry)},
    {"RASTER_dd_entry", KOWEN_ORDINAL_RASTER_DD_ENTRY, 0,
     reinterpret_cast<const void *>(::RASTER_dd_entry)},
    {"ExportCellData", KOWEN_ORDINAL_EXPORT_CELL_DATA, 0,
     reinterpret_cast<const void *>(::ExportCellData)},
    {"szDLLName", KOWEN_ORDINAL_DLL_NAME, 0, moduleName},
};

constexpr int kMostEnds = 16;
void (*ends[kMostEnds])();
int endCount;

/// When the module is loaded: the trace begins, before several threads can. What is wrong with the
/// settings, or with the module behind, is told before the host goes on.
[[gnu::constructor]] void Begin() {
    BeginTrace();
    CountCalls();
    Real();
}

/// When it is unloaded, or the process exits.
[[gnu::destructor]] void End() {
    if (Real() != nullptr) {
        ReportDevicesLeft();
        ReportSetupsLeft();
        ReportBlocksLeft();
    }
    FinishTrace(CountCalls(), Real() != nullptr);
    while (endCount > 0)
        ends[--endCount]();
}

/// Handed on as it is: the real module has its own answer to it.
void PassNullRecord(const Call &call) {
    if (call.Passes())
        Real()->loadPointers(nullptr);
}

template <typename Number> Json ValueOrNull(const Number *value) {
    return value != nullptr ? Json(*value) : Json(nullptr);
}

/// Null for what the host did not ask.
void TellInfo(Call &call, const double *width, const double *height, const int16_t *xResolution,
              const int16_t *yResolution) {
    if (!call.Passes())
        return;
    call.Tell("width", ValueOrNull(width));
    call.Tell("height", ValueOrNull(height));
    call.Tell("xResolution", ValueOrNull(xResolution));
    call.Tell("yResolution", ValueOrNull(yResolution));
}

} // namespace

void kowen::check::AtUnload(void (*end)()) {
    ends[endCount++] = end;
}

extern "C" {

void fltLoadPointers(EntryPointRecord *record) {
    Call call("fltLoadPointers", CallKind::kOther, {{"record", record != nullptr}});
    if (record == nullptr) {
        call.Mistake(Rule::kTableRecord, "the record is null");
        return PassNullRecord(call);
    }
    record->entryCount = call.Passes() ? static_cast<uint16_t>(std::size(entryTable)) : 0;
    record->entries = entryTable;
    call.Tell("entries", record->entryCount);
}

uint32_t QIVGetFilterVersion(void) {
    Call call("QIVGetFilterVersion", CallKind::kOther, Json::object());
    const uint32_t version = call.Passes() ? Real()->getFilterVersion() : 0;
    call.Tell("version", version);
    return version;
}

MemoryHandle CreateSetup(uint32_t reserved, const char *profilePath, const char *section,
                         const char *filterName) {
    return CheckedCreateSetup(reserved, profilePath, section, filterName);
}

int32_t DestroySetup(MemoryHandle setup) {
    return CheckedDestroySetup(setup);
}

int32_t EditSetup(MemoryHandle setup, uint32_t value) {
    return CheckedEditSetup(setup, value);
}

int32_t EscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in, void *out,
                    int32_t persist) {
    return CheckedEscapeSetup(setup, code, size, in, out, persist);
}

int32_t ExportCellData(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
                       const HostRecord *host) {
    return CheckedExportCellData(outputName, bitmap, cell, host);
}

int32_t dd_entry(int16_t function, void *out, int16_t ignored) {
    return CheckedExportShortDoor(function, out, ignored);
}

int32_t RASTER_dd_entry(int16_t function, void *out, int16_t ignored) {
    return CheckedRasterShortDoor(function, out, ignored);
}

int32_t InquireSupport(int32_t opcode, int32_t primitive) {
    Call call("InquireSupport", CallKind::kOther,
              {{"opcode", OpcodeName(static_cast<uint32_t>(opcode))},
               {"primitive", PrimitiveName(primitive)}});
    const int32_t answer = call.Passes() ? Real()->inquireSupport(opcode, primitive) : 0;
    call.Tell("answer", answer);
    return answer;
}

void SetDisplayInfo(double width, double height, int16_t xResolution, int16_t yResolution) {
    const Call call("SetDisplayInfo", CallKind::kOther,
                    {{"width", width},
                     {"height", height},
                     {"xResolution", xResolution},
                     {"yResolution", yResolution}});
    if (call.Passes())
        Real()->setDisplayInfo(width, height, xResolution, yResolution);
}

void SetPrinterInfo(double width, double height, int16_t xResolution, int16_t yResolution) {
    const Call call("SetPrinterInfo", CallKind::kOther,
                    {{"width", width},
                     {"height", height},
                     {"xResolution", xResolution},
                     {"yResolution", yResolution}});
    if (call.Passes())
        Real()->setPrinterInfo(width, height, xResolution, yResolution);
}

int32_t GetDisplayInfo(double *width, double *height, int16_t *xResolution, int16_t *yResolution) {
    Call call("GetDisplayInfo", CallKind::kOther, Json::object());
    const int32_t result =
        call.Passes() ? Real()->getDisplayInfo(width, height, xResolution, yResolution) : 0;
    TellInfo(call, width, height, xResolution, yResolution);
    return result;
}

int32_t GetPrinterInfo(double *width, double *height, int16_t *xResolution, int16_t *yResolution) {
    Call call("GetPrinterInfo", CallKind::kOther, Json::object());
    const int32_t result =
        call.Passes() ? Real()->getPrinterInfo(width, height, xResolution, yResolution) : 0;
    TellInfo(call, width, height, xResolution, yResolution);
    return result;
}

int32_t ScaleImageSize(double *width, double *height) {
    Call call("ScaleImageSize", CallKind::kOther,
              {{"width", ValueOrNull(width)}, {"height", ValueOrNull(height)}});
    if (call.Passes() && (width == nullptr || height == nullptr))
        call.Mistake(Rule::kSizePointers,
                     width == nullptr ? "there is no width" : "there is no height");
    const int32_t result = call.Passes() ? Real()->scaleImageSize(width, height) : 0;
    call.Tell("width", ValueOrNull(width));
    call.Tell("height", ValueOrNull(height));
    return result;
}

MemoryHandle GlobalAlloc(uint32_t flags, uint32_t size) {
    return CheckedAlloc(flags, size);
}

void *GlobalLock(MemoryHandle handle) {
    return CheckedLock(handle);
}

int32_t GlobalUnlock(MemoryHandle handle) {
    return CheckedUnlock(handle);
}

int32_t GlobalFree(MemoryHandle handle) {
    return CheckedFree(handle);
}

MemoryHandle GlobalReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags) {
    return CheckedReAlloc(handle, size, flags);
}

uint32_t GlobalSize(MemoryHandle handle) {
    return CheckedSize(handle);
}

MemoryHandle GlobalHandle(const void *data) {
    return CheckedHandle(data);
}

MemoryHandle GlobalPointerToHandle(void *data, uint32_t size) {
    return CheckedPointerToHandle(data, size);
}

uint32_t GlobalCompact(uint32_t request) {
    return CheckedCompact(request);
}

} // extern "C"
