// What a case draws, and what must come of it.
#include "faults/export_scenario.h"
#include "kowen/codes.h"
#include "reference/jpeg/door.h"

namespace kowen::test {
namespace {

bool IsDevice(const ExportCase &given) {
    return given.door != DoorKind::kBitmap;
}

std::string Size(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

reference::DoorSettings SettingsOf(const ExportCase &given) {
    reference::DoorSettings settings;
    settings.colorFormat = given.colorFormat;
    settings.operation = given.operation;
    settings.quality = given.quality;
    settings.xResolution = settings.yResolution = kDotsPerInch;
    if (IsDevice(given) && given.targetWidth != 0) {
        settings.sizeMode = KOWEN_SIZE_USER;
        settings.resolutionMode = KOWEN_RESOLUTION_USER;
        settings.width = static_cast<double>(given.targetWidth) / kDotsPerInch;
        settings.height = static_cast<double>(given.targetHeight) / kDotsPerInch;
    }
    return settings;
}

reference::DoorCell CellOf(const ExportCase &given) {
    reference::DoorCell cell = {kDotsPerInch, kDotsPerInch, given.width, given.height, 640, 480};
    if (!IsDevice(given) && given.targetWidth != 0) {
        cell.targetWidth = given.targetWidth;
        cell.targetHeight = given.targetHeight;
    }
    return cell;
}

} // namespace

uint64_t Fnv1a(const std::string &bytes) {
    uint64_t hash = 0xCBF29CE484222325u;
    for (const char byte : bytes)
        hash = (hash ^ static_cast<uint8_t>(byte)) * 0x100000001B3u;
    return hash;
}

std::string NameOf(const ExportCase &given) {
    constexpr const char *kDoors[] = {"bitmap", "raster", "raster-blunt", "raster-cells", "export"};
    constexpr const char *kOutputs[] = {"file", "file-without-input", "memory", "host",
                                        "unnamed-host"};
    std::string name = kDoors[static_cast<int>(given.door)];
    name += std::string("-to-") + kOutputs[static_cast<int>(given.output)];
    if (given.door == DoorKind::kExport)
        return name;
    name += "-" + std::to_string(given.depth) + "-bits-" + Size(given.width, given.height);
    if (given.targetWidth != 0)
        name += "-as-" + Size(given.targetWidth, given.targetHeight);
    return name + "-f" + std::to_string(given.colorFormat) +
           (given.operation == KOWEN_OPERATION_PROGRESSIVE ? "-prog-q" : "-seq-q") +
           std::to_string(given.quality);
}

TestBitmap PictureOf(const ExportCase &given) {
    if (given.depth < 24)
        return MakeIndexed(given.depth, given.width, given.height);
    if (given.depth == 32 || given.pattern == Pattern::kNoise)
        return MakeNoise(given.width, given.height, 1, given.depth);
    return MakeSoft(given.width, given.height);
}

// An export device draws nothing; a cell array without a picture bitmap is blank.
std::string PlainFile(const ExportCase &given) {
    if (given.door == DoorKind::kExport)
        return "";
    TestBitmap bitmap = PictureOf(given);
    if (given.door == DoorKind::kRasterCells)
        bitmap.pixels.assign(bitmap.pixels.size(), 0);
    const reference::Bytes file = reference::ReferenceDoor(
        {bitmap.depth, bitmap.width, bitmap.height, bitmap.pixels, bitmap.palette}, CellOf(given),
        SettingsOf(given));
    return {file.begin(), file.end()};
}

std::string PlainFileWithoutPixels(const ExportCase &given) {
    const reference::Bytes file =
        reference::ReferenceDoorWithoutPixels(CellOf(given), SettingsOf(given));
    return {file.begin(), file.end()};
}

bool IsWhole(const std::string &jpeg) {
    return jpeg.ends_with("\xFF\xD9");
}

} // namespace kowen::test
