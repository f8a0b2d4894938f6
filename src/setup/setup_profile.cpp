// Loads a setup's settings from its profile and keeps them in range.
#include "setup/display_info.h"
#include "setup/limits.h"
#include "setup/setting_store.h"
#include "setup/setup.h"

namespace kowen {

namespace {

constexpr char kDefaultWidthText[] = "6.67";
constexpr char kDefaultHeightText[] = "5.0";

// Kept deliberately: a profile without "Color Format" gives another format than no profile at all.
// Test: LoadProfileTest.MissingColorFormatIsNotTheBuiltInOne.
void LoadCodes(SetupRecord &setup) {
    setup.colorMode = ReadSettingInt(setup, kStringColorMode, KOWEN_COLOR_UNCHANGED);
    setup.sizeMode = ReadSettingInt(setup, kStringSizeMode, KOWEN_SIZE_FROM_PICTURE);
    setup.resolutionMode =
        ReadSettingInt(setup, kStringResolutionMode, KOWEN_RESOLUTION_FROM_PICTURE);
    setup.colorFormat = ReadSettingInt(setup, kStringColorFormat, KOWEN_FORMAT_RGB444);
    setup.operation = ReadSettingInt(setup, kStringOperation, KOWEN_OPERATION_SEQUENTIAL);
    setup.qualityMode = ReadSettingInt(setup, kStringQualityMode, KOWEN_QUALITY_FIXED);
    setup.lineMode = ReadSettingInt(setup, kStringLineMode, KOWEN_LINE_DEFAULT);
}

// A quality mode that is neither leaves the quality as it was.
void LoadQuality(SetupRecord &setup) {
    if (setup.qualityMode == KOWEN_QUALITY_FIXED) {
        setup.quality = kDefaultQuality;
    } else if (setup.qualityMode == KOWEN_QUALITY_USER) {
        setup.quality =
            static_cast<int16_t>(ReadSettingInt(setup, kStringQuality, kDefaultQuality));
        QualityCheck();
    }
}

void LoadResolution(SetupRecord &setup) {
    JpegHeaderState &header = setup.header;
    if (setup.resolutionMode == KOWEN_RESOLUTION_FROM_PRINTER && setup.printerAvailable == 0)
        setup.resolutionMode = KOWEN_RESOLUTION_FROM_DISPLAY;
    if (setup.resolutionMode == KOWEN_RESOLUTION_FROM_DISPLAY) {
        GetDisplayInfo(nullptr, nullptr, &header.xResolution, &header.yResolution);
    } else if (setup.resolutionMode == KOWEN_RESOLUTION_FROM_PRINTER) {
        GetPrinterInfo(nullptr, nullptr, &header.xResolution, &header.yResolution);
    } else {
        header.xResolution =
            static_cast<int16_t>(ReadSettingInt(setup, kStringXResolution, kDefaultResolution));
        header.yResolution =
            static_cast<int16_t>(ReadSettingInt(setup, kStringYResolution, kDefaultResolution));
    }
}

void LoadSize(SetupRecord &setup) {
    if (setup.sizeMode == KOWEN_SIZE_FROM_PRINTER && setup.printerAvailable == 0)
        setup.sizeMode = KOWEN_SIZE_FROM_DISPLAY;
    if (setup.sizeMode == KOWEN_SIZE_FROM_DISPLAY) {
        GetDisplayInfo(&setup.width, &setup.height, nullptr, nullptr);
    } else if (setup.sizeMode == KOWEN_SIZE_FROM_PRINTER) {
        GetPrinterInfo(&setup.width, &setup.height, nullptr, nullptr);
    } else {
        setup.width = ReadSettingInches(setup, kStringWidth, kDefaultWidthText);
        setup.height = ReadSettingInches(setup, kStringHeight, kDefaultHeightText);
        LimitCheck();
    }
}

bool LimitResolution(int16_t *dotsPerInch) {
    if (ResolutionIsValid(*dotsPerInch))
        return false;
    *dotsPerInch = kDefaultResolution;
    return true;
}

bool LimitInches(double *inches, double fallback) {
    if (InchesAreValid(*inches))
        return false;
    *inches = fallback;
    return true;
}

} // namespace

int32_t LoadProfile(uint32_t /*ignored*/) noexcept {
    if (!lpRaster)
        return 0;
    SetupRecord &setup = *lpRaster;
    if (ReadSettingText(setup, kStringDriver, "", setup.driverName, kDriverNameBytes) == 0)
        return 0;
    LoadCodes(setup);
    LoadQuality(setup);
    LoadResolution(setup);
    LoadSize(setup);
    return 1;
}

int32_t SaveProfile() noexcept {
    return 1;
}

int32_t LimitCheck() noexcept {
    if (!lpRaster)
        return 0;
    int32_t result = 0;
    if (LimitResolution(&lpRaster->header.xResolution))
        result = kRangeResolution;
    if (LimitResolution(&lpRaster->header.yResolution))
        result = kRangeResolution;
    if (LimitInches(&lpRaster->width, kDefaultWidth))
        result = kRangeSize;
    if (LimitInches(&lpRaster->height, kDefaultHeight))
        result = kRangeSize;
    return result;
}

int32_t QualityCheck() noexcept {
    if (!lpRaster || QualityIsValid(lpRaster->quality))
        return 0;
    lpRaster->quality = kDefaultQuality;
    return kRangeResolution;
}

} // namespace kowen
