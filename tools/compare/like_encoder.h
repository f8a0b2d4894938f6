// libjpeg at the same work as a JPEG that is there.
#pragma once

#include "compare/plain_picture.h"

namespace kowen::cli {

/// Encodes a picture with the quantisation tables, the sampling and the kind (one scan or several)
/// that another JPEG of it has. Throws Failure.
std::vector<uint8_t> EncodeLike(const PlainPicture &picture, const std::vector<uint8_t> &jpeg);

} // namespace kowen::cli
