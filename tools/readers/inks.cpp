#include "readers/inks.h"

#include <lcms2.h>

namespace kowen::cli {
namespace {

constexpr unsigned kFull = 255;

struct CloseProfile {
    void operator()(void *profile) const { cmsCloseProfile(profile); }
};

uint8_t Product(unsigned ink, unsigned black) {
    return static_cast<uint8_t>((ink * black + kFull / 2) / kFull);
}

} // namespace

Inks::Inks(std::span<const uint8_t> profile) {
    if (profile.empty())
        return;
    const std::unique_ptr<void, CloseProfile> from(
        cmsOpenProfileFromMem(profile.data(), static_cast<cmsUInt32Number>(profile.size())));
    if (!from || cmsGetColorSpace(from.get()) != cmsSigCmykData)
        return;
    const std::unique_ptr<void, CloseProfile> screen(cmsCreate_sRGBProfile());
    transform = cmsCreateTransform(from.get(), TYPE_CMYK_8_REV, screen.get(), TYPE_RGB_8,
                                   INTENT_PERCEPTUAL, cmsFLAGS_BLACKPOINTCOMPENSATION);
}

Inks::~Inks() {
    if (transform != nullptr)
        cmsDeleteTransform(transform);
}

void Inks::ToRgb(const uint8_t *inks, size_t pixels, uint8_t *rgb) const {
    if (transform != nullptr) {
        cmsDoTransform(transform, inks, rgb, static_cast<cmsUInt32Number>(pixels));
        return;
    }
    for (size_t i = 0; i < pixels; ++i, inks += kChannels, rgb += 3) {
        for (size_t c = 0; c < 3; ++c)
            rgb[c] = Product(inks[c], inks[3]);
    }
}

std::string Inks::Note() const {
    return transform != nullptr ? "the inks were converted to sRGB by the picture's profile"
                                : "the inks have no colour profile; they were converted roughly";
}

} // namespace kowen::cli
