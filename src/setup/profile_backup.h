// Profile utilities of the platform off-screen's hosts.
//
// Not on the export path.
#pragma once

#include <cstdint>

namespace kowen {

struct SetupRecord;

/// Keeps the setup's profile path as its backup path and points the profile path at a fresh
/// temporary file. Returns 1. Without a name for that file the profile path stays.
int32_t BackupProfile(SetupRecord *setup) noexcept;

/// Does nothing.
void LoadProfileList(uintptr_t, uintptr_t, uintptr_t) noexcept;

} // namespace kowen
