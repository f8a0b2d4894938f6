#include "api/picture_export.h"

#include "base/failure.h"
#include "filter/export_run.h"

#include <cstdio>

namespace kowen::host {
namespace {

constexpr double kHandOverPart = 0.5; // of a call's progress

bool IsGreyFile(const ExportSettings &settings) {
    return settings.filter.colourFormat == KOWEN_FORMAT_GREY;
}

SourceSize UprightSize(const GivenPicture &picture) {
    SourceSize size = {static_cast<int>(picture.UprightWidth()),
                       static_cast<int>(picture.UprightHeight()), picture.xDpi, picture.yDpi};
    if (picture.Transposed())
        std::swap(size.xDpi, size.yDpi);
    return size;
}

std::vector<uint8_t> BytesOf(const void *data, size_t size) {
    const auto *bytes = static_cast<const uint8_t *>(data);
    return std::vector<uint8_t>(bytes, bytes + size);
}

SourceFacts FactsOf(const GivenPicture &picture) {
    SourceFacts facts;
    facts.size = UprightSize(picture);
    facts.turned = picture.orientation != 1;
    facts.exif = BytesOf(picture.exif, picture.exifSize);
    facts.icc = BytesOf(picture.icc, picture.iccSize);
    if (picture.comment != nullptr)
        facts.comment = picture.comment;
    return facts;
}

CellPlan PlanOf(const ExportSettings &settings, const SourceSize &size) {
    return settings.asFilter ? PlanFilterCell(settings, size) : PlanExactCell(settings, size);
}

bool Resized(const CellPlan &plan, const SourceSize &size) {
    return plan.outputWidth != size.width || plan.outputHeight != size.height;
}

HeadEdits EditsOf(const ExportSettings &settings, const CellPlan &plan) {
    HeadEdits edits;
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
    if (handed.clippedPercent > 0) {
        char percent[32];
        std::snprintf(percent, sizeof percent, "%.2g", handed.clippedPercent);
        outcome->Note(KOWEN_NOTE_COLOURS_CLIPPED,
                      std::string("colours of ") + percent +
                          " % of the pixels are more vivid than the filter can give");
    }
    if (handed.flattened)
        outcome->Note(KOWEN_NOTE_FLATTENED, "transparent pixels were put on the background");
    if (prepared.facts.turned)
        outcome->Note(KOWEN_NOTE_TURNED, "the picture was turned upright");
    if (prepared.facts.converted)
        outcome->Note(KOWEN_NOTE_CONVERTED_TO_SRGB, "the colours were converted to sRGB");
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
    if (settings.filter.quality < 45)
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

} // namespace

PreparedPicture Prepare(const FilterModule &module, const GivenPicture &picture,
                        const ExportSettings &settings, Progress *progress) {
    CheckTogether(settings);
    SourceFacts facts = FactsOf(picture);
    const CellPlan plan = PlanOf(settings, facts.size);
    PixelPlan pixels;
    pixels.adjust = !settings.asFilter;
    pixels.resized = Resized(plan, facts.size);
    pixels.greyFile = IsGreyFile(settings);
    pixels.colourMode = settings.filter.colourMode;
    pixels.background = settings.background;
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
    const CellPlan plan = PlanOf(settings, prepared.facts.size);
    const HeadEdits edits = EditsOf(settings, plan);
    outcome->quality = settings.filter.quality;
    EditedStream stream(target->Open(progress), edits);
    std::optional<Bitmap> copy;
    if (!last)
        copy.emplace(prepared.handed.bitmap.Copy());
    progress->BeginPart(kHandOverPart, 1);
    RunExport(prepared.module, copy ? *copy : prepared.handed.bitmap, plan, settings.page,
              target->Name(), &stream, progress, &outcome->moduleCode);
    target->Commit();
    TakeFacts(stream.Watch().Facts(), outcome);
    NoteSize(prepared.facts.size, outcome);
    NotePixels(prepared, outcome);
    NoteFile(settings, plan, outcome);
}

} // namespace kowen::host
