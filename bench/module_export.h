// Exports through the built module, as a host does it.
#pragma once

#include "picture.h"
#include "support/module_host.h"

#include <string>
#include <vector>

/// What a JPEG is made with.
struct JpegChoice {
    uint32_t format; ///< KOWEN_FORMAT_...
    bool progressive;
    int quality; ///< 1 to 100
};

/// Columns and rows of a JPEG.
struct JpegSize {
    uint32_t width;
    uint32_t height;
};

/// A loaded module with one setup, and memory for a picture that is saved in the given size.
class ModuleExport {
public:
    ModuleExport(const std::string &modulePath, const JpegChoice &choice, const Picture &picture,
                 const JpegSize &jpegSize);
    /// In the picture's own size.
    ModuleExport(const std::string &modulePath, const JpegChoice &choice, const Picture &picture)
        : ModuleExport(modulePath, choice, picture, {picture.width, picture.height}) {}
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
    MemoryHandle CopyOf(const std::vector<uint8_t> &bytes) const;

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
