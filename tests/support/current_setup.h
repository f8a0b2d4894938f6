// A setup that is current as long as the object lives.
#pragma once

#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "setup/setup.h"

#include <cstdint>

class CurrentSetup {
public:
    explicit CurrentSetup(int32_t colorFormat = KOWEN_FORMAT_YCC422,
                          int32_t operation = KOWEN_OPERATION_SEQUENTIAL, int16_t quality = 75)
        : handle_(kowen::GlobalAlloc(kowen::kGlobalFlags, sizeof(kowen::SetupRecord))) {
        kowen::lpRaster = kowen::Lock<kowen::SetupRecord>(handle_);
        kowen::hRaster = handle_;
        kowen::SetupRecord *setup = kowen::lpRaster;
        setup->colorFormat = colorFormat;
        setup->operation = operation;
        setup->quality = quality;
        setup->qualityMode = KOWEN_QUALITY_USER;
        setup->sizeMode = KOWEN_SIZE_FROM_PICTURE;
        setup->resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
        setup->header.xResolution = 96;
        setup->header.yResolution = 96;
        setup->header.componentCount = static_cast<uint8_t>(Components(colorFormat));
        setup->width = 6.67;
        setup->height = 5.0;
    }
    ~CurrentSetup() {
        kowen::GlobalFree(handle_);
        kowen::hRaster = 0;
        kowen::lpRaster = nullptr;
    }
    CurrentSetup(const CurrentSetup &) = delete;
    CurrentSetup &operator=(const CurrentSetup &) = delete;

    kowen::SetupRecord *operator->() const { return kowen::lpRaster; }
    MemoryHandle Handle() const { return handle_; }

    static int Components(int32_t colorFormat) {
        if (colorFormat == KOWEN_FORMAT_GREY)
            return 1;
        return colorFormat == KOWEN_FORMAT_YCC422 || colorFormat == KOWEN_FORMAT_RGB444 ? 3 : 0;
    }

private:
    MemoryHandle handle_;
};
