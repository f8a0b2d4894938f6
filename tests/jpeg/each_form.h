// Runs a test with every form of the kernels that this machine has.
#pragma once

#include "jpeg/kernels.h"

#include <gtest/gtest.h>

template <typename Run> void WithEachForm(Run run) {
    for (const kowen::Kernels *const *form = kowen::AvailableKernels(); *form != nullptr; ++form) {
        SCOPED_TRACE((*form)->name);
        kowen::UseKernels(*form);
        run();
    }
    kowen::UseKernels(nullptr);
}
