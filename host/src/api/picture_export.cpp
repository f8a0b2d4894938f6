#include "api/picture_export.h"

#include "base/failure.h"
#include "filter/export_run.h"
#include "settings/named_settings.h"

#include <cerrno>
#include <cstdio>
#include <optional>
#include <utility>

namespace kowen::host {
namespace {

constexpr double kHandOverPart = 0.5; // of a call's progress
constexpr double kNotedPercent = 1;   // of the pixels; fewer paler ones are not seen

bool IsGreyFile(const ExportSettings &settings) {
    return settings.filter.colourFormat == KOWEN_FORMAT_GREY;
}

CellPlan PlanOf(const ExportSettings &settings, const SourceSize &size) {
    return settings.asFilter ? PlanFilterCell(settings, size) : PlanExactCell(settings, size);
}

bool Resized(const CellPlan &plan, const SourceSize &size) {
    return plan.outputWidth != size.width || plan.outputHeight != size.height;
}

HeadEdits EditsOf(const PreparedPicture &prepared, const ExportSettings &settings,
                  const CellPlan &plan, Outcome *outcome) {
    HeadEdits edits;
    edits.segments = MetadataFor(prepared.facts, settings, plan, outcome);
    if (settings.asFilter)
        return edits;
    edits.height = static_cast<uint16_t>(plan.outputHeight);
    edits.eightBits = IsGreyFile(settings);
    edits.xDpi = static_cast<uint16_t>(plan.xDpi);
    edits.yDpi = static_cast<uint16_t>(plan.yDpi);
    return edits;
}

void NoteSize(const SourceSize &size, Outcome *outcome) {
    const uint64_t before = static_cast<uint64_t>(size.width) * static_cast<uint64_t>(size.height);
    const uint64_t after = uint64_t{outcome->width} * outcome->height;
    const std::string pixels = std::to_string(size.width) + " x " + std::to_string(size.height) +
                               " became " + std::to_string(outcome->width) + " x " +
                               std::to_string(outcome->height) + " pixels";
    if (after > before)
        outcome->Note(KOWEN_NOTE_ENLARGED, "enlarged: " + pixels);
    else if (after < before)
        outcome->Note(KOWEN_NOTE_REDUCED, "reduced: " + pixels);
}

void NotePixels(const PreparedPicture &prepared, Outcome *outcome) {
    const HandedOver &handed = prepared.handed;
    outcome->clippedPercent = handed.clippedPercent;
    if (handed.clippedPercent >= kNotedPercent) {
        char percent[32];
        std::snprintf(percent, sizeof percent, handed.clippedPercent < 10 ? "%.2g" : "%.0f",
                      handed.clippedPercent);
        outcome->Note(KOWEN_NOTE_COLOURS_CLIPPED,
                      std::string("colours of ") + percent +
                          " % of the pixels come out paler: they are more vivid than the "
                          "filter can give");
    }
    if (handed.flattened)
        outcome->Note(KOWEN_NOTE_FLATTENED, "transparent pixels were put on the background");
    if (prepared.facts.turned)
        outcome->Note(KOWEN_NOTE_TURNED, "the picture was turned upright");
}

void NoteFile(const ExportSettings &settings, const CellPlan &plan, Outcome *outcome) {
    if (plan.dpiMoved)
        outcome->Note(KOWEN_NOTE_RESOLUTION_CLAMPED,
                      "the picture's resolution cannot be stated; the JPEG says " +
                          std::to_string(outcome->xDpi) + " x " + std::to_string(outcome->yDpi) +
                          " dpi");
    if (settings.filter.colourFormat == KOWEN_FORMAT_RGB444)
        outcome->Note(KOWEN_NOTE_UNCOMMON_FILE,
                      "files of the colour format rgb444 code every component as the first one; "
                      "other programs show false colours or nothing");
    else if (settings.asFilter && IsGreyFile(settings))
        outcome->Note(KOWEN_NOTE_UNCOMMON_FILE,
                      "grey files as the filter has them say 24 bits a sample, which most programs "
                      "do not open");
    if (outcome->quality < KOWEN_HOST_MIN_QUALITY)
        outcome->Note(KOWEN_NOTE_UNCOMMON_FILE,
                      "below quality 45 some of the file's quantisers do not fit their byte, which "
                      "shows as patterns in the picture");
}

void TakeFacts(const JpegFacts &facts, Outcome *outcome) {
    outcome->bytes = facts.bytes;
    outcome->width = facts.width;
    outcome->height = facts.height;
    outcome->xDpi = facts.xDpi;
    outcome->yDpi = facts.yDpi;
    outcome->components = facts.components;
    outcome->scans = facts.scans;
}

// One export, whatever it takes.
struct Job {
    const PreparedPicture &prepared;
    const ExportSettings &settings;
    CellPlan plan;
    HeadEdits edits;
    Target *target;
    Progress *progress;
};

JpegFacts RunInto(const Job &job, Sink *sink, bool last, Outcome *outcome) {
    const Bitmap &bitmap = job.prepared.handed.bitmap;
    std::optional<Bitmap> copy;
    if (!last)
        copy.emplace(bitmap.Copy());
    EditedStream stream(sink, job.edits);
    RunExport(job.prepared.module, copy ? *copy : bitmap, job.plan, job.settings.page,
              job.target->Name(), &stream, job.progress, &outcome->moduleCode);
    return stream.Watch().Facts();
}

JpegFacts ExportOnce(const Job &job, bool last, Outcome *outcome) {
    job.progress->BeginPart(kHandOverPart, 1);
    outcome->quality = job.settings.filter.quality;
    const JpegFacts facts = RunInto(job, job.target->Open(job.progress), last, outcome);
    job.target->Commit();
    return facts;
}

// One try at a limit of bytes. False when they do not suffice.
bool Fits(const Job &job, MemorySink *sink, JpegFacts *facts, Outcome *outcome) {
    try {
        *facts = RunInto(job, sink, false, outcome);
        return true;
    } catch (const Failure &failure) {
        if (failure.SystemError() == EFBIG)
            return false;
        throw;
    }
}

// Says how small the picture gets, which is known only by making that file.
[[noreturn]] void FailTooLarge(Job job, Outcome *outcome) {
    job.plan.settings.quality = LowestQuality(job.settings.asFilter);
    MemorySink sink;
    const JpegFacts smallest = RunInto(job, &sink, false, outcome);
    throw Failure(KOWEN_HOST_ERR_LIMIT,
                  "no quality gives a file of at most " + std::to_string(job.settings.maxBytes) +
                      " bytes: the smallest, at quality " +
                      std::to_string(job.plan.settings.quality) + ", has " +
                      std::to_string(smallest.bytes) + "; allow more, or make the picture smaller");
}

// Files grow with the quality, so that halving the range finds the last one that fits; what it
// finds was made and measured.
JpegFacts ExportToFit(const Job &job, Outcome *outcome) {
    const int32_t wanted = job.settings.filter.quality;
    int32_t low = LowestQuality(job.settings.asFilter);
    int32_t high = wanted;
    std::optional<MemorySink> best;
    JpegFacts bestFacts;
    Job attempt = job;
    for (int tries = 0; low <= high; ++tries) {
        const double told = 1 - (1 - kHandOverPart) / (1 << tries);
        job.progress->BeginPart(told, (1 + told) / 2);
        attempt.plan.settings.quality = tries == 0 ? high : (low + high) / 2;
        MemorySink sink(job.settings.maxBytes);
        JpegFacts facts;
        if (Fits(attempt, &sink, &facts, outcome)) {
            low = attempt.plan.settings.quality + 1;
            best.emplace(std::move(sink));
            bestFacts = facts;
            outcome->quality = attempt.plan.settings.quality;
        } else {
            high = attempt.plan.settings.quality - 1;
        }
    }
    if (!best)
        FailTooLarge(job, outcome);
    Sink *sink = job.target->Open(job.progress);
    int failed = sink->Write(best->Data(), best->Size());
    if (failed == 0)
        failed = sink->Finish();
    if (failed == ECANCELED)
        FailCancelled();
    if (failed != 0)
        FailWith(KOWEN_HOST_ERR_OUTPUT, job.target->Name(), failed);
    job.target->Commit();
    if (outcome->quality != wanted)
        outcome->Note(KOWEN_NOTE_QUALITY_LOWERED,
                      "quality " + std::to_string(outcome->quality) + " is the highest that fits " +
                          std::to_string(job.settings.maxBytes) + " bytes");
    return bestFacts;
}

} // namespace

PreparedPicture Prepare(const FilterModule &module, const GivenPicture &picture,
                        const ExportSettings &settings, Progress *progress) {
    CheckTogether(settings);
    std::unique_ptr<ColourTransform> transform;
    SourceFacts facts = FactsOf(picture, settings, &transform);
    const CellPlan plan = PlanOf(settings, facts.size);
    PixelPlan pixels;
    pixels.adjust = !settings.asFilter;
    pixels.resized = Resized(plan, facts.size);
    pixels.greyFile = IsGreyFile(settings);
    pixels.colourMode = settings.filter.colourMode;
    pixels.background = settings.background;
    pixels.toSrgb = transform.get();
    progress->BeginPart(0, kHandOverPart);
    HandedOver handed = HandOver(module, picture, pixels, progress);
    return {module, std::move(facts), settings, std::move(handed)};
}

ExportSettings WithPixelSettings(const ExportSettings &settings, const ExportSettings &pixels) {
    ExportSettings result = settings;
    result.filter.colourFormat = pixels.filter.colourFormat;
    result.filter.colourMode = pixels.filter.colourMode;
    result.background = pixels.background;
    result.keepIcc = pixels.keepIcc;
    result.asFilter = pixels.asFilter;
    return result;
}

void Export(const PreparedPicture &prepared, const ExportSettings &settings, bool last,
            Target *target, Progress *progress, Outcome *outcome) {
    CheckTogether(settings);
    Job job = {prepared, settings, PlanOf(settings, prepared.facts.size), {}, target, progress};
    job.edits = EditsOf(prepared, settings, job.plan, outcome);
    const JpegFacts facts =
        settings.maxBytes == 0 ? ExportOnce(job, last, outcome) : ExportToFit(job, outcome);
    progress->Finish();
    TakeFacts(facts, outcome);
    NoteSize(prepared.facts.size, outcome);
    NotePixels(prepared, outcome);
    NoteFile(settings, job.plan, outcome);
}

} // namespace kowen::host
