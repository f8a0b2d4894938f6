#include "export_checks.h"

#include "blocks.h"
#include "callbacks.h"
#include "decode.h"
#include "names.h"
#include "real_module.h"
#include "setups.h"

#include <cstring>

namespace kowen::check {
namespace {

constexpr size_t kNameBytes = 4095;
constexpr uint32_t kColorBytes = 3;
constexpr uint32_t kWideColorBytes = 4; // as many other programs have them
constexpr int32_t kMostColumns = 65535;
constexpr int32_t kMostRows = 65534;

bool IsDepth(uint16_t depth) {
    return depth == 1 || depth == 4 || depth == 8 || depth == 24 || depth == 32;
}

void CheckPixels(Call &call, const BitmapRecord &bitmap) {
    RequireBlock(call, "the pixels", bitmap.pixels);
    if (!IsDepth(bitmap.depth))
        return call.Mistake(Rule::kDepth, "it is " + std::to_string(bitmap.depth));
    if (bitmap.width == 0 || bitmap.height == 0)
        call.Mistake(Rule::kEmpty, "the picture is " + std::to_string(bitmap.width) + " x " +
                                       std::to_string(bitmap.height));
    const uint64_t stride = (uint64_t{bitmap.width} * bitmap.depth + 31) / 32 * 4;
    const uint64_t bytes = stride * bitmap.height;
    if (BlockBytes(bitmap.pixels) < bytes && (bitmap.pixels == 0 || IsBlock(bitmap.pixels)))
        call.Mistake(Rule::kPixelRows, "the rows have " + std::to_string(bytes) +
                                           " bytes, the block " +
                                           std::to_string(BlockBytes(bitmap.pixels)));
}

void CheckPalette(Call &call, const BitmapRecord &bitmap) {
    if (bitmap.depth > 8 || !IsDepth(bitmap.depth))
        return;
    RequireBlock(call, "the palette", bitmap.palette);
    if (bitmap.palette == 0)
        call.Mistake(Rule::kPalette,
                     "a picture of " + std::to_string(bitmap.depth) + " bits has none");
    const uint32_t needed = kColorBytes << bitmap.depth;
    const uint32_t bytes = BlockBytes(bitmap.palette);
    const bool hasWideEntries = bytes == kWideColorBytes << bitmap.depth;
    if (IsBlock(bitmap.palette) && (bytes < needed || hasWideEntries))
        call.Mistake(Rule::kPalette, "the palette has " + std::to_string(bytes) +
                                         " bytes, its entries " + std::to_string(needed) +
                                         (hasWideEntries ? ": they have 3 bytes, not 4" : ""));
}

void CheckCell(const Call &call, const CellRecord &cell) {
    const std::string size =
        std::to_string(cell.targetWidth) + " x " + std::to_string(cell.targetHeight);
    if (cell.targetWidth <= 0 || cell.targetHeight <= 0)
        call.Mistake(Rule::kEmpty, "the target is " + size);
    else if (cell.targetWidth > kMostColumns || cell.targetHeight > kMostRows)
        call.Mistake(Rule::kTooLarge, "the target is " + size);
}

bool IsMemoryOutput(const char *outputName, const HostRecord &host) {
    return (outputName == nullptr || *outputName == 0) && ProcedureOf(host.setup) == nullptr;
}

void CheckOutput(const Call &call, const char *outputName, const HostRecord &host) {
    const size_t length = outputName != nullptr ? std::strlen(outputName) : 0;
    if (length > kNameBytes)
        call.Mistake(Rule::kOutputName, "the name has " + std::to_string(length));
    if (IsMemoryOutput(outputName, host) && host.exportRecord == nullptr)
        call.Mistake(Rule::kMemoryOutput, "the output is memory, and there is no export record");
}

void CheckRecords(Call &call, const BitmapRecord *bitmap, const CellRecord *cell,
                  const HostRecord *host) {
    if (bitmap == nullptr || cell == nullptr || host == nullptr)
        call.Mistake(Rule::kExportRecords, bitmap == nullptr ? "there is no bitmap"
                                           : cell == nullptr ? "there is no cell"
                                                             : "there is no host record");
    if (bitmap != nullptr) {
        CheckPixels(call, *bitmap);
        CheckPalette(call, *bitmap);
    }
    if (cell != nullptr)
        CheckCell(call, *cell);
    if (host == nullptr)
        return;
    RequireSetup(call, host->setup);
    RequireDriver(call, host->setup);
    if (host->setup != 0 && IsInUse(host->setup))
        call.Mistake(Rule::kSetupOutlives,
                     DescribeSetup(host->setup) + " is in use; another one is needed");
}

int32_t Export(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
               const HostRecord *host, Call &call) {
    if (host == nullptr)
        return Real()->exportCellData(outputName, bitmap, cell, nullptr);
    const bool toMemory = IsMemoryOutput(outputName, *host) && host->exportRecord != nullptr;
    BlocksAtWork blocks = {0, 0, toMemory};
    if (bitmap != nullptr)
        blocks = {bitmap->pixels, bitmap->palette, toMemory};
    Output output;
    output.Begin(host->setup, host->exportRecord, blocks);
    HostRecord copy = *host;
    copy.exportRecord = output.ForTheModule();
    if (host->setup != 0 && !IsKept(host->setup))
        MakeCurrent(host->setup);
    const OutputAtWork work(output);
    const int32_t result = Real()->exportCellData(outputName, bitmap, cell, &copy);
    if (result == KOWEN_OK && toMemory) {
        AddBlock(copy.exportRecord->memoryBlock);
        call.Tell("memoryBlock", DescribeBlock(copy.exportRecord->memoryBlock));
    }
    return result;
}

} // namespace

int32_t CheckedExportCellData(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
                              const HostRecord *host) {
    Call call("ExportCellData", CallKind::kOther,
              {{"outputName", DescribeText(outputName)},
               {"bitmap", DescribeBitmap(bitmap)},
               {"cell", DescribeCell(cell)},
               {"host", DescribeHost(host)}});
    if (call.Passes())
        CheckRecords(call, bitmap, cell, host);
    if (call.Passes() && host != nullptr)
        CheckOutput(call, outputName, *host);
    const int32_t result =
        call.Passes() ? Export(outputName, bitmap, cell, host, call) : KOWEN_ERR_OUTPUT;
    call.Tell("result", result);
    call.Tell("code", ResultName(result));
    return result;
}

} // namespace kowen::check
