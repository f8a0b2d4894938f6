// Prints which of the kernels this processor gets; scripts/test-processors asks.
#include "jpeg/kernels.h"

#include <cstdio>

int main() {
    std::puts(kowen::ActiveKernels().name);
    return 0;
}
