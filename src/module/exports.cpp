// The functions that the module exports under their C names. src/kowen.map lists them again.
//
// Calls inside the filter go to the functions of the same names in namespace kowen, which no host
// can put itself in front of.
#include "export/bitmap_door.h"
#include "kowen/kowen.h"
#include "module/entry_table.h"
#include "platform/global_memory.h"
#include "platform/plain_floats.h"
#include "raster/door.h"
#include "raster/opcode_table.h"
#include "setup/display_info.h"
#include "setup/escapes.h"
#include "setup/geometry.h"
#include "setup/identity.h"
#include "setup/setup.h"

extern "C" {

void fltLoadPointers(EntryPointRecord *record) {
    kowen::LoadEntryPointers(record);
}

uint32_t QIVGetFilterVersion(void) {
    return kowen::QIVGetFilterVersion();
}

MemoryHandle CreateSetup(uint32_t reserved, const char *profilePath, const char *section,
                         const char *filterName) {
    const kowen::PlainFloats floats;
    return kowen::CreateSetup(reserved, profilePath, section, filterName);
}

int32_t DestroySetup(MemoryHandle setup) {
    return kowen::DestroySetup(setup);
}

int32_t EditSetup(MemoryHandle setup, uint32_t value) {
    return kowen::EditSetup(setup, value);
}

int32_t EscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in, void *out,
                    int32_t persist) {
    const kowen::PlainFloats floats;
    return kowen::xEscapeSetup(setup, code, size, in, out, persist);
}

int32_t ExportCellData(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
                       const HostRecord *host) {
    const kowen::PlainFloats floats;
    return kowen::ExportCellData(outputName, bitmap, cell, host);
}

int32_t dd_entry(int16_t function, void *out, int16_t ignored) {
    return kowen::dd_entry(function, out, ignored);
}

int32_t RASTER_dd_entry(int16_t function, void *out, int16_t ignored) {
    return kowen::RASTER_dd_entry(function, out, ignored);
}

int32_t InquireSupport(int32_t opcode, int32_t primitive) {
    return kowen::InquireSupport(opcode, primitive);
}

void SetDisplayInfo(double width, double height, int16_t xResolution, int16_t yResolution) {
    kowen::SetDisplayInfo(width, height, xResolution, yResolution);
}

void SetPrinterInfo(double width, double height, int16_t xResolution, int16_t yResolution) {
    kowen::SetPrinterInfo(width, height, xResolution, yResolution);
}

int32_t GetDisplayInfo(double *width, double *height, int16_t *xResolution, int16_t *yResolution) {
    const kowen::PlainFloats floats;
    return kowen::GetDisplayInfo(width, height, xResolution, yResolution);
}

int32_t GetPrinterInfo(double *width, double *height, int16_t *xResolution, int16_t *yResolution) {
    return kowen::GetPrinterInfo(width, height, xResolution, yResolution);
}

int32_t ScaleImageSize(double *width, double *height) {
    const kowen::PlainFloats floats;
    return kowen::ScaleImageSize(width, height);
}

MemoryHandle GlobalAlloc(uint32_t flags, uint32_t size) {
    return kowen::GlobalAlloc(flags, size);
}

void *GlobalLock(MemoryHandle handle) {
    return kowen::GlobalLock(handle);
}

int32_t GlobalUnlock(MemoryHandle handle) {
    return kowen::GlobalUnlock(handle);
}

int32_t GlobalFree(MemoryHandle handle) {
    return kowen::GlobalFree(handle);
}

MemoryHandle GlobalReAlloc(MemoryHandle handle, uint32_t size, uint32_t flags) {
    return kowen::GlobalReAlloc(handle, size, flags);
}

uint32_t GlobalSize(MemoryHandle handle) {
    return kowen::GlobalSize(handle);
}

MemoryHandle GlobalHandle(const void *data) {
    return kowen::GlobalHandle(data);
}

MemoryHandle GlobalPointerToHandle(void *data, uint32_t size) {
    return kowen::GlobalPointerToHandle(data, size);
}

uint32_t GlobalCompact(uint32_t request) {
    return kowen::GlobalCompact(request);
}

} // extern "C"
