#include "host/module.h"

#include "host/error.h"

#include <climits>
#include <cstring>
#include <dlfcn.h>
#include <unistd.h>
#include <utility>

namespace kowen::host {
namespace {

constexpr size_t kModulePathBytes = 260; // of the entry szDLLName
constexpr const char *kModuleFile = "kowen.so";

template <typename Function> void Bind(Function *function, const void *address) {
    *function = reinterpret_cast<Function>(const_cast<void *>(address));
}

// dlopen searches the library path for a name without a slash; a host means a file.
std::string AsFileName(const std::string &path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

} // namespace

void FilterModule::Unload::operator()(void *opened) const {
    dlclose(opened);
}

FilterModule::FilterModule(const std::string &modulePath) : path(modulePath) {
    if (access(path.c_str(), R_OK) != 0)
        FailWith("cannot load the module " + path, errno);
    library.reset(dlopen(AsFileName(path).c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!library)
        throw HostError(std::string("cannot load the module: ") + dlerror());
    LoadPointersFunction loadPointers = nullptr;
    Bind(&loadPointers, Symbol("fltLoadPointers"));
    EntryPointRecord record = {};
    loadPointers(&record);
    entries = {record.entries, record.entryCount};
    TellModuleItsPath();
    Bind(&getFilterVersion, Entry("QIVGetFilterVersion"));
    Bind(&createSetup, Entry("CreateSetup"));
    Bind(&destroySetup, Entry("DestroySetup"));
    Bind(&escapeSetup, Entry("EscapeSetup"));
    Bind(&exportCellData, Entry("ExportCellData"));
    Bind(&rasterDoor, Entry("RASTER_dd_entry"));
    Bind(&setDisplayInfo, Symbol("SetDisplayInfo"));
    Bind(&globalAlloc, Symbol("GlobalAlloc"));
    Bind(&globalLock, Symbol("GlobalLock"));
    Bind(&globalUnlock, Symbol("GlobalUnlock"));
    Bind(&globalFree, Symbol("GlobalFree"));
    Bind(&globalSize, Symbol("GlobalSize"));
}

const void *FilterModule::Entry(const char *name) const {
    for (const TableEntry &entry : entries) {
        if (std::strcmp(entry.name, name) == 0)
            return entry.address;
    }
    throw HostError(path + ": its table of entries has no " + name);
}

void *FilterModule::Symbol(const char *name) const {
    if (void *address = dlsym(library.get(), name))
        return address;
    throw HostError(path + ": not an export filter: it has no " + name);
}

// The module takes its file name from here; of a path that does not fit the name is what counts.
void FilterModule::TellModuleItsPath() const {
    auto *buffer = static_cast<char *>(const_cast<void *>(Entry("szDLLName")));
    std::string text = path;
    if (text.size() >= kModulePathBytes)
        text.erase(0, text.find_last_of('/') + 1);
    text.resize(std::min(text.size(), kModulePathBytes - 1));
    std::memcpy(buffer, text.c_str(), text.size() + 1);
}

std::string DefaultModulePath() {
    char program[PATH_MAX];
    const ssize_t length = readlink("/proc/self/exe", program, sizeof program);
    if (length <= 0 || static_cast<size_t>(length) == sizeof program)
        return kModuleFile;
    const std::string text(program, static_cast<size_t>(length));
    return text.substr(0, text.find_last_of('/') + 1) + kModuleFile;
}

GlobalBlock::GlobalBlock(const FilterModule &owner, uint32_t size)
    : module(&owner), handle(owner.globalAlloc(KOWEN_GLOBAL_FLAGS, size)) {
    if (handle == 0)
        throw HostError("not enough memory for the picture");
}

GlobalBlock::GlobalBlock(GlobalBlock &&other) noexcept
    : module(other.module), handle(std::exchange(other.handle, 0)) {}

GlobalBlock &GlobalBlock::operator=(GlobalBlock &&other) noexcept {
    if (this != &other) {
        Free();
        module = other.module;
        handle = std::exchange(other.handle, 0);
    }
    return *this;
}

uint8_t *GlobalBlock::Data() const {
    return handle == 0 ? nullptr : static_cast<uint8_t *>(module->globalLock(handle));
}

void GlobalBlock::Free() {
    if (handle != 0)
        module->globalFree(handle);
    handle = 0;
}

Setup::Setup(const FilterModule &owner, const std::string &profilePath, const std::string &section)
    : module(owner), handle(owner.createSetup(0, profilePath.c_str(), section.c_str(), nullptr)) {
    if (handle == 0)
        throw HostError("not enough memory for a setup");
}

bool Setup::Set(int32_t code, int32_t value, bool persist) const {
    return module.escapeSetup(handle, code, sizeof value, &value, nullptr, persist) == 1;
}

bool Setup::Set(int32_t code, double value, bool persist) const {
    return module.escapeSetup(handle, code, sizeof value, &value, nullptr, persist) == 1;
}

void Setup::SetHostIo(HostIoProcedure procedure) const {
    module.escapeSetup(handle, KOWEN_ESCAPE_SET_HOST_IO, sizeof(int32_t),
                       reinterpret_cast<const void *>(procedure), nullptr, 0);
}

int32_t Setup::Get(int32_t code) const {
    int32_t value = 0;
    module.escapeSetup(handle, code, sizeof value, nullptr, &value, 0);
    return value;
}

} // namespace kowen::host
