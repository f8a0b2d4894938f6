// Choices put into a setup through its escapes, and kept in a profile.
#pragma once

#include "host/cell_plan.h"
#include "host/module.h"
#include "host/profile_file.h"

#include <string>

namespace kowen::host {

/// Puts the choices into the setup, each through its escape. The operation and the line mode have
/// none: they reach the module in the profile that the setup is made from.
///
/// persist  the module also writes those values to the setup's profile that it can.
///
/// Throws UsageError when the module does not take a value.
void SetChoices(const Setup &setup, const Choices &choices, bool persist);

/// Sets what a cell plan wants of the setup.
void SetPlan(const Setup &setup, const CellPlan &plan);

/// Puts the choices into a section of the user's profile text. The module decides how the values
/// that it can persist are written; the others, and the marks that make a section count, are
/// written here.
void KeepChoices(const FilterModule &module, const Choices &choices, const std::string &section,
                 ProfileText *profile);

} // namespace kowen::host
