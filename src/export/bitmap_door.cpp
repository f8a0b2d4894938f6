#include "export/bitmap_door.h"

#include "export/draw_cell.h"
#include "export/output_file.h"
#include "export/output_picture.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "setup/display_info.h"
#include "setup/setup.h"

namespace kowen {

namespace {

// The setup and the host's records for the time of one export.
struct Export {
    SetupRecord *setup;
    ExportRecord *host;
    void *block = nullptr; // cell of OpenOutput
    OutputFile output = {};
};

bool Open(Export &current, const char *name) {
    SetupRecord &setup = *current.setup;
    if (!KeepOutputName(setup, name))
        return false;
    const OutputTarget target = {setup.outputName, setup.ioProcedure,
                                 current.host ? current.host->ioContext : 0};
    // Without an export record there is nobody to hand a memory block to.
    const bool toMemory = !setup.ioProcedure && setup.outputName[0] == '\0';
    if (toMemory && !current.host)
        return false;
    OpenOutput(target, &current.block, &current.output);
    if (current.output.file == 0) {
        FreeOutputBlock(&current.block);
        if (current.output.kind == OutputKind::kMemory)
            current.host->memoryBlock = 0;
        return false;
    }
    setup.header.outputFile = current.output.file;
    if (current.output.kind == OutputKind::kMemory)
        current.host->memoryBlock = OutputBlock(&current.block);
    return true;
}

void Close(Export &current) {
    CloseOutput(current.output.file);
    // Growth, the close's own included, makes a new handle.
    if (current.output.kind == OutputKind::kMemory)
        current.host->memoryBlock = OutputBlock(&current.block);
}

void FillBitmap(BitmapRecord &bitmap, const CellRecord &cell) {
    bitmap.resolution = cell.targetResolution;
    bitmap.targetWidth = cell.targetWidth;
    bitmap.targetHeight = cell.targetHeight;
}

} // namespace

int32_t ExportCellData(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
                       const HostRecord *host) noexcept {
    const MemoryHandle handle = host ? host->setup : 0;
    auto *setup = Lock<SetupRecord>(handle);
    if (!setup)
        return KOWEN_ERR_SETUP;
    // Hardened: a callback that exports once more with the same setup is refused.
    // Test: HostileCallbacks.AStatusCallbackCannotExportTheSameSetupOnceMore.
    if (setup->hostCalls.underway != 0)
        return KOWEN_ERR_OUTPUT;
    hRaster = handle;
    lpRaster = setup;
    if (!bitmap || !cell)
        return KOWEN_ERR_MEMORY;

    setup->exportRecord = host->exportRecord;
    Export current = {setup, host->exportRecord};
    int32_t result = KOWEN_ERR_OUTPUT;
    if (Open(current, outputName)) {
        SetDisplayInfo(cell->pageWidth, cell->pageHeight, cell->resolution, cell->resolution);
        FillBitmap(*bitmap, *cell);
        // Kept deliberately: a cancelled or failed export returns 0.
        // Test: ExportCellData.ReturnsZeroWhenCancelled.
        OutputPicture(current.output.file, bitmap, DrawExportCellData);
        Close(current);
        result = KOWEN_OK;
    }
    // No stale host record is ever called.
    setup->exportRecord = nullptr;
    return result;
}

} // namespace kowen
