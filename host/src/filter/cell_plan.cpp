#include "filter/cell_plan.h"

#include "base/failure.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace kowen::host {
namespace {

constexpr int kLongestSide = 65535; // pixels, of a frame header
constexpr int kMostDensity = 65535; // of a JFIF header
constexpr int kDefaultDpi = 96;
constexpr int kMostDpi = INT16_MAX; // of the cell record
constexpr int kFinerCell = 4;       // cell pixels to one output pixel, at least
constexpr int kNearbyDpi = 64;

// Pixels divided by a power of two and multiplied again are the same pixels.
constexpr int kExactResolution = 64;

// The page of an export that names none.
constexpr Page kFilterPage = {1280, 1078, 96};

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

int WholeDpi(double dpi, int most) {
    return static_cast<int>(std::clamp(std::round(dpi), 1.0, double(most)));
}

Dpi SourceDpi(const SourceSize &source, int most) {
    if (source.xDpi <= 0 || source.yDpi <= 0)
        return {kDefaultDpi, kDefaultDpi};
    return {WholeDpi(source.xDpi, most), WholeDpi(source.yDpi, most)};
}

Page PageOf(const ExportSettings &settings) {
    return settings.page.dpi == 0 ? kFilterPage : settings.page;
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

// The picture's inches at the output resolutions; its pixels when it has no inches.
Size PixelsAt(const SourceSize &source, const Dpi &dpi) {
    if (source.xDpi <= 0 || source.yDpi <= 0)
        return {double(source.width), double(source.height)};
    return {std::max(1.0, std::round(source.width * dpi.x / source.xDpi)),
            std::max(1.0, std::round(source.height * dpi.y / source.yDpi))};
}

// The largest size of the picture's proportions in the box, in output pixels.
Size FitBox(const SourceSize &source, const Dpi &dpi, const Extent &box) {
    const Dpi from = SourceDpi(source, kMostDensity);
    const double inchesAcross = double(source.width) / from.x;
    const double inchesDown = double(source.height) / from.y;
    const double proportion = inchesAcross * dpi.x / (inchesDown * dpi.y);
    const double width = std::min(box.width, box.height * proportion);
    const double height = std::min(box.height, box.width / proportion);
    return {std::max(1.0, std::round(width)), std::max(1.0, std::round(height))};
}

void CheckSize(const Size &size, int mostRows) {
    if (size.width >= 1 && size.height >= 1 && size.width <= kLongestSide &&
        size.height <= mostRows)
        return;
    throw Failure(KOWEN_HOST_ERR_SIZE,
                  "the result would be " + std::to_string(std::llround(size.width)) + " x " +
                      std::to_string(std::llround(size.height)) +
                      " pixels; a JPEG has at most 65535 x " + std::to_string(mostRows));
}

// The box in inches that the settings name: the user's, turned as the picture, or the page.
Extent InchesOf(const ExportSettings &settings, const SourceSize &source) {
    const FilterSettings &filter = settings.filter;
    if (!filter.UserSize()) {
        const Page page = PageOf(settings);
        return {double(page.width) / page.dpi, double(page.height) / page.dpi, false};
    }
    Extent inches = {filter.widthInches, filter.heightInches, false};
    const Dpi dpi = SourceDpi(source, kMostDensity);
    const double across = double(source.width) / dpi.x;
    const double down = double(source.height) / dpi.y;
    const bool apart = (across - down) * (inches.width - inches.height) < 0;
    if (apart && !settings.asFilter)
        std::swap(inches.width, inches.height);
    return inches;
}

Dpi OutputDpi(const ExportSettings &settings, const SourceSize &source) {
    const FilterSettings &filter = settings.filter;
    if (filter.UserResolution())
        return {filter.xDpi, filter.yDpi};
    if (filter.resolutionMode == KOWEN_RESOLUTION_FROM_DISPLAY)
        return {PageOf(settings).dpi, PageOf(settings).dpi};
    return SourceDpi(source, kMostDensity);
}

Size OutputSize(const ExportSettings &settings, const SourceSize &source, const Dpi &dpi) {
    if (settings.box)
        return FitBox(source, dpi, *settings.box);
    if (settings.filter.sizeMode != KOWEN_SIZE_FROM_PICTURE) {
        const Extent inches = InchesOf(settings, source);
        return FitBox(source, dpi, {inches.width * dpi.x, inches.height * dpi.y, true});
    }
    if (settings.filter.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE)
        return {double(source.width), double(source.height)};
    return PixelsAt(source, dpi);
}

// A cell of finer pixels that reaches half a pixel past the size, so that truncating what it comes
// to in output pixels gives exactly the size.
void UseFinerCell(const Size &size, const Dpi &dpi, CellPlan *plan) {
    plan->resolution = std::min(kFinerCell * std::max(dpi.x, dpi.y), kMostDpi);
    plan->width = static_cast<int32_t>((size.width + 0.5) * plan->resolution / dpi.x);
    plan->height = static_cast<int32_t>((size.height + 0.5) * plan->resolution / dpi.y);
    plan->settings.resolutionMode = KOWEN_RESOLUTION_USER;
    plan->settings.xDpi = dpi.x;
    plan->settings.yDpi = dpi.y;
}

// The picture as it is, for settings under which the filter does the fitting.
void UsePlainCell(const SourceSize &source, CellPlan *plan) {
    const Dpi dpi = SourceDpi(source, kMostDpi);
    plan->width = source.width;
    plan->height = std::max(1, static_cast<int>(std::round(double(source.height) * dpi.x / dpi.y)));
    plan->resolution = dpi.x;
}

// Size and resolution from the picture: no pixel may be lost, whatever the resolution.
void UsePictureCell(const Size &size, const Dpi &dpi, CellPlan *plan) {
    const bool plain = dpi.x == dpi.y && Survives(size, dpi.x);
    if (!plain && InLimits(dpi.x) && InLimits(dpi.y)) {
        UseFinerCell(size, dpi, plan);
        return;
    }
    plan->width = static_cast<int32_t>(size.width);
    plan->height = static_cast<int32_t>(size.height);
    plan->resolution = plain ? dpi.x : NearestSurviving(size, dpi.x);
    plan->dpiMoved = plan->resolution != dpi.x || dpi.x != dpi.y;
}

} // namespace

CellPlan PlanExactCell(const ExportSettings &settings, const SourceSize &source) {
    const Dpi dpi = OutputDpi(settings, source);
    const Size size = OutputSize(settings, source, dpi);
    CheckSize(size, kLongestSide);
    CellPlan plan;
    plan.width = plan.outputWidth = static_cast<int32_t>(size.width);
    plan.height = plan.outputHeight = static_cast<int32_t>(size.height);
    plan.resolution = kExactResolution;
    plan.xDpi = dpi.x;
    plan.yDpi = dpi.y;
    plan.dpiMoved = settings.filter.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE &&
                    (source.xDpi >= kMostDensity + 0.5 || source.yDpi >= kMostDensity + 0.5);
    plan.settings = settings.filter;
    plan.settings.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    plan.settings.resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    plan.settings.widthInches = FilterSettings().widthInches;
    plan.settings.heightInches = FilterSettings().heightInches;
    plan.settings.xDpi = plan.settings.yDpi = FilterSettings().xDpi;
    return plan;
}

CellPlan PlanFilterCell(const ExportSettings &settings, const SourceSize &source) {
    const FilterSettings &filter = settings.filter;
    const bool fromCell = settings.box || filter.sizeMode == KOWEN_SIZE_FROM_PICTURE;
    const bool pageDpi = filter.resolutionMode == KOWEN_RESOLUTION_FROM_DISPLAY;
    CellPlan plan;
    plan.settings = filter;
    const Dpi dpi =
        filter.UserResolution() ? Dpi{filter.xDpi, filter.yDpi} : SourceDpi(source, kMostDpi);
    const Size size = OutputSize(settings, source, dpi);
    CheckSize(size, kLongestSide - 1); // a height is made even: 65535 rows become one too many
    if (!fromCell || pageDpi) {
        UsePlainCell(source, &plan);
        return plan;
    }
    plan.settings.sizeMode = KOWEN_SIZE_FROM_PICTURE;
    if (filter.resolutionMode == KOWEN_RESOLUTION_FROM_PICTURE)
        UsePictureCell(size, dpi, &plan);
    else
        UseFinerCell(size, dpi, &plan);
    return plan;
}

} // namespace kowen::host
