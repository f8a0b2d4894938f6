#include "setup/profile_backup.h"

#include "profile/profile_file.h"
#include "setup/setup.h"

#include <cstring>

namespace kowen {

static_assert(kPathBytes <= kSetupTextBytes);

int32_t BackupProfile(SetupRecord *setup) noexcept {
    std::memcpy(setup->backupPath, setup->profilePath, sizeof(setup->backupPath));
    char name[kPathBytes] = {};
    if (QIVGetTempFileName(0, 0, 0, name) != 0)
        std::memcpy(setup->profilePath, name, sizeof(name));
    return 1;
}

void LoadProfileList(uintptr_t, uintptr_t, uintptr_t) noexcept {}

} // namespace kowen
