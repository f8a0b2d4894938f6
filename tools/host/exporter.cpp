#include "host/exporter.h"

#include "host/cancel.h"
#include "host/colour_mode.h"
#include "host/error.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace kowen::host {
namespace {

constexpr uint8_t kMemoryEndMark = 255; // closes the file in a memory block

uint32_t BlockSize(size_t bytes) {
    if (bytes > std::numeric_limits<uint32_t>::max())
        throw HostError("the picture has too many pixels for one block of memory");
    return static_cast<uint32_t>(bytes);
}

// A block holds the file, one byte 255 and zeros.
std::vector<uint8_t> FileInBlock(const GlobalBlock &block) {
    const uint8_t *bytes = block.Data();
    size_t last = block.Size();
    while (last != 0 && bytes[last - 1] == 0)
        --last;
    if (last == 0 || bytes[last - 1] != kMemoryEndMark)
        return {};
    return {bytes, bytes + last - 1};
}

void CheckResult(int32_t result) {
    StopIfCancelled();
    if (result != KOWEN_OK)
        throw HostError("the module gave up the export with code " + std::to_string(result));
}

} // namespace

int32_t OnExportStatus(uintptr_t context, int32_t command, int32_t, int32_t, int32_t percent,
                       int32_t, void *) {
    // A poll without a percentage leaves the bar where it is.
    if (command == KOWEN_STATUS_PROGRESS && percent > 0)
        reinterpret_cast<Progress *>(context)->Show("exporting", percent);
    return CancelRequested() ? 1 : 0;
}

Bitmap::Bitmap(const FilterModule &module, Picture *picture, int32_t colourMode)
    : width(picture->Width()), height(picture->Height()), depth(picture->Depth()),
      rowBytes(picture->RowBytes()), pixels(module, BlockSize(picture->PixelBytes())) {
    picture->TakeRows(pixels.Data());
    if (depth >= 24) {
        for (int y = 0; y < height; ++y)
            ApplyColourMode(colourMode, pixels.Data() + rowBytes * static_cast<size_t>(y),
                            static_cast<size_t>(width), static_cast<size_t>(depth / 8));
        return;
    }
    const std::vector<uint8_t> &colours = picture->Palette();
    palette = GlobalBlock(module, BlockSize(colours.size()));
    std::memcpy(palette.Data(), colours.data(), colours.size());
    ApplyColourMode(colourMode, palette.Data(), colours.size() / 3, 3);
}

BitmapRecord Bitmap::Record() const {
    BitmapRecord record = {};
    record.depth = static_cast<uint16_t>(depth);
    record.width = static_cast<uint16_t>(width);
    record.height = static_cast<uint16_t>(height);
    record.palette = palette.Handle();
    record.pixels = pixels.Handle();
    return record;
}

void Exporter::ToStore(const Bitmap &bitmap, const CellPlan &plan, const Page &page,
                       ByteStore *store) {
    setup.SetHostIo(HostIo);
    ExportRecord record = {};
    record.ioContext = reinterpret_cast<uintptr_t>(store);
    CheckResult(Run("picture.jpg", bitmap, plan, page, &record));
}

std::vector<uint8_t> Exporter::ToMemory(const Bitmap &bitmap, const CellPlan &plan,
                                        const Page &page) {
    ExportRecord record = {};
    const int32_t result = Run("", bitmap, plan, page, &record);
    // The block is the host's also when the export was given up.
    const GlobalBlock block(module, record.memoryBlock);
    CheckResult(result);
    return FileInBlock(block);
}

int32_t Exporter::Run(const char *name, const Bitmap &bitmap, const CellPlan &plan,
                      const Page &page, ExportRecord *record) {
    record->context = reinterpret_cast<uintptr_t>(progress);
    record->statusCallback = OnExportStatus;
    BitmapRecord picture = bitmap.Record();
    CellRecord cell = {};
    cell.resolution = page.dpi;
    cell.pageWidth = page.width;
    cell.pageHeight = page.height;
    cell.targetResolution = static_cast<uint16_t>(plan.resolution);
    cell.targetWidth = plan.width;
    cell.targetHeight = plan.height;
    HostRecord host = {};
    host.setup = setup.Handle();
    host.exportRecord = record;
    progress->Show("exporting", 0);
    return module.exportCellData(name, &picture, &cell, &host);
}

} // namespace kowen::host
