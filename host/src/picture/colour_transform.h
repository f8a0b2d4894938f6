// Colours of an ICC profile to sRGB.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace kowen::host {

/// A way from a profile's colours to sRGB, relative colorimetric with black point compensation.
class ColourTransform {
public:
    /// The way for pixels of this profile; null when it is damaged, or is for other pixels than
    /// `grey` ones or RGB ones.
    static std::unique_ptr<ColourTransform> Make(const void *icc, size_t size, bool grey);
    ~ColourTransform();
    ColourTransform(const ColourTransform &) = delete;
    ColourTransform &operator=(const ColourTransform &) = delete;

    /// Converts 3-byte pixels in place; of a grey profile's pixels the first byte counts.
    void Apply(uint8_t *rgb, size_t count) const;

private:
    ColourTransform(void *lcmsTransform, bool fromGrey)
        : transform(lcmsTransform), grey(fromGrey) {}

    void *transform;
    bool grey;
};

/// What an ICC profile's header says about it: whether its pixels are grey, or RGB.
bool IsGreyProfile(const void *icc, size_t size);
bool IsRgbProfile(const void *icc, size_t size);

} // namespace kowen::host
