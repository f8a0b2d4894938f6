// The filter as a host reaches it: a module loaded by path and its table of named entries.
#pragma once

#include "kowen/kowen.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>

namespace kowen::host {

/// A loaded module. Unloaded at the end of its life; no handle that it made may outlive it.
class FilterModule {
public:
    /// Loads the module, asks for its table and writes its own path into the entry szDLLName.
    /// Throws Failure that names the path when it cannot be loaded or an entry is missing.
    explicit FilterModule(const std::string &path);

    const std::string &Path() const { return path; }
    uint32_t Version() const { return version; }

    // Entries of the table.
    CreateSetupFunction createSetup = nullptr;
    DestroySetupFunction destroySetup = nullptr;
    EscapeSetupFunction escapeSetup = nullptr;
    ExportCellDataFunction exportCellData = nullptr;

    // Exported by name.
    GlobalPointerToHandleFunction wrap = nullptr;
    GlobalFreeFunction globalFree = nullptr;

private:
    struct Unload {
        void operator()(void *library) const;
    };

    const void *Entry(const char *name) const;
    void *Symbol(const char *name) const;
    void TellModuleItsPath() const;

    std::string path;
    uint32_t version = 0;
    std::unique_ptr<void, Unload> library;
    std::span<const TableEntry> entries;
};

/// Memory of the library's own under a handle that the module takes. Not zeroed.
class WrappedBlock {
public:
    WrappedBlock() = default;

    /// Throws Failure when there is not enough memory, or more than 4 GB are asked for.
    WrappedBlock(const FilterModule &owner, uint64_t size);
    ~WrappedBlock();
    WrappedBlock(WrappedBlock &&other) noexcept;
    WrappedBlock &operator=(WrappedBlock &&other) noexcept;

    MemoryHandle Handle() const { return handle; }
    uint8_t *Data() const { return memory; }
    size_t Size() const { return bytes; }

    /// Gives the system its pages back; what it reads as then is not known. The block stays.
    void Discard() const;

private:
    const FilterModule *module = nullptr;
    MemoryHandle handle = 0;
    uint8_t *memory = nullptr;
    size_t bytes = 0;
};

/// A setup of the module's, made from a profile; destroyed at the end of its life.
class Setup {
public:
    /// Throws Failure when memory is exhausted.
    Setup(const FilterModule &owner, const std::string &profilePath, const std::string &section);
    ~Setup() { module.destroySetup(handle); }
    Setup(const Setup &) = delete;
    Setup &operator=(const Setup &) = delete;

    MemoryHandle Handle() const { return handle; }
    void SetHostIo(HostIoProcedure procedure) const;

private:
    const FilterModule &module;
    MemoryHandle handle;
};

} // namespace kowen::host
