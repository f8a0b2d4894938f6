// Settings read from a profile and saved to it.
#pragma once

#include "faults/scenario.h"

#include <memory>

namespace kowen::test {

enum class ProfileWork {
    kRead,  ///< CreateSetup from a profile
    kSave,  ///< EscapeSetup that saves two settings
    kCreate ///< the first setting of a profile that is not there yet
};

std::unique_ptr<Scenario> MakeProfileScenario(ProfileWork work);

} // namespace kowen::test
