#include "host/cell_plan.h"

#include "host/error.h"

#include <algorithm>
#include <cmath>

namespace kowen::host {
namespace {

constexpr double kLongestSide = 65535; // pixels, of a frame header
constexpr int kDefaultDpi = 96;
constexpr int kMostDpi = INT16_MAX; // of the cell record
constexpr int kFinerCell = 4;       // cell pixels to one output pixel, at least
constexpr int kNearbyDpi = 64;

struct Size {
    double width;
    double height;
};

struct Dpi {
    int x;
    int y;
};

bool InLimits(int dpi) {
    return dpi >= KOWEN_MIN_RESOLUTION && dpi <= KOWEN_MAX_RESOLUTION;
}

int WholeDpi(double dpi) {
    return static_cast<int>(std::clamp(std::round(dpi), 1.0, double{kMostDpi}));
}

Dpi SourceDpi(const SourceSize &source) {
    if (source.xDpi <= 0 || source.yDpi <= 0)
        return {kDefaultDpi, kDefaultDpi};
    return {WholeDpi(source.xDpi), WholeDpi(source.yDpi)};
}

// What the filter makes of a length in pixels when it reads and writes it at one resolution.
int ThroughInches(int pixels, int dpi) {
    const double inches = static_cast<double>(pixels) / dpi;
    return static_cast<int>(inches * dpi);
}

bool Survives(const Size &size, int dpi) {
    const auto width = static_cast<int>(size.width);
    const auto height = static_cast<int>(size.height);
    return ThroughInches(width, dpi) == width && ThroughInches(height, dpi) == height;
}

// The nearest resolution at which no pixel is lost.
int NearestSurviving(const Size &size, int dpi) {
    for (int step = 0; step <= kNearbyDpi; ++step) {
        for (const int candidate : {dpi + step, dpi - step}) {
            if (candidate > 0 && candidate <= kMostDpi && Survives(size, candidate))
                return candidate;
        }
    }
    return dpi;
}

// A cell of finer pixels that reaches half a pixel past the size, so that truncating what it comes
// to in output pixels gives exactly the size.
CellPlan FinerCell(const Size &size, const Dpi &dpi) {
    const int resolution = std::min(kFinerCell * std::max(dpi.x, dpi.y), kMostDpi);
    CellPlan plan;
    plan.resolution = resolution;
    plan.width = static_cast<int32_t>((size.width + 0.5) * resolution / dpi.x);
    plan.height = static_cast<int32_t>((size.height + 0.5) * resolution / dpi.y);
    plan.resolutionChoice = ResolutionChoice{KOWEN_RESOLUTION_USER, dpi.x, dpi.y};
    return plan;
}

// The picture's inches at the output resolutions; its pixels when it has no inches.
Size PixelsAt(const SourceSize &source, const Dpi &dpi) {
    if (source.xDpi <= 0 || source.yDpi <= 0)
        return {double(source.width), double(source.height)};
    return {std::max(1.0, std::round(source.width * dpi.x / source.xDpi)),
            std::max(1.0, std::round(source.height * dpi.y / source.yDpi))};
}

// The largest size of the picture's proportions in the box, in output pixels.
Size FitBox(const SourceSize &source, const Dpi &dpi, const Extent &box) {
    const Dpi from = SourceDpi(source);
    const double inchesAcross = double(source.width) / from.x;
    const double inchesDown = double(source.height) / from.y;
    const double proportion = inchesAcross * dpi.x / (inchesDown * dpi.y);
    if (box.width > box.height * proportion)
        return {std::max(1.0, std::round(box.height * proportion)), box.height};
    return {box.width, std::max(1.0, std::round(box.width / proportion))};
}

void CheckSize(const Size &size) {
    // A height is made even: 65535 rows would become one more than fits.
    if (size.width <= kLongestSide && size.height < kLongestSide)
        return;
    throw HostError("the result would be " + std::to_string(std::llround(size.width)) + " x " +
                    std::to_string(std::llround(size.height)) +
                    " pixels; a JPEG has at most 65535 x 65534");
}

// The picture as it is, for settings under which the filter does the fitting.
CellPlan PlainCell(const SourceSize &source) {
    const Dpi dpi = SourceDpi(source);
    CellPlan plan;
    plan.width = source.width;
    plan.height = std::max(1, static_cast<int>(std::round(double(source.height) * dpi.x / dpi.y)));
    plan.resolution = dpi.x;
    return plan;
}

// The filter fits the picture into the setup's box or the page.
CellPlan PlanFitting(const Settings &settings, const SourceSize &source) {
    if (settings.UserSize() && settings.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE) {
        const Dpi dpi = {SourceDpi(source).x, SourceDpi(source).x};
        CheckSize(FitBox(source, dpi,
                         {settings.widthInches * dpi.x, settings.heightInches * dpi.y, true}));
    }
    return PlainCell(source);
}

CellPlan PlanFromPage(const SourceSize &source, const Extent *box) {
    if (box != nullptr)
        throw UsageError("a size in pixels needs a resolution: give one with --dpi, the profile "
                         "takes it from the page");
    CheckSize({double(source.width), double(source.height)});
    return PlainCell(source);
}

CellPlan PlanFromPicture(const SourceSize &source, const Extent *box) {
    const Dpi dpi = SourceDpi(source);
    const Size size = box != nullptr ? FitBox(source, dpi, *box)
                                     : Size{double(source.width), double(source.height)};
    CheckSize(size);
    const bool plain = dpi.x == dpi.y && Survives(size, dpi.x);
    if (!plain && InLimits(dpi.x) && InLimits(dpi.y))
        return FinerCell(size, dpi);
    CellPlan plan;
    plan.width = static_cast<int32_t>(size.width);
    plan.height = static_cast<int32_t>(size.height);
    plan.resolution = plain ? dpi.x : NearestSurviving(size, dpi.x);
    return plan;
}

CellPlan PlanAtUserResolution(const Settings &settings, const SourceSize &source,
                              const Extent *box) {
    const Dpi dpi = {settings.xDpi, settings.yDpi};
    const Size size = box != nullptr ? FitBox(source, dpi, *box) : PixelsAt(source, dpi);
    CheckSize(size);
    CellPlan plan = FinerCell(size, dpi);
    plan.resolutionChoice.reset(); // it is what the setup has
    return plan;
}

// The box as the setup's size. Half a pixel more, so that truncating gives the box.
SizeChoice BoxInInches(const Extent &box, const Dpi &dpi) {
    const Extent inches = {(box.width + 0.5) / dpi.x, (box.height + 0.5) / dpi.y, false};
    for (const double side : {inches.width, inches.height}) {
        if (!(side >= KOWEN_MIN_INCHES && side <= KOWEN_MAX_INCHES))
            throw UsageError("with --door raster a size in pixels must come to 0.03125 to 22 "
                             "inches; give a --dpi, or use --door bitmap");
    }
    return {KOWEN_SIZE_USER, inches};
}

} // namespace

CellPlan PlanCell(const Settings &settings, const SourceSize &source, const Extent *box) {
    const bool fromCell = box != nullptr || settings.sizeMode == KOWEN_SIZE_FROM_PICTURE;
    CellPlan plan;
    if (!fromCell)
        plan = PlanFitting(settings, source);
    else if (settings.resolutionMode == KOWEN_RESOLUTION_FROM_DISPLAY)
        plan = PlanFromPage(source, box);
    else if (settings.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE)
        plan = PlanFromPicture(source, box);
    else
        plan = PlanAtUserResolution(settings, source, box);
    plan.sizeFromCell = box != nullptr;
    return plan;
}

CellPlan PlanDevicePicture(const Settings &settings, const SourceSize &source, const Extent *box) {
    PlanCell(settings, source, box); // for what it refuses
    const bool userResolution = settings.UserResolution();
    const int dpi = SourceDpi(source).x;
    CellPlan plan;
    plan.width = source.width;
    plan.height = source.height;
    plan.resolution = dpi;
    if (box != nullptr)
        plan.sizeChoice =
            BoxInInches(*box, userResolution ? Dpi{settings.xDpi, settings.yDpi} : Dpi{dpi, dpi});
    else if (userResolution && source.xDpi <= 0)
        plan.resolution = settings.xDpi;
    else if (settings.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE &&
             settings.sizeMode == KOWEN_SIZE_FROM_PICTURE)
        plan.resolution = NearestSurviving({double(source.width), double(source.height)}, dpi);
    return plan;
}

Page MakePage(const Extent &size, int dpi) {
    const double scale = size.pixels ? 1 : dpi;
    Page page;
    page.width = static_cast<int32_t>(std::round(size.width * scale));
    page.height = static_cast<int32_t>(std::round(size.height * scale));
    page.dpi = static_cast<int16_t>(dpi);
    return page;
}

} // namespace kowen::host
