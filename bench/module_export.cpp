#include "module_export.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <unistd.h>

namespace {

constexpr int kResolution = 72;

// The settings reach the module in a profile: the operation has no escape.
std::string WriteProfile(const JpegChoice &choice) {
    const auto path = std::filesystem::temp_directory_path() /
                      ("kowen_bench_" + std::to_string(getpid()) + ".ini");
    std::ofstream(path) << "[KOWEN]\n~Mode=JPEG\n[JPEG]\nDriver=KOWEN.1\n"
                        << "Color Format=" << choice.format << "\nOperation="
                        << (choice.progressive ? KOWEN_OPERATION_PROGRESSIVE
                                               : KOWEN_OPERATION_SEQUENTIAL)
                        << "\nQuality Mode=" << KOWEN_QUALITY_USER << "\nQuality=" << choice.quality
                        << "\nSize Mode=" << KOWEN_SIZE_FROM_PICTURE
                        << "\nResolution Mode=" << KOWEN_RESOLUTION_FROM_PICTURE << "\n";
    return path;
}

CellRecord CellOf(const JpegSize &size) {
    CellRecord cell = {};
    cell.resolution = kResolution;
    cell.targetResolution = kResolution;
    cell.targetWidth = cell.pageWidth = static_cast<int32_t>(size.width);
    cell.targetHeight = cell.pageHeight = static_cast<int32_t>(size.height);
    return cell;
}

} // namespace

ModuleExport::ModuleExport(const std::string &modulePath, const JpegChoice &choice,
                           const Picture &picture, const JpegSize &jpegSize)
    : module(modulePath), alloc(module.Symbol<GlobalAllocFunction>("GlobalAlloc")),
      lock(module.Symbol<GlobalLockFunction>("GlobalLock")),
      release(module.Symbol<GlobalFreeFunction>("GlobalFree")),
      size(module.Symbol<GlobalSizeFunction>("GlobalSize")),
      exportCell(module.Entry<ExportCellDataFunction>("ExportCellData")), cell(CellOf(jpegSize)) {
    module.NameModule();
    const std::string profile = WriteProfile(choice);
    setup = module.Entry<CreateSetupFunction>("CreateSetup")(0, profile.c_str(), nullptr, nullptr);
    std::filesystem::remove(profile);
    bitmap.depth = picture.depth;
    bitmap.width = static_cast<uint16_t>(picture.width);
    bitmap.height = static_cast<uint16_t>(picture.height);
    bitmap.pixels = alloc(KOWEN_GLOBAL_FLAGS, static_cast<uint32_t>(picture.pixels.size()));
    bitmap.palette = CopyOf(picture.palette);
    host.setup = setup;
    host.exportRecord = &exportRecord;
    if (setup == 0 || bitmap.pixels == 0)
        std::abort();
}

ModuleExport::~ModuleExport() {
    Release();
    release(bitmap.pixels);
    release(bitmap.palette);
    module.Entry<DestroySetupFunction>("DestroySetup")(setup);
}

MemoryHandle ModuleExport::CopyOf(const std::vector<uint8_t> &bytes) const {
    if (bytes.empty())
        return 0;
    const MemoryHandle block = alloc(KOWEN_GLOBAL_FLAGS, static_cast<uint32_t>(bytes.size()));
    if (block == 0)
        std::abort();
    std::memcpy(lock(block), bytes.data(), bytes.size());
    return block;
}

void ModuleExport::Refresh(const Picture &picture) {
    std::memcpy(lock(bitmap.pixels), picture.pixels.data(), picture.pixels.size());
}

void ModuleExport::Save() {
    Release();
    if (exportCell(nullptr, &bitmap, &cell, &host) != KOWEN_OK)
        std::abort();
}

void ModuleExport::Release() {
    release(exportRecord.memoryBlock);
    exportRecord.memoryBlock = 0;
}

size_t ModuleExport::JpegBytes() const {
    const uint8_t *bytes = Jpeg();
    size_t last = bytes == nullptr ? 0 : size(exportRecord.memoryBlock);
    while (last > 0 && bytes[last - 1] == 0)
        --last;
    // The last byte that is not 0 is the block's terminator byte.
    const bool whole = last > 3 && bytes[last - 3] == 0xFF && bytes[last - 2] == 0xD9;
    return whole ? last - 1 : 0;
}

const uint8_t *ModuleExport::Jpeg() const {
    return static_cast<const uint8_t *>(lock(exportRecord.memoryBlock));
}
