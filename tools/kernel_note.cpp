#include "kernel_note.h"

#include "option_check.h"
#include "selftest/variants.h"

#include <algorithm>
#include <cstdlib>

namespace kowen::cli {
namespace {

const char *WantedKernels() {
    const char *wanted = std::getenv("KOWEN_KERNELS");
    return wanted != nullptr ? wanted : "";
}

} // namespace

KernelChoice KernelsOf(const Module &module) {
    KernelChoice choice;
    choice.variants = VariantsOf(module.Path());
    if (choice.variants.empty())
        return choice;
    const auto found = std::find(choice.variants.begin(), choice.variants.end(), WantedKernels());
    choice.named = found != choice.variants.end();
    choice.used = choice.named ? *found : choice.variants.back();
    return choice;
}

std::string ListOf(const KernelChoice &choice) {
    std::string list;
    for (const std::string &variant : choice.variants)
        list += (list.empty() ? "" : ", ") + variant;
    return list;
}

void NoteKernels(const CommonOptions &options, const Module &module) {
    if (*WantedKernels() == '\0')
        return;
    const KernelChoice choice = KernelsOf(module);
    if (!choice.used.empty() && !choice.named)
        PrintNote(options, std::string("KOWEN_KERNELS is '") + WantedKernels() +
                               "', which is no variant here; " + choice.used + " is used, of " +
                               ListOf(choice));
}

} // namespace kowen::cli
