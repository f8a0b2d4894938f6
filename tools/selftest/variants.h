// The variants of the filter's kernels, one for each instruction set.
#pragma once

#include <string>
#include <vector>

namespace kowen::cli {

/// The variants that a module was built with and that this processor runs, by the names that
/// KOWEN_KERNELS takes; empty when the module does not say. Throws Failure when it cannot be
/// loaded.
std::vector<std::string> VariantsOf(const std::string &modulePath);

} // namespace kowen::cli
