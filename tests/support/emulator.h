// Tests of another machine's module run in an emulator, and so must the programs that they start.
#pragma once

#include <string_view>

#ifndef KOWEN_EMULATOR
#define KOWEN_EMULATOR ""
#endif

/// What the command of a built program starts with; "" on the building machine.
inline constexpr std::string_view kEmulator = KOWEN_EMULATOR;
