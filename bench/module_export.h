// Exports through the built module, as a host does it.
#pragma once

#include "picture.h"
#include "support/module_host.h"

#include <string>

/// What a JPEG is made with.
struct JpegChoice {
    uint32_t format; ///< KOWEN_FORMAT_...
    bool progressive;
    int quality; ///< 1 to 100
};

/// A loaded module with one setup.
class ModuleExport {
public:
    ModuleExport(const std::string &modulePath, const JpegChoice &choice, const Picture &picture);
    ~ModuleExport();
    ModuleExport(const ModuleExport &) = delete;
    ModuleExport &operator=(const ModuleExport &) = delete;

    /// Copies the picture into the module's memory: an export changes its pixels.
    void Refresh(const Picture &picture);

    /// Saves the picture to memory. The JPEG stays until Release or the next call.
    void Save();
    void Release();

    /// Bytes of the JPEG; 0 when it is not finished.
    size_t JpegBytes() const;
    const uint8_t *Jpeg() const;

private:
    ModuleHost module;
    GlobalAllocFunction alloc;
    GlobalLockFunction lock;
    GlobalFreeFunction release;
    GlobalSizeFunction size;
    ExportCellDataFunction exportCell;
    MemoryHandle setup = 0;
    BitmapRecord bitmap = {};
    CellRecord cell = {};
    ExportRecord exportRecord = {};
    HostRecord host = {};
};
