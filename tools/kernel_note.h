// Which variant of its kernels the filter uses, and what is said of the environment's choice.
#pragma once

#include "options.h"

#include <string>
#include <vector>

namespace kowen::cli {

struct KernelChoice {
    std::vector<std::string> variants; ///< that the module has and this processor runs; or none
    std::string used;                  ///< empty when the module does not say, as kowen-check.so
    bool named = false;                ///< by KOWEN_KERNELS; else it is the processor's best
};

KernelChoice KernelsOf(const Module &module);

/// The variants, a comma between them.
std::string ListOf(const KernelChoice &choice);

/// Prints a note when KOWEN_KERNELS names no variant that the module has and this processor runs:
/// the module takes its own choice then and says nothing.
void NoteKernels(const CommonOptions &options, const Module &module);

} // namespace kowen::cli
