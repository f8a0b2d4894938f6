// The golden set: small pictures made of integers only, how each is exported, and the digest of the
// file that comes of it on every machine. tests/data/README.md says where the digests are from.
#pragma once

#include "kowen/codes.h"
#include "kowen/records.h"
#include "support/bitmaps.h"

#include <string>
#include <vector>

namespace kowen::golden {

/// Values of a profile's section.
struct Settings {
    int colorFormat = KOWEN_FORMAT_YCC422;
    int operation = KOWEN_OPERATION_SEQUENTIAL;
    int quality = 100;
    int sizeMode = KOWEN_SIZE_FROM_PICTURE;
    int resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    int xResolution = 96;
    int yResolution = 96;
    double width = 6.67; ///< inches
    double height = 5.0;
    bool isInverted = false;
};

enum class Door { kBitmap, kRasterDevice };

struct Export {
    std::string name; ///< of the file, with the settings in it
    Door door;
    TestBitmap bitmap;
    Settings settings;
    CellRecord cell;
    std::string digest; ///< SHA-256 in hexadecimal digits; empty when none is recorded
};

/// All of them, each with its digest.
std::vector<Export> Exports();

} // namespace kowen::golden
