#include "real_module.h"

#include "lifetime.h"
#include "trace.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>

namespace kowen::check {
namespace {

struct Loaded {
    bool tried = false;
    void *library = nullptr;
    std::string path;
    RealModule module;

    ~Loaded() { Release(); }
    void Release() {
        if (library != nullptr)
            dlclose(library);
        library = nullptr;
    }
};

Loaded &TheLoaded() {
    return TheOne<Loaded>();
}

template <typename Function> bool Bind(Function *function, const void *address, const char *name) {
    if (address == nullptr) {
        ReportTrouble(TheLoaded().path + " has no " + name);
        return false;
    }
    static_assert(sizeof *function == sizeof address);
    std::memcpy(function, &address, sizeof address);
    return true;
}

template <typename Function> bool BindSymbol(Function *function, const char *name) {
    return Bind(function, dlsym(TheLoaded().library, name), name);
}

template <typename Function> bool BindEntry(Function *function, int ordinal, const char *name) {
    const EntryPointRecord &table = TheLoaded().module.table;
    for (int i = 0; i < table.entryCount; ++i)
        if (table.entries[i].ordinal == ordinal)
            return Bind(function, table.entries[i].address, name);
    return Bind(function, nullptr, name);
}

bool BindTable(RealModule &m) {
    if (!BindSymbol(&m.loadPointers, "fltLoadPointers"))
        return false;
    if (m.loadPointers == &fltLoadPointers) {
        ReportTrouble(TheLoaded().path + " is the checking module itself");
        return false;
    }
    m.loadPointers(&m.table);
    return BindEntry(&m.createSetup, KOWEN_ORDINAL_CREATE_SETUP, "CreateSetup") &&
           BindEntry(&m.destroySetup, KOWEN_ORDINAL_DESTROY_SETUP, "DestroySetup") &&
           BindEntry(&m.editSetup, KOWEN_ORDINAL_EDIT_SETUP, "EditSetup") &&
           BindEntry(&m.escapeSetup, KOWEN_ORDINAL_ESCAPE_SETUP, "EscapeSetup") &&
           BindEntry(&m.getFilterVersion, KOWEN_ORDINAL_GET_FILTER_VERSION, "version") &&
           BindEntry(&m.exportDoor, KOWEN_ORDINAL_DD_ENTRY, "dd_entry") &&
           BindEntry(&m.rasterDoor, KOWEN_ORDINAL_RASTER_DD_ENTRY, "RASTER_dd_entry") &&
           BindEntry(&m.exportCellData, KOWEN_ORDINAL_EXPORT_CELL_DATA, "ExportCellData") &&
           BindEntry(&m.name, KOWEN_ORDINAL_DLL_NAME, "szDLLName");
}

bool BindSymbols(RealModule &m) {
    return BindSymbol(&m.globalAlloc, "GlobalAlloc") && BindSymbol(&m.globalLock, "GlobalLock") &&
           BindSymbol(&m.globalUnlock, "GlobalUnlock") && BindSymbol(&m.globalFree, "GlobalFree") &&
           BindSymbol(&m.globalReAlloc, "GlobalReAlloc") &&
           BindSymbol(&m.globalSize, "GlobalSize") && BindSymbol(&m.globalHandle, "GlobalHandle") &&
           BindSymbol(&m.globalPointerToHandle, "GlobalPointerToHandle") &&
           BindSymbol(&m.globalCompact, "GlobalCompact") &&
           BindSymbol(&m.setDisplayInfo, "SetDisplayInfo") &&
           BindSymbol(&m.setPrinterInfo, "SetPrinterInfo") &&
           BindSymbol(&m.getDisplayInfo, "GetDisplayInfo") &&
           BindSymbol(&m.getPrinterInfo, "GetPrinterInfo") &&
           BindSymbol(&m.inquireSupport, "InquireSupport") &&
           BindSymbol(&m.scaleImageSize, "ScaleImageSize");
}

std::string ChoosePath() {
    const char *chosen = secure_getenv("KOWEN_CHECKED_MODULE");
    if (chosen != nullptr && *chosen != 0)
        return chosen;
    const std::string own = OwnPath();
    const size_t slash = own.rfind('/');
    return (slash == std::string::npos ? std::string() : own.substr(0, slash + 1)) + "kowen.so";
}

void Load(Loaded &loaded) {
    loaded.path = ChoosePath();
    loaded.library = dlopen(loaded.path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (loaded.library == nullptr) {
        ReportTrouble(
            std::string("cannot load the module to check: ") + dlerror() +
            "; set KOWEN_CHECKED_MODULE to its path. Until then the table has no entries");
        return;
    }
    if (!BindTable(loaded.module) || !BindSymbols(loaded.module))
        loaded.Release();
}

} // namespace

const RealModule *Real() {
    Loaded &loaded = TheLoaded();
    if (!loaded.tried) {
        loaded.tried = true;
        Load(loaded);
    }
    return loaded.library != nullptr ? &loaded.module : nullptr;
}

const char *OwnPath() {
    Dl_info info;
    const bool found = dladdr(reinterpret_cast<const void *>(&fltLoadPointers), &info) != 0;
    return found && info.dli_fname != nullptr ? info.dli_fname : "";
}

const char *RealPath() {
    return TheLoaded().path.c_str();
}

} // namespace kowen::check
