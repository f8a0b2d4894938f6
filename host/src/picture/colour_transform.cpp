#include "picture/colour_transform.h"

#include <algorithm>
#include <cstring>
#include <lcms2.h>

namespace kowen::host {
namespace {

constexpr size_t kColourSpace = 16; // place of the signature in a profile's header
constexpr size_t kHeaderBytes = 128;
constexpr size_t kPiece = 256; // pixels at a time

struct Close {
    void operator()(void *profile) const { cmsCloseProfile(profile); }
};
using Profile = std::unique_ptr<void, Close>;

bool HasSpace(const void *icc, size_t size, const char *signature) {
    return icc != nullptr && size >= kHeaderBytes &&
           std::memcmp(static_cast<const char *>(icc) + kColourSpace, signature, 4) == 0;
}

void Ignore(cmsContext, cmsUInt32Number, const char *) {}

} // namespace

bool IsGreyProfile(const void *icc, size_t size) {
    return HasSpace(icc, size, "GRAY");
}

bool IsRgbProfile(const void *icc, size_t size) {
    return HasSpace(icc, size, "RGB ");
}

std::unique_ptr<ColourTransform> ColourTransform::Make(const void *icc, size_t size, bool grey) {
    if (size > UINT32_MAX || !(grey ? IsGreyProfile(icc, size) : IsRgbProfile(icc, size)))
        return nullptr;
    // A context of our own: the program's handlers and plug-ins are its business.
    cmsContext context = cmsCreateContext(nullptr, nullptr);
    if (context == nullptr)
        return nullptr;
    cmsSetLogErrorHandlerTHR(context, Ignore);
    cmsHTRANSFORM made = nullptr;
    {
        const Profile from(
            cmsOpenProfileFromMemTHR(context, icc, static_cast<cmsUInt32Number>(size)));
        const Profile to(cmsCreate_sRGBProfileTHR(context));
        if (from && to)
            made = cmsCreateTransformTHR(context, from.get(), grey ? TYPE_GRAY_8 : TYPE_RGB_8,
                                         to.get(), TYPE_RGB_8, INTENT_RELATIVE_COLORIMETRIC,
                                         cmsFLAGS_BLACKPOINTCOMPENSATION | cmsFLAGS_NOCACHE);
    }
    if (made == nullptr) {
        cmsDeleteContext(context);
        return nullptr;
    }
    return std::unique_ptr<ColourTransform>(new ColourTransform(made, grey));
}

ColourTransform::~ColourTransform() {
    cmsContext context = cmsGetTransformContextID(transform);
    cmsDeleteTransform(transform);
    cmsDeleteContext(context);
}

void ColourTransform::Apply(uint8_t *rgb, size_t count) const {
    if (!grey) {
        cmsDoTransform(transform, rgb, rgb, static_cast<cmsUInt32Number>(count));
        return;
    }
    uint8_t greys[kPiece];
    for (size_t first = 0; first < count; first += kPiece) {
        const size_t piece = std::min(kPiece, count - first);
        for (size_t i = 0; i < piece; ++i)
            greys[i] = rgb[(first + i) * 3];
        cmsDoTransform(transform, greys, rgb + first * 3, static_cast<cmsUInt32Number>(piece));
    }
}

} // namespace kowen::host
