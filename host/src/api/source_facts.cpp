#include "api/source_facts.h"

#include "stream/exif.h"
#include "stream/metadata.h"

#include <utility>

namespace kowen::host {
namespace {

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

bool HasGreyPixels(const GivenPicture &picture) {
    return picture.format == KOWEN_PIXEL_GREY || picture.format == KOWEN_PIXEL_GREY_ALPHA ||
           (picture.format == KOWEN_PIXEL_BILEVEL && picture.palette == nullptr);
}

// A profile stays only with components of its own kind: a grey one in a grey file of grey pixels,
// one of RGB in a file of colours.
bool FitsTheFile(const GivenPicture &picture, bool greyFile) {
    if (greyFile)
        return IsGreyProfile(picture.icc, picture.iccSize) && HasGreyPixels(picture);
    return IsRgbProfile(picture.icc, picture.iccSize);
}

IccFate FateOf(const GivenPicture &picture, const ExportSettings &settings,
               std::unique_ptr<ColourTransform> *transform) {
    if (picture.iccSize == 0)
        return IccFate::kNone;
    if (settings.asFilter)
        return IccFate::kLeftAlone;
    const bool greyFile = settings.filter.colourFormat == KOWEN_FORMAT_GREY;
    if (settings.keepIcc && FitsTheFile(picture, greyFile) && IccFits(picture.iccSize))
        return IccFate::kKept;
    const bool grey = HasGreyPixels(picture) && IsGreyProfile(picture.icc, picture.iccSize);
    *transform = ColourTransform::Make(picture.icc, picture.iccSize, grey);
    return *transform ? IccFate::kApplied : IccFate::kUnusable;
}

// EXIF speaks of the picture before it is turned.
bool ThumbnailShowsIt(const SourceFacts &facts, const CellPlan &plan) {
    const ExifSize named = SizeInExif(facts.exif);
    const auto width = static_cast<uint32_t>(facts.size.width);
    const auto height = static_cast<uint32_t>(facts.size.height);
    const bool sameSource =
        (named.width == 0 || named.width == width) && (named.height == 0 || named.height == height);
    const bool resized =
        plan.outputWidth != facts.size.width || plan.outputHeight != facts.size.height;
    return sameSource && !resized && !facts.turned && !facts.recoloured;
}

void AddExif(const SourceFacts &facts, const CellPlan &plan, bool wanted, Outcome *outcome,
             std::vector<uint8_t> *segments) {
    if (facts.exif.empty())
        return;
    if (!wanted) {
        outcome->Note(KOWEN_NOTE_EXIF_DROPPED, "the EXIF data was left out");
        return;
    }
    const ExifFit fit = {static_cast<uint32_t>(plan.outputWidth),
                         static_cast<uint32_t>(plan.outputHeight), ThumbnailShowsIt(facts, plan),
                         static_cast<uint32_t>(plan.xDpi), static_cast<uint32_t>(plan.yDpi)};
    const std::vector<uint8_t> exif = FitExif(facts.exif, fit);
    if (exif.empty()) {
        outcome->Note(KOWEN_NOTE_EXIF_DROPPED, "the EXIF data is damaged and was left out");
    } else if (!ExifFits(exif.size())) {
        outcome->Note(KOWEN_NOTE_EXIF_DROPPED,
                      "the EXIF data has " + std::to_string(exif.size()) +
                          " bytes, more than a JPEG's segment holds, and was left out");
    } else {
        AppendExif(exif, segments);
        outcome->notes |= KOWEN_NOTE_EXIF_KEPT;
    }
}

void AddIcc(const SourceFacts &facts, Outcome *outcome, std::vector<uint8_t> *segments) {
    switch (facts.iccFate) {
    case IccFate::kNone:
        break;
    case IccFate::kKept:
        AppendIcc(facts.icc, segments);
        outcome->notes |= KOWEN_NOTE_ICC_KEPT;
        break;
    case IccFate::kApplied:
        outcome->notes |= KOWEN_NOTE_ICC_DROPPED;
        outcome->Note(KOWEN_NOTE_CONVERTED_TO_SRGB,
                      "the colours were converted to sRGB and the colour profile left out");
        break;
    case IccFate::kUnusable:
        outcome->Note(KOWEN_NOTE_ICC_DROPPED,
                      "the colour profile is damaged or for other pixels and was left out; the "
                      "pixels are as they were");
        break;
    case IccFate::kLeftAlone:
        outcome->Note(KOWEN_NOTE_ICC_DROPPED,
                      "the colour profile was left out; the pixels are as they were");
        break;
    }
}

void AddComment(const SourceFacts &facts, bool wanted, Outcome *outcome,
                std::vector<uint8_t> *segments) {
    if (facts.comment.empty())
        return;
    if (wanted && CommentFits(facts.comment.size())) {
        AppendComment(facts.comment, segments);
        outcome->notes |= KOWEN_NOTE_COMMENT_KEPT;
        return;
    }
    outcome->Note(KOWEN_NOTE_COMMENT_DROPPED,
                  wanted ? "the comment is longer than a JPEG's segment and was left out"
                         : "the comment was left out");
}

} // namespace

SourceFacts FactsOf(const GivenPicture &picture, const ExportSettings &settings,
                    std::unique_ptr<ColourTransform> *transform) {
    SourceFacts facts;
    facts.size = UprightSize(picture);
    facts.turned = picture.orientation != 1;
    facts.iccFate = FateOf(picture, settings, transform);
    facts.recoloured =
        facts.iccFate == IccFate::kApplied || settings.filter.colourMode != KOWEN_COLOR_UNCHANGED;
    facts.exif = BytesOf(picture.exif, picture.exifSize);
    if (facts.iccFate == IccFate::kKept)
        facts.icc = BytesOf(picture.icc, picture.iccSize);
    if (picture.comment != nullptr)
        facts.comment = picture.comment;
    return facts;
}

std::vector<uint8_t> MetadataFor(const SourceFacts &facts, const ExportSettings &settings,
                                 const CellPlan &plan, Outcome *outcome) {
    std::vector<uint8_t> segments;
    AddExif(facts, plan, settings.keepExif && !settings.asFilter, outcome, &segments);
    AddIcc(facts, outcome, &segments);
    AddComment(facts, settings.keepComment && !settings.asFilter, outcome, &segments);
    return segments;
}

} // namespace kowen::host
