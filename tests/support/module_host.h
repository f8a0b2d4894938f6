// A host in a few lines: opens the built module as hosts do and finds its entries.
//
//     ModuleHost host;
//     const auto create = host.Entry<CreateSetupFunction>("CreateSetup");
//     const MemoryHandle setup = create(0, "settings.ini", "JPEG", nullptr);
//
// A test program links kowen_module_host for it. It must not use the functions that entries.h and
// memory.h declare: these are not the module's.
#pragma once

#include "kowen/kowen.h"
#include "support/module_path.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <string>

class ModuleHost {
public:
    /// Ends the program when the module cannot be loaded.
    explicit ModuleHost(const std::string &modulePath = kModulePath, int flags = RTLD_NOW)
        : path(modulePath), library(dlopen(path.c_str(), flags)) {
        if (library == nullptr)
            Give("cannot load the module", dlerror());
        const auto load = Symbol<LoadPointersFunction>("fltLoadPointers");
        if (load == nullptr)
            Give("no fltLoadPointers in", path.c_str());
        load(&record);
    }
    ~ModuleHost() { dlclose(library); }
    ModuleHost(const ModuleHost &) = delete;
    ModuleHost &operator=(const ModuleHost &) = delete;

    /// Tells the module its own path, as every host does before it makes a setup.
    void NameModule(const std::string &name) const {
        auto *buffer = static_cast<char *>(const_cast<void *>(Find("szDLLName")));
        std::memset(buffer, 0, kModuleNameBytes);
        std::memcpy(buffer, name.data(), name.size() < kModuleNameBytes ? name.size() : 0);
    }
    void NameModule() const { NameModule(path); }

    const EntryPointRecord &Table() const { return record; }

    /// The address in the table, null when there is no such entry.
    const void *Find(const char *name) const {
        for (int i = 0; i < record.entryCount; ++i)
            if (std::strcmp(record.entries[i].name, name) == 0)
                return record.entries[i].address;
        return nullptr;
    }
    const void *Find(int ordinal) const {
        for (int i = 0; i < record.entryCount; ++i)
            if (record.entries[i].ordinal == ordinal)
                return record.entries[i].address;
        return nullptr;
    }

    /// An entry by name or ordinal; ends the program when there is none.
    template <typename Function, typename Key> Function Entry(Key key) const {
        const void *address = Find(key);
        if (address == nullptr)
            Give("an entry is missing in", path.c_str());
        return reinterpret_cast<Function>(const_cast<void *>(address));
    }

    /// A function that is exported but not in the table, such as GlobalAlloc; or null.
    template <typename Function> Function Symbol(const char *name) const {
        return reinterpret_cast<Function>(dlsym(library, name));
    }

private:
    static constexpr std::size_t kModuleNameBytes = 260;

    [[noreturn]] static void Give(const char *what, const char *why) {
        std::fprintf(stderr, "%s %s\n", what, why);
        std::abort();
    }

    std::string path;
    void *library;
    EntryPointRecord record = {};
};
