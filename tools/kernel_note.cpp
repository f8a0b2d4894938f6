#include "kernel_note.h"

#include "option_check.h"
#include "selftest/variants.h"

#include <algorithm>
#include <cstdlib>

namespace kowen::cli {

void NoteKernels(const CommonOptions &options, const Module &module) {
    const char *wanted = std::getenv("KOWEN_KERNELS");
    if (wanted == nullptr || *wanted == '\0')
        return;
    const std::vector<std::string> variants = VariantsOf(module.Path());
    // Without a list, as behind kowen-check.so, nothing is known.
    if (variants.empty() || std::find(variants.begin(), variants.end(), wanted) != variants.end())
        return;
    std::string list;
    for (const std::string &variant : variants)
        list += (list.empty() ? "" : ", ") + variant;
    PrintNote(options, std::string("KOWEN_KERNELS is '") + wanted +
                           "', which is no variant here; " + variants.back() + " is used, of " +
                           list);
}

} // namespace kowen::cli
