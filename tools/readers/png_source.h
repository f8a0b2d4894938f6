// PNG, by libpng.
#pragma once

#include "readers/byte_input.h"
#include "readers/source.h"

namespace kowen::cli {

/// Reads what stands before the pixels. The first bytes of `input` are PNG's signature. The rows of
/// an interlaced picture are read at once and kept.
std::unique_ptr<Source> OpenPng(std::unique_ptr<ByteInput> input, const ReadOptions &options);

} // namespace kowen::cli
