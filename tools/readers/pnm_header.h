// What stands before the samples of a Netpbm picture.
#pragma once

#include "readers/byte_input.h"

#include <cstdint>
#include <string>

namespace kowen::cli {

struct PnmHeader {
    int type = 0; ///< the digit behind the P
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t maximum = 1; ///< of a sample; 1 to 65535
    uint32_t channels = 1;
    bool alpha = false; ///< the last channel is one
    std::string comment;

    bool Bitmap() const { return type == 1 || type == 4; }
    bool Text() const { return type <= 3; }
};

/// Throws Failure when it is not one, or says a picture without pixels.
PnmHeader ReadPnmHeader(ByteInput *input);

/// The next number of a text picture, behind white space and comments; -1 at the end of the file,
/// -2 where there is something else.
int64_t ReadPnmNumber(ByteInput *input, std::string *comment);

} // namespace kowen::cli
