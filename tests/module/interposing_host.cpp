// A host that has functions of the module's names itself, and exports them. The module's own calls
// must not end up here: this program fails when one does.
#include "module/tiny_export.h"
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <unistd.h>

namespace {

int intercepted = 0;
bool inModule = false;
bool failed = false;

void Check(bool holds, const char *what) {
    if (holds)
        return;
    std::fprintf(stderr, "failed: %s\n", what);
    failed = true;
}

} // namespace

extern "C" {

MemoryHandle GlobalAlloc(uint32_t, uint32_t) {
    return ++intercepted, 0;
}
void *GlobalLock(MemoryHandle) {
    return ++intercepted, nullptr;
}
int32_t GlobalUnlock(MemoryHandle) {
    return ++intercepted, 0;
}
int32_t GlobalFree(MemoryHandle) {
    return ++intercepted, 0;
}
MemoryHandle CreateSetup(uint32_t, const char *, const char *, const char *) {
    return ++intercepted, 0;
}
int32_t DestroySetup(MemoryHandle) {
    return ++intercepted, 0;
}
int32_t ExportCellData(const char *, BitmapRecord *, const CellRecord *, const HostRecord *) {
    return ++intercepted, 0;
}
void SetDisplayInfo(double, double, int16_t, int16_t) {
    ++intercepted;
}
int32_t GetDisplayInfo(double *, double *, int16_t *, int16_t *) {
    return ++intercepted, 0;
}
uint32_t QIVGetFilterVersion(void) {
    return ++intercepted, 0;
}
void fltLoadPointers(EntryPointRecord *) {
    ++intercepted;
}
int32_t EditSetup(MemoryHandle, uint32_t) {
    return ++intercepted, 0;
}
int32_t EscapeSetup(MemoryHandle, int32_t, uint32_t, const void *, void *, int32_t) {
    return ++intercepted, 0;
}
int32_t dd_entry(int16_t, void *, int16_t) {
    return ++intercepted, 0;
}
int32_t RASTER_dd_entry(int16_t, void *, int16_t) {
    return ++intercepted, 0;
}
int32_t InquireSupport(int32_t, int32_t) {
    return ++intercepted, 0;
}
uint32_t GlobalSize(MemoryHandle) {
    return ++intercepted, 0;
}
MemoryHandle GlobalHandle(const void *) {
    return ++intercepted, 0;
}
MemoryHandle GlobalReAlloc(MemoryHandle, uint32_t, uint32_t) {
    return ++intercepted, 0;
}
MemoryHandle GlobalPointerToHandle(void *, uint32_t) {
    return ++intercepted, 0;
}
int32_t ScaleImageSize(double *, double *) {
    return ++intercepted, 0;
}

// The same, under the names that the module's inner functions have for the linker.
MemoryHandle InnerGlobalAlloc(uint32_t, uint32_t) __asm__("_ZN5kowen11GlobalAllocEjj");
MemoryHandle InnerGlobalAlloc(uint32_t, uint32_t) {
    return ++intercepted, 0;
}
uint32_t InnerVersion() __asm__("_ZN5kowen19QIVGetFilterVersionEv");
uint32_t InnerVersion() {
    return ++intercepted, 0;
}
int32_t InnerDoor(uint32_t, uint16_t, void *) __asm__("_ZN5kowen17RASTER_dd_entry32EjtPv");
int32_t InnerDoor(uint32_t, uint16_t, void *) {
    return ++intercepted, 0;
}
int32_t InnerLimitCheck() __asm__("_ZN5kowen10LimitCheckEv");
int32_t InnerLimitCheck() {
    return ++intercepted, 0;
}

// What the module must not need either: plain names that hosts like to have.
int32_t stricmp(const char *, const char *) {
    return ++intercepted, 0;
}
char *strupr(char *text) {
    return ++intercepted, text;
}
}

// The module is written in C++ and needs none of its run-time library, the allocator included.
void *operator new(std::size_t size) {
    intercepted += inModule ? 1 : 0;
    if (void *block = std::malloc(size))
        return block;
    std::abort();
}
void operator delete(void *block) noexcept {
    intercepted += inModule ? 1 : 0;
    std::free(block);
}
void operator delete(void *block, std::size_t) noexcept {
    operator delete(block);
}

int main() {
    Check(dlsym(RTLD_DEFAULT, "GlobalAlloc") == reinterpret_cast<void *>(&GlobalAlloc),
          "this program exports its GlobalAlloc");
    const TempDirectory directory;
    {
        ModuleHost host(kModulePath, RTLD_NOW | RTLD_GLOBAL);
        host.NameModule();
        Check(host.Find("CreateSetup") != reinterpret_cast<const void *>(&CreateSetup),
              "the table names the module's CreateSetup");
        Check(host.Entry<GetFilterVersionFunction>("QIVGetFilterVersion")() == 0x02000005,
              "the version is the module's");
        const std::string name = directory.File("a.jpg");
        inModule = true;
        const int32_t result = ExportTinyPicture(host, name);
        inModule = false;
        Check(result == 0, "the export succeeds");
    }
    const std::string jpeg = directory.Read("a.jpg");
    Check(jpeg.size() > 100 && jpeg.substr(0, 2) == "\xFF\xD8" &&
              jpeg.substr(jpeg.size() - 2) == "\xFF\xD9",
          "the export writes a whole JPEG");
    Check(intercepted == 0, "no call of the module ends up here");
    return failed ? 1 : 0;
}
