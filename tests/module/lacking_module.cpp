// A module that looks like the filter and lacks what KOWEN_LACKING names: an entry of the table, or
// "device", the address that the raster door should give. It exports nothing but an end of a JPEG.
#include "kowen/kowen.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

constexpr MemoryHandle kSomething = 1;
char name[260];

bool Lacks(const char *what) {
    const char *text = std::getenv("KOWEN_LACKING");
    return text != nullptr && std::strcmp(text, what) == 0;
}

MemoryHandle MakeSetup(uint32_t, const char *, const char *, const char *) {
    return kSomething;
}

int32_t Free(MemoryHandle) {
    return 0;
}

int32_t Escape(MemoryHandle, int32_t, uint32_t, const void *, void *, int32_t) {
    return 1;
}

int32_t Export(const char *outputName, BitmapRecord *, const CellRecord *, const HostRecord *) {
    if (std::FILE *file = std::fopen(outputName, "wb")) {
        std::fputs("\xFF\xD9", file);
        std::fclose(file);
    }
    return KOWEN_OK;
}

int32_t Device(uint32_t, uint16_t, void *) {
    return KOWEN_ERR_OUTPUT;
}

int32_t RasterDoor(int16_t, void *out, int16_t) {
    const DeviceDoorFunction door = Lacks("device") ? nullptr : &Device;
    std::memcpy(out, &door, sizeof door);
    return 0;
}

template <typename Function> TableEntry Entry(int ordinal, const char *text, Function *address) {
    TableEntry entry = {};
    entry.ordinal = static_cast<uint16_t>(ordinal);
    entry.name = text;
    entry.address = reinterpret_cast<const void *>(address);
    return entry;
}

} // namespace

extern "C" {

void fltLoadPointers(EntryPointRecord *record) {
    static std::vector<TableEntry> entries;
    entries = {Entry(KOWEN_ORDINAL_CREATE_SETUP, "CreateSetup", &MakeSetup),
               Entry(KOWEN_ORDINAL_DESTROY_SETUP, "DestroySetup", &Free),
               Entry(KOWEN_ORDINAL_ESCAPE_SETUP, "EscapeSetup", &Escape),
               Entry(KOWEN_ORDINAL_RASTER_DD_ENTRY, "RASTER_dd_entry", &RasterDoor),
               Entry(KOWEN_ORDINAL_EXPORT_CELL_DATA, "ExportCellData", &Export),
               Entry(KOWEN_ORDINAL_DLL_NAME, "szDLLName", &name)};
    std::erase_if(entries, [](const TableEntry &entry) { return Lacks(entry.name); });
    record->entryCount = static_cast<decltype(record->entryCount)>(entries.size());
    record->entries = entries.data();
}

MemoryHandle GlobalAlloc(uint32_t, uint32_t) {
    return kSomething;
}

void *GlobalLock(MemoryHandle) {
    static char room[1 << 16];
    return room;
}

int32_t GlobalFree(MemoryHandle) {
    return 0;
}

} // extern "C"
