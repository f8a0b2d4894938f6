// Linked into the benchmarks' copy of the module, which measures nothing when the machine does not
// have the kernels that KOWEN_KERNELS names; the module itself would take its best ones.
#include "jpeg/kernels.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kowen {
namespace {

void Require(const char *name) {
    for (const Kernels *const *variant = AvailableKernels(); *variant != nullptr; ++variant)
        if (std::strcmp((*variant)->name, name) == 0)
            return;
    std::fprintf(stderr, "KOWEN_KERNELS: this machine has no kernels named %s, but", name);
    for (const Kernels *const *variant = AvailableKernels(); *variant != nullptr; ++variant)
        std::fprintf(stderr, " %s", (*variant)->name);
    std::fputs("\n", stderr);
    std::exit(2);
}

__attribute__((constructor)) void CheckKernels() {
    const char *name = std::getenv("KOWEN_KERNELS");
    if (name != nullptr && *name != '\0')
        Require(name);
}

} // namespace
} // namespace kowen
