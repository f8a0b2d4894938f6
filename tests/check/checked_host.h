// A host of the checking module, and what that reports of it.
#pragma once

#include "check/paths.h"
#include "support/module_host.h"
#include "support/requests.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <optional>
#include <string>
#include <vector>

namespace kowen::test {

/// Loads the checking module with the built module behind it; unloads it when asked to, or at its
/// end. Whatever it says is in the trace.
class CheckedHost {
public:
    explicit CheckedHost(const char *format = "text")
        : traceFormat("KOWEN_CHECK_FORMAT", format),
          trace("KOWEN_CHECK_TRACE", TracePath().c_str()),
          checked("KOWEN_CHECKED_MODULE", kModulePath), module(kCheckPath) {
        alloc = module->Symbol<GlobalAllocFunction>("GlobalAlloc");
        lock = module->Symbol<GlobalLockFunction>("GlobalLock");
        unlock = module->Symbol<GlobalUnlockFunction>("GlobalUnlock");
        free = module->Symbol<GlobalFreeFunction>("GlobalFree");
        reAlloc = module->Symbol<GlobalReAllocFunction>("GlobalReAlloc");
        size = module->Symbol<GlobalSizeFunction>("GlobalSize");
        handleOf = module->Symbol<GlobalHandleFunction>("GlobalHandle");
        wrap = module->Symbol<GlobalPointerToHandleFunction>("GlobalPointerToHandle");
        createSetup = module->Entry<CreateSetupFunction>("CreateSetup");
        destroySetup = module->Entry<DestroySetupFunction>("DestroySetup");
        editSetup = module->Entry<EditSetupFunction>("EditSetup");
        escape = module->Entry<EscapeSetupFunction>("EscapeSetup");
        exportCellData = module->Entry<ExportCellDataFunction>("ExportCellData");
        version = module->Entry<GetFilterVersionFunction>("QIVGetFilterVersion");
        module->Entry<ShortDoorFunction>("RASTER_dd_entry")(KOWEN_DOOR_ADDRESS, &raster, 0);
        module->Entry<ShortDoorFunction>("dd_entry")(KOWEN_DOOR_ADDRESS, &exporter, 0);
        module->NameModule();
    }

    void Unload() { module.reset(); }

    std::string TracePath() const { return directory.File("trace"); }
    std::string Trace() const { return directory.Read("trace"); }
    std::vector<std::string> TraceLines() const {
        std::vector<std::string> lines;
        std::string line;
        for (const char c : Trace()) {
            if (c == '\n')
                lines.push_back(std::move(line)), line.clear();
            else
                line += c;
        }
        return lines;
    }

    /// The rules that were broken, in the order of the reports, those of notes among them.
    std::vector<std::string> Mistakes() const {
        std::vector<std::string> rules;
        for (const std::string &line : TraceLines()) {
            const size_t begin = line.find('[');
            if ((line.compare(0, 8, "mistake ") == 0 || line.compare(0, 5, "note ") == 0) &&
                begin != std::string::npos)
                rules.push_back(line.substr(begin + 1, line.find(']') - begin - 1));
        }
        return rules;
    }

    /// A setup that is destroyed with the rest, unless a test does it.
    MemoryHandle MakeSetup() const { return createSetup(0, nullptr, nullptr, nullptr); }

    /// A picture of 8 x 4 pixels in a block, and a cell of its size.
    BitmapRecord MakeBitmap(uint16_t depth = 24) const {
        BitmapRecord bitmap = {};
        bitmap.depth = depth;
        bitmap.width = 8;
        bitmap.height = 4;
        bitmap.pixels = alloc(KOWEN_GLOBAL_FLAGS, 8u * 4 * 4);
        return bitmap;
    }
    static CellRecord MakeCell() {
        CellRecord cell = {};
        cell.resolution = 96;
        cell.targetResolution = 96;
        cell.targetWidth = cell.pageWidth = 8;
        cell.targetHeight = cell.pageHeight = 4;
        return cell;
    }

    /// Exports a bitmap to a file, then frees its pixels.
    int32_t Export(MemoryHandle setup, BitmapRecord bitmap, const CellRecord &cell = MakeCell(),
                   ExportRecord *record = nullptr) const {
        HostRecord host = {};
        host.setup = setup;
        host.exportRecord = record;
        const int32_t result =
            exportCellData(directory.File("a.jpg").c_str(), &bitmap, &cell, &host);
        free(bitmap.pixels);
        return result;
    }

    /// Exports a bitmap to a block of memory.
    int32_t ExportToMemory(MemoryHandle setup, BitmapRecord bitmap, ExportRecord *record) const {
        HostRecord host = {};
        host.setup = setup;
        host.exportRecord = record;
        const CellRecord cell = MakeCell();
        return exportCellData(nullptr, &bitmap, &cell, &host);
    }
    /// Whether a block begins as a JPEG does and ends as memory output of one does.
    bool HoldsJpeg(MemoryHandle block) const {
        const auto *bytes = static_cast<const uint8_t *>(lock(block));
        if (bytes == nullptr || bytes[0] != 0xFF || bytes[1] != 0xD8)
            return false;
        uint32_t end = size(block);
        while (bytes[end - 1] == 0)
            --end;
        return bytes[end - 1] == 255 && bytes[end - 2] == 0xD9 && bytes[end - 3] == 0xFF;
    }
    /// A palette of so many bytes, all black.
    MemoryHandle MakePalette(uint32_t bytes) const { return alloc(KOWEN_GLOBAL_FLAGS, bytes); }

    /// The columns that the raster query answers for a picture of 8 x 4 pixels; 0 for no answer.
    int32_t AskSize(MemoryHandle setup) const {
        const RasterQuery query = {96, 0, 96, 8, 4, 640, 480};
        RasterAnswer answer = {};
        escape(setup, KOWEN_ESCAPE_RASTER_QUERY, 0, &query, &answer, 0);
        return answer.width;
    }

    /// Initialises the raster device, with room for one answer of 48 bytes unless a test says
    /// otherwise.
    int32_t Initialise(MemoryHandle setup, const std::string &name = "b.jpg",
                       ExportRecord *record = nullptr) {
        return InitialiseWithPath(setup, directory.File(name), record);
    }
    int32_t InitialiseWithPath(MemoryHandle setup, const std::string &where,
                               ExportRecord *record = nullptr) {
        path = where;
        open = {};
        open.outputName = path.data();
        open.setup = setup;
        open.exportRecord = record;
        open.returnAreaSize = returnAreaSize;
        return raster(0, KOWEN_DD_INITIALISE, &open);
    }
    int32_t Run(Request request) {
        hasPicture = hasPicture || request.IsPrimitive(KOWEN_PRIMITIVE_WRITE_PICTURE);
        return raster(0, KOWEN_DD_DISPATCH, request.Data());
    }
    int32_t Run(uint32_t opcode) { return Run(Request(opcode)); }
    int32_t Terminate() const { return raster(0, KOWEN_DD_TERMINATE, nullptr); }

    /// Everything up to the picture's body, in a window of 8 columns.
    void BeginBody(MemoryHandle setup, ExportRecord *record = nullptr) {
        hasPicture = false;
        Initialise(setup, "b.jpg", record);
        Run(kOpenDevice);
        Run(kBeginPicture);
        Run(WindowRequest(0, 0, 7, 3));
        Run(ResolutionRequest(96));
        Run(kBeginBody);
    }
    /// Draws a picture of 8 x 4 pixels when there is none yet.
    void EndPicture() {
        if (!hasPicture) {
            Run(OpenPictureRequest(8, 4, 24));
            Run(CellsRequest(8, 4, 24, std::vector<uint8_t>(24 * 4, 77)));
            Run(WritePictureRequest());
        }
        Run(kEndPicture);
        Run(kCloseDevice);
        Terminate();
    }

    /// A picture of 8 x 4 pixels, from the initialisation to the termination. Returns its file.
    std::string DrawPicture(MemoryHandle setup, ExportRecord *record) {
        BeginBody(setup, record);
        EndPicture();
        return directory.Read("b.jpg");
    }

    TempDirectory directory;

private:
    ScopedEnvironment traceFormat;
    ScopedEnvironment trace;
    ScopedEnvironment checked;
    ScopedEnvironment noProfiles{"INIDIR", nullptr};
    ScopedEnvironment noDisplay{"DISPLAYINFO", nullptr};

public:
    std::optional<ModuleHost> module;
    GlobalAllocFunction alloc;
    GlobalLockFunction lock;
    GlobalUnlockFunction unlock;
    GlobalFreeFunction free;
    GlobalReAllocFunction reAlloc;
    GlobalSizeFunction size;
    GlobalHandleFunction handleOf;
    GlobalPointerToHandleFunction wrap;
    CreateSetupFunction createSetup;
    DestroySetupFunction destroySetup;
    EditSetupFunction editSetup;
    EscapeSetupFunction escape;
    ExportCellDataFunction exportCellData;
    GetFilterVersionFunction version;
    DeviceDoorFunction raster = nullptr;
    DeviceDoorFunction exporter = nullptr;
    OpenRecord open = {};
    uint32_t returnAreaSize = 48;
    bool hasPicture = false; ///< since BeginBody
    std::string path;
};

} // namespace kowen::test
