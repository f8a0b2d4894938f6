// Whole pictures drawn on the raster device in strips: what the host then gets is, byte by byte,
// what the reference implementation of the bitmap door makes of the same picture.
#include "fuzz/module_state.h"

#include "raster/door.h"
#include "reference/jpeg/door.h"
#include "setup/display_info.h"
#include "support/fake_host.h"
#include "support/requests.h"

#include <algorithm>
#include <cstdlib>
#include <string>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::Require;
using test::Request;

constexpr int kMostPixels = 300; // across and down

struct Job {
    reference::DoorSettings settings;
    reference::DoorCell cell;
    reference::DoorBitmap picture;
    bool isInverted;
    bool isWrittenTwice;
};

reference::DoorSettings AnySettings(Input *input) {
    constexpr int formats[] = {212, 215, 222};
    constexpr int resolutionModes[] = {309, 310, 307};
    constexpr int sizeModes[] = {602, 603, 600};
    reference::DoorSettings settings;
    settings.colorFormat = input->Pick(formats);
    settings.operation = input->Between(245, 246);
    settings.quality = input->Between(1, 100);
    settings.sizeMode = input->Pick(sizeModes);
    settings.resolutionMode = input->Pick(resolutionModes);
    settings.xResolution = input->Between(32, 400);
    settings.yResolution = input->Between(32, 400);
    settings.width = input->Between(3, 96) / 96.0;
    settings.height = input->Between(3, 96) / 96.0;
    return settings;
}

Job AnyJob(Input *input) {
    constexpr int depths[] = {24, 8, 4, 1};
    constexpr int resolutions[] = {0, 72, 96, 100, 300};
    Job job;
    job.settings = AnySettings(input);
    reference::DoorBitmap &picture = job.picture;
    picture.depth = input->Pick(depths);
    picture.width = input->Seldom(16) ? 0 : input->Between(2, 70);
    picture.height = input->Between(2, 50);
    job.isInverted = input->Seldom(4);
    job.isWrittenTwice = input->Seldom(8);
    job.cell.targetResolution = input->Pick(resolutions);
    job.cell.targetWidth = picture.width;
    job.cell.targetHeight = picture.height;
    job.cell.resolution = input->Between(32, 100);
    job.cell.pageWidth = input->Between(20, 200);
    job.cell.pageHeight = input->Between(20, 200);
    picture.palette = input->Fill(picture.depth == 24 ? 0 : size_t{3} << picture.depth);
    const auto row = static_cast<size_t>(picture.width * picture.depth + 31) / 32 * 4;
    picture.pixels = input->Fill(row * static_cast<size_t>(picture.height));
    return job;
}

bool IsSmall(const Job &job) {
    reference::DoorSettings settings = job.settings;
    const reference::DoorSize size = reference::SizeOf(settings, job.cell);
    return size.width >= 0 && size.width <= kMostPixels && size.height >= 1 &&
           size.height <= kMostPixels;
}

void Choose(const Job &job, SetupRecord *choices) {
    const reference::DoorSettings &settings = job.settings;
    choices->colorMode = job.isInverted ? KOWEN_COLOR_INVERTED : KOWEN_COLOR_UNCHANGED;
    choices->colorFormat = settings.colorFormat;
    choices->operation = settings.operation;
    choices->qualityMode = KOWEN_QUALITY_USER;
    choices->quality = static_cast<int16_t>(settings.quality);
    choices->sizeMode = settings.sizeMode;
    choices->resolutionMode = settings.resolutionMode;
    choices->header.xResolution = static_cast<int16_t>(settings.xResolution);
    choices->header.yResolution = static_cast<int16_t>(settings.yResolution);
    choices->width = settings.width;
    choices->height = settings.height;
    choices->ioProcedure = test::HostFile::Procedure;
}

void Run(Request request) {
    Require(RASTER_dd_entry32(0, KOWEN_DD_DISPATCH, request.Data()) == 0, "a request that runs");
}

/// The device from its start to its end, and the host's file.
class Device {
public:
    explicit Device(const Job &itsJob) : job(itsJob) {
        Choose(job, setup.operator->());
        SetDisplayInfo(job.cell.pageWidth, job.cell.pageHeight,
                       static_cast<int16_t>(job.cell.resolution),
                       static_cast<int16_t>(job.cell.resolution));
        record.outputName = name;
        record.setup = setup.handle;
        record.exportRecord = &host;
        Require(RASTER_dd_entry32(0, KOWEN_DD_INITIALISE, &record) == 0, "a device that starts");
    }
    ~Device() {
        RASTER_dd_entry32(0, KOWEN_DD_TERMINATE, nullptr);
        SetDisplayInfo(0, 0, 0, 0);
    }
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    void Draw(Input *input) const {
        const reference::DoorBitmap &picture = job.picture;
        Run(Request(test::kOpenDevice));
        Run(Request(test::kBeginPicture));
        Run(test::WindowRequest(0, 0, picture.width - 1, picture.height - 1));
        if (job.cell.targetResolution != 0)
            Run(test::ResolutionRequest(job.cell.targetResolution));
        Run(Request(test::kBeginBody));
        Run(test::ColorsRequest(0, picture.palette));
        Run(test::OpenPictureRequest(static_cast<uint32_t>(picture.width),
                                     static_cast<uint32_t>(picture.height), picture.depth));
        DrawStrips(input);
        Run(test::WritePictureRequest());
        if (job.isWrittenTwice)
            Run(test::WritePictureRequest());
        Run(Request(test::kEndPicture));
        Run(Request(test::kCloseDevice));
    }

    const std::string &Written() const { return file.bytes; }

private:
    // In the requests or elsewhere; the picture's rows follow one another.
    void DrawStrips(Input *input) const {
        const reference::DoorBitmap &picture = job.picture;
        const auto width = static_cast<uint32_t>(picture.width);
        const size_t stride = picture.pixels.size() / static_cast<size_t>(picture.height);
        for (int row = 0; row < picture.height;) {
            const int rows = std::min(1 + static_cast<int>(input->Below(20)), picture.height - row);
            const auto *first = picture.pixels.data() + static_cast<size_t>(row) * stride;
            const Bytes strip(first, first + static_cast<size_t>(rows) * stride);
            const bool isLast = row + rows == picture.height;
            const uint32_t count = isLast && input->Seldom(8) ? input->Number<uint32_t>() | 0x8000
                                                              : // more than fit
                                       static_cast<uint32_t>(rows);
            if (width != 0 && input->Bool())
                Run(test::FarCellsRequest(width, count, -picture.depth, strip.data()));
            else
                Run(test::CellsRequest(width, count, picture.depth, strip));
            row += rows;
        }
    }

    const Job &job;
    test::TestSetup setup;
    test::HostFile file;
    char name[8] = "a.jpg";
    ExportRecord host = {};
    OpenRecord record = {};
};

// The bitmap door has no colour mode for pictures of its own size; the device inverts what it is
// given.
reference::DoorBitmap AsDrawn(const Job &job) {
    reference::DoorBitmap picture = job.picture;
    for (uint8_t &value : picture.depth == 24 ? picture.pixels : picture.palette)
        value = job.isInverted ? static_cast<uint8_t>(255 - value) : value;
    return picture;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const Job job = AnyJob(&input);
    if (!IsSmall(job))
        return 0;
    {
        Device device(job);
        device.Draw(&input);
        Bytes expected = reference::ReferenceDoor(AsDrawn(job), job.cell, job.settings);
        if (job.isWrittenTwice) {
            const Bytes second = reference::ReferenceDoorWithoutPixels(job.cell, job.settings);
            expected.insert(expected.end(), second.begin(), second.end());
        }
        Require(device.Written() == std::string(expected.begin(), expected.end()),
                "the bytes of the reference");
    }
    fuzz::RequireNothingIsCurrent();
    return 0;
}
