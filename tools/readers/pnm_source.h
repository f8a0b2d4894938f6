// Netpbm's formats: P1 to P6, and P7 with its named tuples.
#pragma once

#include "readers/byte_input.h"
#include "readers/source.h"

namespace kowen::cli {

/// Reads the header. The first bytes of `input` are "P1" to "P7".
std::unique_ptr<Source> OpenPnm(std::unique_ptr<ByteInput> input, const ReadOptions &options);

} // namespace kowen::cli
