// Runs a test with every form of the colour kernels that this machine has.
#pragma once

#include "color/kernels.h"

#include <gtest/gtest.h>

template <typename Run> void WithEachColorForm(Run run) {
    for (const kowen::ColorKernels *const *form = kowen::AvailableColorKernels(); *form != nullptr;
         ++form) {
        SCOPED_TRACE((*form)->name);
        kowen::UseColorKernels(*form);
        run();
    }
    kowen::UseColorKernels(nullptr);
}
