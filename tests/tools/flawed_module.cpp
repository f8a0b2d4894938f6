// The built module with one flaw, for tests of what must find it. KOWEN_FLAW says which, as
// "VARIANT KIND NUMBER": when KOWEN_KERNELS names that variant (- for none), the export of that
// number (0 is the first)
//
//     flip     has one bit of one byte changed
//     refuse   fails
//     crash    ends the process
//     stop     asks the program that tries it to stop, and never ends
//     hangup   the same, as a terminal that goes away does
//     keys     the same, as Ctrl-C does: asks every process of the group
//     late     ends as one that took too long
//     print    prints to the standard output
//
// As "loading KIND" the flaw is there when it is loaded:
//
//     abort    ends the process
//     stop     asks the program that loads it to stop, and never ends
//     version  says that it is 2.1.7
//     entries  its table has no EditSetup, and its dd_entry has no address
#include "kowen/kowen.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <iterator>
#include <string>
#include <unistd.h>

namespace {

void *Real() {
    static void *const library = dlopen(KOWEN_REAL_MODULE, RTLD_NOW);
    return library;
}

template <typename Function> Function RealFunction(const char *name) {
    return reinterpret_cast<Function>(dlsym(Real(), name));
}

// What the real module says of its variants.
struct Note {
    unsigned nameSize, textSize, type;
    char name[8], text[32];
};
[[gnu::section(".note.kowen"), gnu::used, gnu::aligned(4)]] const Note kNote = {
    6, sizeof kNote.text, 1, "kowen", "scalar sse41 avx2 avx512 neon"};

// The kind of flaw that the export of this number has; empty for none.
std::string FlawOf(int number) {
    const char *text = std::getenv("KOWEN_FLAW");
    const char *kernels = std::getenv("KOWEN_KERNELS");
    char variant[16] = "", kind[16] = "";
    int wanted = -1;
    if (text == nullptr || std::sscanf(text, "%15s %15s %d", variant, kind, &wanted) != 3)
        return "";
    const bool meant = std::strcmp(variant, kernels != nullptr ? kernels : "-") == 0;
    return meant && number == wanted ? kind : "";
}

bool LoadsWith(const char *kind) {
    const char *text = std::getenv("KOWEN_FLAW");
    return text != nullptr && text == std::string("loading ") + kind;
}

[[noreturn]] void AskToStop(pid_t whom, int signal) {
    kill(whom, signal);
    for (;;)
        pause();
}

[[gnu::constructor]] void FailToLoad() {
    if (LoadsWith("abort"))
        std::abort();
    if (LoadsWith("stop"))
        AskToStop(getppid(), SIGTERM);
}

uint32_t NewerVersion() {
    return 0x02010007;
}

int32_t FlawedExport(const char *name, BitmapRecord *bitmap, const CellRecord *cell,
                     const HostRecord *host) {
    static int exports = 0;
    const std::string flaw = FlawOf(exports++);
    if (flaw == "crash")
        std::abort();
    if (flaw == "stop")
        AskToStop(getppid(), SIGTERM);
    if (flaw == "hangup")
        AskToStop(getppid(), SIGHUP);
    if (flaw == "keys")
        AskToStop(0, SIGINT);
    if (flaw == "late")
        raise(SIGALRM);
    if (flaw == "print")
        std::puts("a word of the module's own");
    if (flaw == "refuse")
        return KOWEN_ERR_OUTPUT;
    const int32_t result =
        RealFunction<ExportCellDataFunction>("ExportCellData")(name, bitmap, cell, host);
    if (flaw == "flip") {
        const auto lock = RealFunction<GlobalLockFunction>("GlobalLock");
        static_cast<uint8_t *>(lock(host->exportRecord->memoryBlock))[30] ^= 1;
    }
    return result;
}

} // namespace

extern "C" {

void fltLoadPointers(EntryPointRecord *record) {
    static TableEntry entries[16];
    RealFunction<LoadPointersFunction>("fltLoadPointers")(record);
    std::copy(record->entries, record->entries + record->entryCount, entries);
    for (TableEntry &entry : entries) {
        if (entry.ordinal == KOWEN_ORDINAL_EXPORT_CELL_DATA)
            entry.address = reinterpret_cast<const void *>(&FlawedExport);
        if (entry.ordinal == KOWEN_ORDINAL_GET_FILTER_VERSION && LoadsWith("version"))
            entry.address = reinterpret_cast<const void *>(&NewerVersion);
        if (entry.ordinal == KOWEN_ORDINAL_EDIT_SETUP && LoadsWith("entries"))
            entry.name = "EditSetups";
        if (entry.ordinal == KOWEN_ORDINAL_DD_ENTRY && LoadsWith("entries"))
            entry.address = nullptr;
    }
    record->entries = entries;
}

MemoryHandle GlobalAlloc(uint32_t flags, uint32_t size) {
    return RealFunction<GlobalAllocFunction>("GlobalAlloc")(flags, size);
}

void *GlobalLock(MemoryHandle handle) {
    return RealFunction<GlobalLockFunction>("GlobalLock")(handle);
}

int32_t GlobalUnlock(MemoryHandle handle) {
    return RealFunction<GlobalUnlockFunction>("GlobalUnlock")(handle);
}

int32_t GlobalFree(MemoryHandle handle) {
    return RealFunction<GlobalFreeFunction>("GlobalFree")(handle);
}

uint32_t GlobalSize(MemoryHandle handle) {
    return RealFunction<GlobalSizeFunction>("GlobalSize")(handle);
}

MemoryHandle GlobalPointerToHandle(void *data, uint32_t size) {
    return RealFunction<GlobalPointerToHandleFunction>("GlobalPointerToHandle")(data, size);
}

void SetDisplayInfo(double width, double height, int16_t xResolution, int16_t yResolution) {
    RealFunction<SetDisplayInfoFunction>("SetDisplayInfo")(width, height, xResolution, yResolution);
}

} // extern "C"
