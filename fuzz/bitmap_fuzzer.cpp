// Bitmaps of any depth, size, palette and pixels, exported with any settings to memory, to a disk
// and to a host.
//
// What a host may reasonably ask for must come out as the reference implementation of the whole
// filter gives it, byte by byte. Of everything else only the result is looked at, and that nothing
// is left behind.
#include "fuzz/module_state.h"

#include "export/bitmap_door.h"
#include "jpeg/kernels.h"
#include "kowen/codes.h"
#include "reference/jpeg/door.h"
#include "setup/display_info.h"
#include "setup/setup.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <string>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::MakeBlock;
using fuzz::Require;

constexpr uint64_t kLargestBlock = 1 << 20; // about 590 x 590 pixels
constexpr int kMostPixels = 300;            // across and down, of what is compared

enum class Output { kMemory, kDisk, kHost, kNowhere, kOutputs };

/// All that one call is given, and what of it has a reference.
struct Job {
    Output output;
    int refusedBlock;
    uint8_t kernels; ///< which variant
    reference::DoorSettings settings;
    int32_t colorMode;
    int32_t qualityMode;
    reference::DoorBitmap bitmap;
    bool hasWholePixels;
    CellRecord cell;
    bool hasCallback;
};

constexpr uint16_t kDepths[] = {1, 4, 8, 24, 32};

bool HasDepth(int depth) {
    return std::find(std::begin(kDepths), std::end(kDepths), depth) != std::end(kDepths);
}

int AnyResolution(Input *input) {
    constexpr int usual[] = {0, 32, 72, 96, 100, 300, 400};
    return input->Seldom(16) ? input->Number<int16_t>() : input->Pick(usual);
}

int32_t AnySide(Input *input, int32_t most) {
    return input->Seldom(24) ? input->Number<int32_t>() : input->Between(0, most);
}

double AnyInches(Input *input) {
    return input->Seldom(24) ? input->Number<double>() : input->Between(3, 60) / 96.0;
}

void ChooseSettings(Input *input, Job *job) {
    constexpr int formats[] = {212, 215, 222};
    constexpr int resolutionModes[] = {307, 309, 310};
    constexpr int sizeModes[] = {600, 602, 603};
    reference::DoorSettings &settings = job->settings;
    const bool isUsual = !input->Seldom(16);
    settings.colorFormat = isUsual ? input->Pick(formats) : input->Between(210, 223);
    settings.operation = isUsual ? input->Between(245, 246) : input->Between(244, 248);
    settings.quality = isUsual ? input->Between(1, 100) : input->Number<int16_t>();
    settings.sizeMode = isUsual ? input->Pick(sizeModes) : input->Between(599, 604);
    settings.resolutionMode = isUsual ? input->Pick(resolutionModes) : input->Between(306, 311);
    settings.xResolution = AnyResolution(input);
    settings.yResolution = AnyResolution(input);
    settings.width = AnyInches(input);
    settings.height = AnyInches(input);
    job->colorMode = input->Seldom(4) ? input->Between(102, 108) : KOWEN_COLOR_UNCHANGED;
    job->qualityMode = input->Seldom(8) ? input->Between(240, 243) : KOWEN_QUALITY_USER;
}

void ChooseCell(Input *input, CellRecord *cell) {
    cell->resolution = static_cast<int16_t>(AnyResolution(input));
    cell->targetResolution = static_cast<uint16_t>(AnyResolution(input));
    cell->targetWidth = AnySide(input, 90);
    cell->targetHeight = AnySide(input, 40);
    cell->pageWidth = AnySide(input, 200);
    cell->pageHeight = AnySide(input, 100);
}

void ChooseBitmap(Input *input, Job *job) {
    reference::DoorBitmap &bitmap = job->bitmap;
    bitmap.depth = input->Seldom(24) ? input->Byte() : input->Pick(kDepths);
    bitmap.width = input->Seldom(24) ? input->Number<uint16_t>() : input->Between(0, 70);
    bitmap.height = input->Seldom(24) ? input->Number<uint16_t>() : input->Between(0, 30);
    const uint64_t row = (static_cast<uint64_t>(bitmap.width) * bitmap.depth + 31) / 32 * 4;
    auto bytes = static_cast<size_t>(
        std::min(row * static_cast<uint64_t>(bitmap.height), kLargestBlock / 2));
    job->hasWholePixels =
        HasDepth(bitmap.depth) && bytes == row * static_cast<uint64_t>(bitmap.height);
    if (input->Seldom(24)) {
        bytes = input->Below(static_cast<uint32_t>(bytes) + 1);
        job->hasWholePixels = false;
    }
    size_t entries = bitmap.depth <= 8 && input->Bool() ? size_t{1} << bitmap.depth : 0;
    if (input->Seldom(24))
        entries = input->Byte();
    bitmap.palette = input->Fill(entries * 3);
    bitmap.pixels = input->Fill(bytes);
}

Job AnyJob(Input *input) {
    Job job = {};
    job.output = static_cast<Output>(input->Below(static_cast<uint32_t>(Output::kOutputs)));
    job.refusedBlock = input->Seldom(8) ? input->Between(1, 40) : 0;
    job.hasCallback = input->Seldom(4);
    job.kernels = input->Byte();
    ChooseSettings(input, &job);
    ChooseCell(input, &job.cell);
    ChooseBitmap(input, &job);
    return job;
}

bool Between(double value, double least, double most) {
    return value >= least && value <= most;
}

bool AreUsual(const reference::DoorSettings &settings) {
    const auto isResolution = [](int value) { return Between(value, 32, 400); };
    const auto isOneOf = [](int code, std::initializer_list<int> codes) {
        return std::find(codes.begin(), codes.end(), code) != codes.end();
    };
    return isOneOf(settings.colorFormat, {212, 215, 222}) &&
           isOneOf(settings.operation, {245, 246}) && Between(settings.quality, 1, 100) &&
           isOneOf(settings.sizeMode, {600, 602, 603}) &&
           isOneOf(settings.resolutionMode, {307, 309, 310}) &&
           isResolution(settings.xResolution) && isResolution(settings.yResolution) &&
           Between(settings.width, 0.03125, 22) && Between(settings.height, 0.03125, 22);
}

reference::DoorCell PlainCell(const CellRecord &cell) {
    return {cell.resolution,   cell.targetResolution, cell.targetWidth,
            cell.targetHeight, cell.pageWidth,        cell.pageHeight};
}

// A host with a picture and a page, who neither stops nor runs out of memory.
bool HasPlainForm(const Job &job) {
    const reference::DoorBitmap &bitmap = job.bitmap;
    const CellRecord &cell = job.cell;
    const auto isSide = [](int32_t side) { return side >= 1 && side <= 10000; };
    const size_t entries = bitmap.depth <= 8 ? size_t{1} << bitmap.depth : 0;
    if (job.refusedBlock != 0 || job.hasCallback || !job.hasWholePixels || bitmap.width == 0 ||
        bitmap.height == 0 || (!bitmap.palette.empty() && bitmap.palette.size() != entries * 3))
        return false;
    if (job.colorMode != KOWEN_COLOR_UNCHANGED || job.qualityMode != KOWEN_QUALITY_USER ||
        !AreUsual(job.settings))
        return false;
    if (!Between(cell.targetWidth, 0, 10000) || !isSide(cell.targetHeight) ||
        !isSide(cell.pageWidth) || !isSide(cell.pageHeight) || !Between(cell.resolution, 32, 400) ||
        (cell.targetResolution != 0 && !Between(cell.targetResolution, 32, 400)))
        return false;
    reference::DoorSettings settings = job.settings;
    const reference::DoorSize size = reference::SizeOf(settings, PlainCell(cell));
    return Between(size.width, 0, kMostPixels) && Between(size.height, 1, kMostPixels);
}

// One of those that this machine has, the best one for 0.
const Kernels *VariantOf(const Job &job) {
    size_t count = 0;
    while (AvailableKernels()[count] != nullptr)
        ++count;
    return AvailableKernels()[count - 1 - job.kernels % count];
}

/// One export from the host's side.
class Host {
public:
    Host(Input *bytes, const Job &itsJob) : input(bytes), job(itsJob) {
        current = this;
        setup = GlobalAlloc(kGlobalFlags, sizeof(SetupRecord));
        FillSetup(Lock<SetupRecord>(setup));
        bitmap.depth = static_cast<uint16_t>(job.bitmap.depth);
        bitmap.width = static_cast<uint16_t>(job.bitmap.width);
        bitmap.height = static_cast<uint16_t>(job.bitmap.height);
        bitmap.palette = job.bitmap.palette.empty() ? 0 : MakeBlock(job.bitmap.palette);
        bitmap.pixels = MakeBlock(job.bitmap.pixels);
        record.statusCallback = job.hasCallback ? Status : nullptr;
        host.setup = setup;
        host.exportRecord = &record;
    }
    ~Host() {
        GlobalFree(record.memoryBlock);
        GlobalFree(bitmap.pixels);
        GlobalFree(bitmap.palette);
        Require(DestroySetup(setup) == 0, "a setup that can be destroyed");
        SetDisplayInfo(0, 0, 0, 0);
        current = nullptr;
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    int32_t Export() {
        const fuzz::MemoryLimit limit(kLargestBlock, job.refusedBlock);
        UseKernels(VariantOf(job));
        const int32_t result = ExportCellData(Name().c_str(), &bitmap, &job.cell, &host);
        UseKernels(nullptr);
        return result;
    }

    Bytes Written() const {
        if (job.output == Output::kDisk) {
            const std::string bytes = Directory().Read(kName);
            return {bytes.begin(), bytes.end()};
        }
        return job.output == Output::kHost ? served : MemoryContents();
    }

private:
    static constexpr const char *kName = "a.jpg";

    static const TempDirectory &Directory() {
        static const TempDirectory made;
        return made;
    }

    std::string Name() const {
        switch (job.output) {
        case Output::kMemory:
            return "";
        case Output::kNowhere:
            return Directory().File("no/a.jpg");
        default:
            return Directory().File(kName);
        }
    }

    void FillSetup(SetupRecord *choices) const {
        UseDefaultSettings(choices);
        const reference::DoorSettings &settings = job.settings;
        choices->colorMode = job.colorMode;
        choices->qualityMode = job.qualityMode;
        choices->colorFormat = settings.colorFormat;
        choices->operation = settings.operation;
        choices->quality = static_cast<int16_t>(settings.quality);
        choices->sizeMode = settings.sizeMode;
        choices->resolutionMode = settings.resolutionMode;
        choices->header.xResolution = static_cast<int16_t>(settings.xResolution);
        choices->header.yResolution = static_cast<int16_t>(settings.yResolution);
        choices->width = settings.width;
        choices->height = settings.height;
        choices->ioProcedure = job.output == Output::kHost ? Serve : nullptr;
    }

    // The JPEG, a byte 255, zeros.
    Bytes MemoryContents() const {
        const auto *bytes = Lock<const uint8_t>(record.memoryBlock);
        Require(bytes != nullptr, "a block that holds the picture");
        size_t end = GlobalSize(record.memoryBlock);
        while (end > 0 && bytes[end - 1] == 0)
            --end;
        Require(end > 0 && bytes[end - 1] == 255, "the terminator byte");
        return {bytes, bytes + end - 1};
    }

    // Stops now and then, and tries what it must not do here.
    static int32_t Status(uintptr_t, int32_t, int32_t, int32_t, int32_t, int32_t, void *) {
        if (current->input->Seldom(8))
            Require(DestroySetup(current->setup) == 1, "a setup that is in use");
        if (current->input->Seldom(8))
            Require(ExportCellData("", &current->bitmap, &current->job.cell, &current->host) ==
                        KOWEN_ERR_OUTPUT,
                    "a setup that exports already");
        return current->input->Seldom(3);
    }

    static intptr_t Serve(uintptr_t, int32_t operation, void *argument, int32_t count) {
        if (operation == KOWEN_IO_OPEN)
            return 1;
        if (operation != KOWEN_IO_WRITE)
            return 0;
        const auto *bytes = static_cast<const uint8_t *>(argument);
        current->served.insert(current->served.end(), bytes, bytes + count);
        return count;
    }

    static inline Host *current = nullptr;
    Input *input;
    const Job &job;
    MemoryHandle setup;
    BitmapRecord bitmap = {};
    ExportRecord record = {};
    HostRecord host = {};
    Bytes served;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const Job job = AnyJob(&input);
    {
        Host host(&input, job);
        const int32_t result = host.Export();
        Require(result == KOWEN_OK || result == KOWEN_ERR_OUTPUT, "a documented code");
        if (HasPlainForm(job)) {
            Require((result == KOWEN_OK) == (job.output != Output::kNowhere), "the result");
            if (result == KOWEN_OK)
                Require(host.Written() ==
                            reference::ReferenceDoor(job.bitmap, PlainCell(job.cell), job.settings),
                        "the bytes of the reference");
        }
    }
    fuzz::RequireNothingIsCurrent();
    return 0;
}
