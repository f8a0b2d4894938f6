#include "filter/export_run.h"

#include "base/failure.h"
#include "filter/setup_profile.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace kowen::host {
namespace {

constexpr uint32_t kMcuRowHeight = 8; // that the filter codes and writes at a time

// What the module's callbacks work with.
struct Run {
    EditedStream *stream;
    Progress *progress;
    const Bitmap &bitmap;
    uint32_t mcuRows;     ///< that are written one by one; 0 = not known
    uint32_t written = 0; ///< pieces behind the head
    bool lost = false;

    // A write that is refused does not end the export: the filter codes the rest and sends that
    // too.
    intptr_t Lose() {
        if (!lost)
            bitmap.Discard();
        lost = true;
        return 0;
    }

    // Less than 1, which is told at the end of the call. A progressive picture is written when it
    // is coded; in how many pieces is not known.
    double Fraction() {
        if (stream->InHead())
            return 0;
        ++written;
        return mcuRows != 0 ? std::min(written, mcuRows) / (mcuRows + 1.0)
                            : written / (written + 8.0);
    }
};

intptr_t OnWrite(Run *run, const void *bytes, int32_t count) {
    if (count < 0 || run->lost || !run->progress->Tell(run->Fraction()))
        return run->Lose();
    const auto size = static_cast<size_t>(count);
    return run->stream->Write(static_cast<const uint8_t *>(bytes), size) == 0 ? count : run->Lose();
}

// The filter's I/O procedure; its context is the address of a Run. The filter writes from the
// first byte to the last: there is nothing to read, and no other place to go to.
intptr_t OnIo(uintptr_t context, int32_t operation, void *argument, int32_t count) noexcept {
    auto *run = reinterpret_cast<Run *>(context);
    switch (operation) {
    case KOWEN_IO_OPEN: // refused, it spares the filter all the work
        return run->progress->Ask() ? static_cast<intptr_t>(context) : 0;
    case KOWEN_IO_WRITE:
        return OnWrite(run, argument, count);
    case KOWEN_IO_READ:
    case KOWEN_IO_SEEK:
        return -1;
    default:
        return 0; // closing and deleting: the export's end decides about the file
    }
}

int32_t OnStatus(uintptr_t context, int32_t, int32_t, int32_t, int32_t, int32_t, void *) noexcept {
    return reinterpret_cast<Run *>(context)->progress->Ask() ? 0 : 1;
}

int32_t CallModule(const FilterModule &module, const Setup &setup, const Bitmap &bitmap,
                   const CellPlan &plan, const Page &page, Run *run) {
    ExportRecord record = {};
    record.context = reinterpret_cast<uintptr_t>(run);
    record.statusCallback = OnStatus;
    record.ioContext = reinterpret_cast<uintptr_t>(run);
    CellRecord cell = {};
    cell.resolution = page.dpi;
    cell.pageWidth = page.width;
    cell.pageHeight = page.height;
    cell.targetResolution = static_cast<uint16_t>(plan.resolution);
    cell.targetWidth = plan.width;
    cell.targetHeight = plan.height;
    HostRecord host = {};
    host.setup = setup.Handle();
    host.exportRecord = &record;
    BitmapRecord picture = bitmap.Record();
    // Without a name: a file of that name is what the filter takes when its host refuses to open.
    return module.exportCellData("", &picture, &cell, &host);
}

void CheckOutcome(const std::string &name, const EditedStream &stream, const Progress &progress,
                  int32_t moduleCode) {
    if (progress.Cancelled() || stream.Error() == ECANCELED)
        FailCancelled();
    if (stream.HeadUnknown())
        throw Failure(KOWEN_HOST_ERR_EXPORT,
                      name +
                          ": the head of what the module writes is not as this library knows it, "
                          "so size, resolution and metadata cannot be put there; use the module "
                          "that belongs to this library");
    if (stream.Error() == ENOMEM)
        throw Failure(KOWEN_HOST_ERR_MEMORY, name + ": not enough memory for the file", ENOMEM);
    if (stream.Error() != 0)
        FailWith(KOWEN_HOST_ERR_OUTPUT, name, stream.Error());
    if (moduleCode != KOWEN_OK)
        throw Failure(KOWEN_HOST_ERR_EXPORT, name + ": the filter gave up the export with code " +
                                                 std::to_string(moduleCode));
    if (const char *problem = stream.Watch().Problem())
        throw Failure(KOWEN_HOST_ERR_EXPORT,
                      name +
                          ": the filter gave up the export, probably for want of memory; the "
                          "file is not whole: " +
                          problem);
}

} // namespace

void RunExport(const FilterModule &module, const Bitmap &bitmap, const CellPlan &plan,
               const Page &page, const std::string &name, EditedStream *stream, Progress *progress,
               int32_t *moduleCode) {
    const SetupProfile profile(plan.settings);
    const Setup setup(module, profile.Path(), SetupProfile::kSection);
    setup.SetHostIo(OnIo);
    const bool sequential = plan.settings.operation == KOWEN_OPERATION_SEQUENTIAL;
    const auto height = static_cast<uint32_t>(plan.outputHeight);
    const uint32_t mcuRows = (height + kMcuRowHeight - 1) / kMcuRowHeight;
    Run run = {stream, progress, bitmap, sequential ? mcuRows : 0};
    *moduleCode = CallModule(module, setup, bitmap, plan, page, &run);
    if (!progress->Cancelled())
        stream->Finish();
    CheckOutcome(name, *stream, *progress, *moduleCode);
}

} // namespace kowen::host
