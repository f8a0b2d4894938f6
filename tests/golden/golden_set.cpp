#include "golden/golden_set.h"

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace kowen::golden {
namespace {

struct Digest {
    const char *name;
    const char *digest;
};

constexpr Digest kDigests[] = {
#include "golden_digests.inc"
};

std::string DigestOf(const std::string &name) {
    const auto *found = std::find_if(std::begin(kDigests), std::end(kDigests),
                                     [&](const Digest &digest) { return digest.name == name; });
    return found == std::end(kDigests) ? "" : found->digest;
}

Settings With(int colorFormat, int operation, int quality) {
    Settings settings;
    settings.colorFormat = colorFormat;
    settings.operation = operation;
    settings.quality = quality;
    return settings;
}

// Where the picture goes: as large as it is, on a page of 640 x 480.
CellRecord CellFor(const TestBitmap &bitmap, int resolution = 96) {
    CellRecord cell = {};
    cell.resolution = 96;
    cell.targetResolution = static_cast<uint16_t>(resolution);
    cell.targetWidth = bitmap.width;
    cell.targetHeight = bitmap.height;
    cell.pageWidth = 640;
    cell.pageHeight = 480;
    return cell;
}

std::string Size(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

std::string Form(const Settings &settings) {
    return "f" + std::to_string(settings.colorFormat) + "-" +
           (settings.operation == KOWEN_OPERATION_PROGRESSIVE ? "prog" : "seq") + "-q" +
           std::to_string(settings.quality);
}

class Set {
public:
    Set() {
        AddQualities();
        AddSizes();
        AddDepths();
        AddPageSettings();
        AddResampled();
        AddDrawn();
    }
    std::vector<Export> Take() { return std::move(exports_); }

private:
    void Add(const std::string &what, const TestBitmap &bitmap, const Settings &settings,
             const CellRecord &cell) {
        const std::string name = what + "-" + Form(settings) + ".jpg";
        exports_.push_back({name, door_, bitmap, settings, cell, DigestOf(name)});
    }
    void Add(const std::string &what, const TestBitmap &bitmap, const Settings &settings) {
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
                    Add("soft-33x18", MakeSoft(33, 18), With(colorFormat, operation, quality));
                }
    }

    void AddSizes() {
        const int sizes[][2] = {{1, 1},   {1, 2},   {2, 2},   {7, 8},    {8, 8},   {15, 16},
                                {16, 16}, {17, 10}, {31, 30}, {101, 37}, {200, 10}};
        for (const auto &[width, height] : sizes)
            for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE})
                Add("noise-" + Size(width, height), MakeNoise(width, height),
                    With(KOWEN_FORMAT_YCC422, operation, 90));
        for (const auto &[width, height] : {std::pair{1, 2}, std::pair{9, 10}, std::pair{17, 17}})
            for (const int colorFormat : {KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
                Add("checks-" + Size(width, height), MakeChecks(width, height),
                    With(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 60));
        // Long runs of empty blocks, and the largest coefficients.
        Add("flat-640x480", MakeFlat(640, 480, 128, 128, 128),
            With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 75));
        Add("checks-240x160", MakeChecks(240, 160),
            With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 100));
        Add("checks-240x160", MakeChecks(240, 160),
            With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_PROGRESSIVE, 100));
    }

    void AddDepths() {
        for (const int colorFormat :
             {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY}) {
            for (const int depth : {1, 4, 8})
                Add("palette" + std::to_string(depth) + "-37x22", MakeIndexed(depth, 37, 22),
                    With(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 75));
            Add("deep32-37x22", MakeNoise(37, 22, 5, 32),
                With(colorFormat, KOWEN_OPERATION_SEQUENTIAL, 75));
        }
    }

    void AddPageSettings() {
        const TestBitmap bitmap = MakeGradient(40, 24);
        Settings page = With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
        page.sizeMode = KOWEN_SIZE_USER;
        page.resolutionMode = KOWEN_RESOLUTION_USER;
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

        Settings display = With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
        display.sizeMode = KOWEN_SIZE_FROM_DISPLAY;
        display.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
        CellRecord cell = CellFor(bitmap);
        cell.resolution = 50;
        cell.pageWidth = 100;
        cell.pageHeight = 90;
        Add("display-page", bitmap, display, cell);
        display.sizeMode = KOWEN_SIZE_FROM_PICTURE;
        Add("display-resolution", bitmap, display, cell);

        CellRecord unknown = CellFor(bitmap, 0);
        Settings small = With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
        small.width = 1.0;
        small.height = 1.0;
        Add("unknown-resolution", bitmap, small, unknown);
        for (const int resolution : {75, 300})
            Add("resolution-" + std::to_string(resolution), MakeGradient(55, 40),
                With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75),
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
                    With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 80), cell);
            }
    }

    // On the raster device: every depth in strips, and colours that only the device changes.
    void AddDrawn() {
        door_ = Door::kRasterDevice;
        const Settings plain = With(KOWEN_FORMAT_YCC422, KOWEN_OPERATION_SEQUENTIAL, 75);
        for (const int depth : {1, 4, 8})
            Add("drawn" + std::to_string(depth) + "-37x22", MakeIndexed(depth, 37, 22), plain);
        for (const int colorFormat : {KOWEN_FORMAT_YCC422, KOWEN_FORMAT_RGB444, KOWEN_FORMAT_GREY})
            for (const int operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE})
                Add("drawn24-50x34", MakeSoft(50, 34), With(colorFormat, operation, 75));
        Settings inverted = plain;
        inverted.isInverted = true;
        Add("drawn24-50x34-inverted", MakeSoft(50, 34), inverted);
        Add("drawn4-37x22-inverted", MakeIndexed(4, 37, 22), inverted);
    }

    Door door_ = Door::kBitmap;
    std::vector<Export> exports_;
};

} // namespace

std::vector<Export> Exports() {
    return Set().Take();
}

} // namespace kowen::golden
