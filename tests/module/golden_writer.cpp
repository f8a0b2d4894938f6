// Makes the golden set in a directory:
//
//     golden_writer DIRECTORY           through the module, as a host does
//     golden_writer DIRECTORY --reference   by the reference implementation of the bitmap door
//
// Both must give the files whose digests tests/data/golden.sha256 holds.
#include "golden/golden_host.h"
#include "reference/jpeg/door.h"
#include "support/module_path.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace {

namespace golden = kowen::golden;
namespace reference = kowen::reference;
using Bytes = std::vector<uint8_t>;

// The bitmap door has no colour mode for pictures of its own size; the device inverts what it is
// given.
reference::DoorBitmap AsDrawn(const golden::Export &what) {
    reference::DoorBitmap bitmap = {what.bitmap.depth, what.bitmap.width, what.bitmap.height,
                                    what.bitmap.pixels, what.bitmap.palette};
    if (what.settings.isInverted)
        for (uint8_t &value : bitmap.depth == 24 ? bitmap.pixels : bitmap.palette)
            value = static_cast<uint8_t>(255 - value);
    return bitmap;
}

Bytes PlainExport(const golden::Export &what) {
    const golden::Settings &settings = what.settings;
    const CellRecord &cell = what.cell;
    return reference::ReferenceDoor(AsDrawn(what),
                                    {cell.resolution, cell.targetResolution, cell.targetWidth,
                                     cell.targetHeight, cell.pageWidth, cell.pageHeight},
                                    {settings.colorFormat, settings.operation, settings.quality,
                                     settings.sizeMode, settings.resolutionMode,
                                     settings.xResolution, settings.yResolution, settings.width,
                                     settings.height});
}

bool WriteFile(const std::string &path, const Bytes &bytes) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

} // namespace

int main(int argc, char **argv) {
    const bool plain = argc == 3 && std::string(argv[2]) == "--reference";
    if (argc != 2 && !plain) {
        std::fprintf(stderr, "usage: golden_writer DIRECTORY [--reference]\n");
        return 2;
    }
    // No profile and no display of the machine's own.
    unsetenv("INIDIR");
    unsetenv("DISPLAYINFO");
    const std::string directory = argv[1];
    std::filesystem::create_directories(directory);
    const golden::Host host(kModulePath);
    for (const golden::Export &what : golden::Exports()) {
        const Bytes bytes = plain ? PlainExport(what) : host.Make(what);
        const std::string path = directory + "/" + what.name;
        if (bytes.empty() || !WriteFile(path, bytes)) {
            std::fprintf(stderr, "cannot make %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
