// Exports a fixed set of small pictures into a directory:
//
//     golden_writer DIRECTORY           through the module, as a host does
//     golden_writer DIRECTORY --reference   by the reference implementation of the bitmap door
//
// Both must give the files whose digests tests/data/golden.sha256 holds.
#include "module/export_host.h"

#include <cstdio>
#include <filesystem>
#include <string>
#include <vector>

namespace {

struct GoldenPicture {
    std::string name; ///< of the file
    TestBitmap bitmap;
    ExportSettings settings;
    CellRecord cell;
};

std::string Size(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string Form(const ExportSettings &settings) {
    return "f" + std::to_string(settings.colorFormat) + "-" +
           (settings.operation == KOWEN_OPERATION_PROGRESSIVE ? "prog" : "seq") + "-q" +
           std::to_string(settings.quality);
}

class GoldenSet {
public:
    GoldenSet() {
        AddQualities();
        AddSizes();
        AddDepths();
        AddPageSettings();
        AddResampled();
    }
    const std::vector<GoldenPicture> &Pictures() const { return pictures_; }

private:
    void Add(const std::string &what, const TestBitmap &bitmap, const ExportSettings &settings,
             const CellRecord &cell) {
        pictures_.push_back({what + "-" + Form(settings) + ".jpg", bitmap, settings, cell});
    }
    void Add(const std::string &what, const TestBitmap &bitmap, const ExportSettings &settings) {
        Add(what, bitmap, settings, CellFor(bitmap));
    }

    void AddQualities() {
        for (const int quality : {1, 44, 45, 75, 100})
            for (const int colorFormat :
                 {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
                for (const int operation :
                     {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
                    if (colorFormat != KOWEN_FORMAT_YCC422 &&
                        operation == KOWEN_OPERATION_PROGRESSIVE && quality != 75)
                        continue; // headers only
                    Add("soft-33x18", MakeSoft(33, 18),
                        MakeSettings(colorFormat, operation, quality));
                }
    }

    void AddSizes() {
        const int sizes[][2] = {{1, 1},   {1, 2},   {2, 2},   {7, 8},    {8, 8},   {15, 16},
                                {16, 16}, {17, 10}, {31, 30}, {101, 37}, {200, 10}};
        for (const auto &[width, height] : sizes)
            for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE})
                Add("noise-" + Size(width, height), MakeNoise(width, height),
                    MakeSettings(KOWEN_FORMAT_YCC422, operation, 90));
        for (const auto &[width, height] : {std::pair{1, 2}, std::pair{9, 10}, std::pair{17, 17}})
            for (const int colorFormat : {KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
                Add("checks-" + Size(width, height), MakeChecks(width, height),
                    MakeSettings(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 60));
        // Long runs of empty blocks, and the largest coefficients.
        Add("flat-640x480", MakeFlat(640, 480, 128, 128, 128),
            MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75));
        Add("checks-240x160", MakeChecks(240, 160),
            MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 100));
        Add("checks-240x160", MakeChecks(240, 160),
            MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 100));
    }

    void AddDepths() {
        for (const int colorFormat :
             {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
            for (const int depth : {1, 4, 8})
                Add("palette" + std::to_string(depth) + "-37x22", MakeIndexed(depth, 37, 22),
                    MakeSettings(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 75));
            Add("deep32-37x22", MakeNoise(37, 22, 5, 32),
                MakeSettings(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 75));
        }
    }

    void AddPageSettings() {
        const TestBitmap bitmap = MakeGradient(40, 24);
        ExportSettings page = MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
        page.sizeMode = 603;
        page.resolutionMode = 310;
        page.width = 0.5;
        page.height = 0.4;
        for (const auto &[x, y] : {std::pair{32, 32}, std::pair{72, 80}, std::pair{400, 32}}) {
            page.xResolution = x;
            page.yResolution = y;
            Add("page-at-" + Size(x, y), bitmap, page);
        }
        page.width = 0.03125;
        page.height = 1.0;
        Add("narrow-page", bitmap, page);

        ExportSettings display = MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
        display.sizeMode = 600;
        display.resolutionMode = 307;
        CellRecord cell = CellFor(bitmap);
        cell.resolution = 50;
        cell.pageWidth = 100;
        cell.pageHeight = 90;
        Add("display-page", bitmap, display, cell);
        display.sizeMode = 602;
        Add("display-resolution", bitmap, display, cell);

        CellRecord unknown = CellFor(bitmap, 0);
        ExportSettings small = MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
        small.width = 1.0;
        small.height = 1.0;
        Add("unknown-resolution", bitmap, small, unknown);
        for (const int resolution : {75, 300})
            Add("resolution-" + std::to_string(resolution), MakeGradient(55, 40),
                MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75),
                CellFor(MakeBlank(55, 40), resolution));
    }

    void AddResampled() {
        const int targets[][2] = {{20, 12}, {80, 48}, {60, 12}, {10, 48}, {13, 37}, {41, 25}};
        for (const auto &[width, height] : targets)
            for (const int depth : {8, 24}) {
                const TestBitmap bitmap = depth == 8 ? MakeIndexed(8, 40, 24) : MakeChecks(40, 24);
                CellRecord cell = CellFor(bitmap);
                cell.targetWidth = width;
                cell.targetHeight = height;
                Add("depth" + std::to_string(depth) + "-40x24-to-" + Size(width, height), bitmap,
                    MakeSettings(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 80), cell);
            }
    }

    std::vector<GoldenPicture> pictures_;
};

bool WriteFile(const std::string &path, const ExportBytes &bytes) {
    std::FILE *file = std::fopen(path.c_str(), "wb");
    if (file == nullptr)
        return false;
    const bool written = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
    return std::fclose(file) == 0 && written;
}

bool ExportPicture(const ExportHost &host, const GoldenPicture &picture, const std::string &path) {
    const MemoryHandle setup = host.MakeSetup(picture.settings);
    ExportRecord record = {};
    const ExportRun run = host.Export(path.c_str(), picture.bitmap, picture.cell, setup, &record);
    host.destroySetup(setup);
    return run.result == 0;
}

} // namespace

int main(int argc, char **argv) {
    const bool plain = argc == 3 && std::string(argv[2]) == "--reference";
    if (argc != 2 && !plain) {
        std::fprintf(stderr, "usage: golden_writer DIRECTORY [--reference]\n");
        return 2;
    }
    const std::string directory = argv[1];
    std::filesystem::create_directories(directory);
    const ExportHost host;
    const GoldenSet set;
    for (const GoldenPicture &picture : set.Pictures()) {
        const std::string path = directory + "/" + picture.name;
        const bool done =
            plain ? WriteFile(path, PlainExport(picture.bitmap, picture.settings, picture.cell))
                  : ExportPicture(host, picture, path);
        if (!done) {
            std::fprintf(stderr, "cannot write %s\n", path.c_str());
            return 1;
        }
    }
    return 0;
}
