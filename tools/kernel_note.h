// What is said of the environment's choice of kernels.
#pragma once

#include "options.h"

namespace kowen::cli {

/// Prints a note when KOWEN_KERNELS names no variant that the module has and this processor runs:
/// the module takes its own choice then and says nothing.
void NoteKernels(const CommonOptions &options, const Module &module);

} // namespace kowen::cli
