// JPEG, by libjpeg.
#pragma once

#include "readers/byte_input.h"
#include "readers/source.h"

namespace kowen::cli {

/// Reads what stands before the pixels. The first bytes of `input` are a JPEG's. Pictures in inks
/// (CMYK) come out in sRGB: by their colour profile, without one as screens do it.
std::unique_ptr<Source> OpenJpeg(std::unique_ptr<ByteInput> input, const ReadOptions &options);

} // namespace kowen::cli
