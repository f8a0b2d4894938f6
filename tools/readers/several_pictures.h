// Files of several pictures: how many there are and which one is wanted, without decoding them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kowen::cli {

struct SeveralPictures {
    size_t count = 1;  ///< 1 also for formats that are not looked into
    size_t wanted = 0; ///< counted from 0

    /// A sentence for the user; empty for one picture.
    std::string Note() const;
};

/// Of a TIFF the pages that are no previews, of a GIF the frames, of an ICO the sizes, of which the
/// largest is wanted. Never reads outside of `file`; what is behind damage is not counted.
SeveralPictures CountPictures(std::span<const uint8_t> file, const std::string &format);

/// What the head of a WebP says that the picture library does not tell.
bool IsAnimatedWebp(std::span<const uint8_t> file);
bool HasWebpXmp(std::span<const uint8_t> file);

} // namespace kowen::cli
