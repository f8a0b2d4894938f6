// Linked into the benchmarks' copy of the module: KOWEN_KERNELS names the variant of the kernels
// that it uses, so that one machine shows what others would do. The module itself reads no such
// thing.
#include "jpeg/kernels.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace kowen {
namespace {

const Kernels *Named(const char *name) {
    for (const Kernels *const *variant = AvailableKernels(); *variant != nullptr; ++variant)
        if (std::strcmp((*variant)->name, name) == 0)
            return *variant;
    std::fprintf(stderr, "KOWEN_KERNELS: this machine has no kernels named %s, but", name);
    for (const Kernels *const *variant = AvailableKernels(); *variant != nullptr; ++variant)
        std::fprintf(stderr, " %s", (*variant)->name);
    std::fputs("\n", stderr);
    std::exit(2);
}

__attribute__((constructor)) void ForceKernels() {
    const char *name = std::getenv("KOWEN_KERNELS");
    if (name != nullptr && *name != '\0')
        UseKernels(Named(name));
}

} // namespace
} // namespace kowen
