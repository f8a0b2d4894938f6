// A picture in another size, smoothly.
#pragma once

#include "readers/plain_rows.h"
#include "resize/resize_choice.h"

namespace kowen::cli {

/// Delivers another source's picture in the size given, as grey or RGB. Smaller pictures are made
/// with a Lanczos kernel of three lobes, larger ones with Mitchell's, by the library zimg, in
/// bands: neither picture is in memory whole. Transparent pixels are put on the background first,
/// so that hidden colours do not bleed into visible ones.
///
/// source  becomes the new one's.
/// size    of the stored picture, before it is turned upright.
std::unique_ptr<Source> ResizePicture(std::unique_ptr<Source> source, const PixelSize &size,
                                      const Rgb &background);

} // namespace kowen::cli
