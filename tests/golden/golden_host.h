// A host that makes the golden set with a loaded module and nothing else: no file is written.
#pragma once

#include "golden/golden_set.h"
#include "kowen/kowen.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kowen::golden {

class Host {
public:
    /// Loads a module. Throws std::runtime_error that says what is the matter with it.
    explicit Host(const std::string &modulePath);

    /// What the module makes of it; empty when it refuses. Bitmaps go to a block of memory, what is
    /// drawn to an I/O procedure.
    std::vector<uint8_t> Make(const Export &what) const;

private:
    struct Unload {
        void operator()(void *library) const;
    };

    template <typename Function> Function Symbol(const char *name) const;
    template <typename Function> Function Entry(const char *name) const;
    MemoryHandle Block(const std::vector<uint8_t> &bytes) const;
    std::vector<uint8_t> TakeBlock(MemoryHandle block) const;
    std::vector<uint8_t> SaveBitmap(const Export &what, MemoryHandle setup) const;
    std::vector<uint8_t> Draw(const Export &what, MemoryHandle setup) const;
    bool DrawRequests(const TestBitmap &bitmap, int resolution) const;

    std::unique_ptr<void, Unload> library_;
    EntryPointRecord table_ = {};
    GlobalAllocFunction alloc_;
    GlobalLockFunction lock_;
    GlobalFreeFunction free_;
    GlobalSizeFunction size_;
    CreateSetupFunction createSetup_;
    DestroySetupFunction destroySetup_;
    EscapeSetupFunction escapeSetup_;
    ExportCellDataFunction exportCellData_;
    SetDisplayInfoFunction setDisplayInfo_;
    DeviceDoorFunction device_ = nullptr;
};

} // namespace kowen::golden
