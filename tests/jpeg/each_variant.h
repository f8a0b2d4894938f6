// Runs a test with every variant of the kernels that this machine can run.
#pragma once

#include "jpeg/kernels.h"

#include <gtest/gtest.h>

template <typename Run> void WithEachVariant(Run run) {
    for (const kowen::Kernels *const *variant = kowen::AvailableKernels(); *variant != nullptr;
         ++variant) {
        SCOPED_TRACE((*variant)->name);
        kowen::UseKernels(*variant);
        run();
    }
    kowen::UseKernels(nullptr);
}
