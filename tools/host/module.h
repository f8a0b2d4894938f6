// The filter as a host reaches it: a module loaded by path and its table of named entries.
#pragma once

#include "kowen/kowen.h"

#include <memory>
#include <span>
#include <string>

namespace kowen::host {

/// A loaded module. Unloaded at the end of its life; no handle that it made may outlive it.
class FilterModule {
public:
    /// Loads the module, asks for its table and writes its own path into the entry szDLLName.
    /// Throws HostError that names the path when it cannot be loaded or an entry is missing.
    explicit FilterModule(const std::string &path);

    const std::string &Path() const { return path; }

    /// The module's table, in its order. Borrowed.
    std::span<const TableEntry> Entries() const { return entries; }

    // Entries of the table.
    GetFilterVersionFunction getFilterVersion = nullptr;
    CreateSetupFunction createSetup = nullptr;
    DestroySetupFunction destroySetup = nullptr;
    EscapeSetupFunction escapeSetup = nullptr;
    ExportCellDataFunction exportCellData = nullptr;
    ShortDoorFunction rasterDoor = nullptr;

    // Exported by name as well.
    decltype(&SetDisplayInfo) setDisplayInfo = nullptr;

    // Global memory, exported by name: pictures go in and results come out in its blocks.
    decltype(&GlobalAlloc) globalAlloc = nullptr;
    decltype(&GlobalLock) globalLock = nullptr;
    decltype(&GlobalUnlock) globalUnlock = nullptr;
    decltype(&GlobalFree) globalFree = nullptr;
    decltype(&GlobalSize) globalSize = nullptr;

private:
    struct Unload {
        void operator()(void *library) const;
    };

    const void *Entry(const char *name) const;
    void *Symbol(const char *name) const;
    void TellModuleItsPath() const;

    std::string path;
    std::unique_ptr<void, Unload> library;
    std::span<const TableEntry> entries;
};

/// The module that lies beside the running program.
std::string DefaultModulePath();

/// A block of the module's global memory.
class GlobalBlock {
public:
    GlobalBlock() = default;
    /// Makes a zero-filled block. Throws HostError when memory is exhausted.
    GlobalBlock(const FilterModule &owner, uint32_t size);
    /// Takes over a block that the module made; 0 for none.
    GlobalBlock(const FilterModule &owner, MemoryHandle made) : module(&owner), handle(made) {}
    ~GlobalBlock() { Free(); }
    GlobalBlock(GlobalBlock &&other) noexcept;
    GlobalBlock &operator=(GlobalBlock &&other) noexcept;

    MemoryHandle Handle() const { return handle; }
    uint8_t *Data() const;
    uint32_t Size() const { return handle == 0 ? 0 : module->globalSize(handle); }

private:
    void Free();

    const FilterModule *module = nullptr;
    MemoryHandle handle = 0;
};

/// A setup of the module's, made from a profile; destroyed at the end of its life.
class Setup {
public:
    /// Throws HostError when memory is exhausted.
    Setup(const FilterModule &owner, const std::string &profilePath, const std::string &section);
    ~Setup() { module.destroySetup(handle); }
    Setup(const Setup &) = delete;
    Setup &operator=(const Setup &) = delete;

    MemoryHandle Handle() const { return handle; }

    /// Setters. persist: the module also writes the value to the setup's profile section.
    /// Return whether the module took the value.
    bool Set(int32_t code, int32_t value, bool persist = false) const;
    bool Set(int32_t code, double value, bool persist = false) const;
    void SetHostIo(HostIoProcedure procedure) const;

    /// Getters of one 32-bit value.
    int32_t Get(int32_t code) const;

private:
    const FilterModule &module;
    MemoryHandle handle;
};

} // namespace kowen::host
