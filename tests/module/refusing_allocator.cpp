// A host with an allocator of its own, which the module must use in pairs, and which refuses at any
// call: each time the module answers with a code, and works again as soon as there is memory.
#include "module/recorded_export.h"
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
void *__libc_malloc(size_t size);
void *__libc_calloc(size_t count, size_t size);
void *__libc_realloc(void *block, size_t size);
void __libc_free(void *block);
}

namespace {

bool watched = false; // only what the module asks for counts
long calls = 0;
long refusedCall = 0; // 0: none
long live = 0;

bool Grants() {
    return !watched || ++calls != refusedCall;
}
void *Count(void *block) {
    live += watched && block != nullptr ? 1 : 0;
    return block;
}

} // namespace

extern "C" {

void *malloc(size_t size) {
    return Grants() ? Count(__libc_malloc(size)) : nullptr;
}
void *calloc(size_t count, size_t size) {
    return Grants() ? Count(__libc_calloc(count, size)) : nullptr;
}
void *realloc(void *block, size_t size) {
    if (!Grants())
        return nullptr;
    live -= watched && block != nullptr ? 1 : 0;
    return Count(__libc_realloc(block, size));
}
void free(void *block) {
    live -= watched && block != nullptr ? 1 : 0;
    __libc_free(block);
}
}

namespace {

bool failed = false;

void Check(bool holds, const char *what, long round) {
    if (holds)
        return;
    std::fprintf(stderr, "failed: %s, call %ld refused\n", what, round);
    failed = true;
}

class Host {
public:
    Host() {
        profile = directory.Write("p.ini", recorded.profile);
        output = directory.File("a.jpg");
    }

    /// Makes a setup, exports to a file and to memory, destroys it. The pixels are the host's own.
    void Work() {
        bitmap.depth = 24;
        bitmap.width = 16;
        bitmap.height = 8;
        bitmap.pixels = pixels;
        record = {};
        HostRecord host = {};
        host.exportRecord = &record;
        watched = true;
        host.setup = create(0, profile.c_str(), "Plain", nullptr);
        code = doExport(output.c_str(), &bitmap, &recorded.cell, &host);
        memoryCode = doExport("", &bitmap, &recorded.cell, &host);
        hasBlock = record.memoryBlock != 0;
        release(record.memoryBlock);
        destroyed = destroy(host.setup);
        watched = false;
        hadSetup = host.setup != 0;
    }
    void RestorePixels() {
        std::memcpy(lock(pixels), recorded.bitmap.pixels.data(), recorded.bitmap.pixels.size());
    }

    const RecordedExport &recorded = Recorded(0);
    const TempDirectory directory;
    const ModuleHost module;
    const CreateSetupFunction create = module.Entry<CreateSetupFunction>("CreateSetup");
    const DestroySetupFunction destroy = module.Entry<DestroySetupFunction>("DestroySetup");
    const ExportCellDataFunction doExport = module.Entry<ExportCellDataFunction>("ExportCellData");
    const GlobalLockFunction lock = module.Symbol<GlobalLockFunction>("GlobalLock");
    const GlobalFreeFunction release = module.Symbol<GlobalFreeFunction>("GlobalFree");
    const MemoryHandle pixels =
        module.Symbol<GlobalAllocFunction>("GlobalAlloc")(KOWEN_GLOBAL_FLAGS, 384);
    std::string profile;
    std::string output;
    BitmapRecord bitmap = {};
    ExportRecord record = {};
    int32_t code = -1;
    int32_t memoryCode = -1;
    int32_t destroyed = -1;
    bool hadSetup = false;
    bool hasBlock = false;
};

bool IsOneOf(int32_t code, std::initializer_list<int32_t> codes) {
    for (const int32_t allowed : codes)
        if (code == allowed)
            return true;
    return false;
}

void CheckRound(Host &host, long round) {
    host.RestorePixels();
    refusedCall = round;
    calls = live = 0;
    host.Work();
    refusedCall = 0;
    Check(live == 0, "every block is freed once", round);
    Check(host.destroyed == (host.hadSetup ? 0 : 1), "DestroySetup answers", round);
    if (host.hadSetup) {
        Check(IsOneOf(host.code, {0, 303}), "the export to a file answers", round);
        Check(IsOneOf(host.memoryCode, {0, 303}), "the export to memory answers", round);
    } else {
        Check(host.code == 22 && host.memoryCode == 22, "no setup, no export", round);
    }
    Check(!host.hasBlock || host.memoryCode == 0, "a block comes with success only", round);
    Check(host.hasBlock || round != 0, "success comes with a block", round);
}

} // namespace

int main() {
    static char buffer[BUFSIZ]; // so that the module's messages need no memory of the stream's
    std::setvbuf(stdout, buffer, _IOLBF, sizeof buffer);
    Host host;
    CheckRound(host, 0);
    const long ordinaryCalls = calls;
    Check(ordinaryCalls > 10, "the module uses this allocator", 0);
    const std::string whole(host.recorded.jpeg.begin(), host.recorded.jpeg.end());
    for (long round = 1; round <= ordinaryCalls; ++round) {
        CheckRound(host, round);
        CheckRound(host, 0);
        Check(host.directory.Read("a.jpg") == whole, "the next export has every byte", round);
    }
    std::printf("%ld calls, each refused once\n", ordinaryCalls);
    return failed ? 1 : 0;
}
