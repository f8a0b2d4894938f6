// The setups that the host has, and which one is current.
#pragma once

#include "calls.h"
#include "kowen/kowen.h"

namespace kowen::check {

/// "setup 1", "ended setup", "unknown handle", "0".
std::string DescribeSetup(MemoryHandle setup);

/// Reports a handle that is no setup's; the call does not pass then unless the handle is 0.
void RequireSetup(Call &call, MemoryHandle setup);

bool IsSetup(MemoryHandle setup);

/// Reports a setup that draws nothing, for the profile that it was made from.
void RequireDriver(const Call &call, MemoryHandle setup);

MemoryHandle CurrentSetup();
void MakeCurrent(MemoryHandle setup);

/// The host's I/O procedure of a setup; null for none and for no setup.
HostIoProcedure ProcedureOf(MemoryHandle setup);
void SetProcedure(MemoryHandle setup, HostIoProcedure procedure);

/// Reports the setups that are left.
void ReportSetupsLeft();

/// The exported functions, checked.
MemoryHandle CheckedCreateSetup(uint32_t reserved, const char *profilePath, const char *section,
                                const char *filterName);
int32_t CheckedDestroySetup(MemoryHandle setup);
int32_t CheckedEditSetup(MemoryHandle setup, uint32_t value);

constexpr size_t kModuleNameBytes = 260;

/// What the host writes the module's path to.
extern char moduleName[kModuleNameBytes];

} // namespace kowen::check
