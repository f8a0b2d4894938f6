#include "setup/setup.h"

#include "io/file_handle.h"
#include "platform/global_memory.h"
#include "platform/text.h"
#include "profile/profile_file.h"
#include "setup/identity.h"
#include "setup/setting_store.h"

#include <cstdio>
#include <cstring>

namespace kowen {

MemoryHandle hSetup = 0;
SetupRecord *lpSetup = nullptr;

namespace {

constexpr char kProfileExtension[] = ".ini";
constexpr char kDefaultDriverSuffix[] = ".1";

static_assert(kSetupTextBytes == kPathBytes);

using SetupText = char[kSetupTextBytes];

bool IsGiven(const char *text) {
    return text && text[0] != '\0';
}

// False leaves the field alone: the text does not fit with its terminator.
bool CopyWhole(SetupText &field, const char *text) {
    const std::size_t bytes = std::strlen(text) + 1;
    if (bytes > sizeof field)
        return false;
    std::memcpy(field, text, bytes);
    return true;
}

void CopyCut(SetupText &field, const char *text) {
    std::snprintf(field, sizeof field, "%s", text);
}

// The host may have filled the whole buffer, terminator left out.
struct ModulePath {
    char text[kDllNameBytes + 1];

    ModulePath() {
        std::memcpy(text, export_szDLLName, kDllNameBytes);
        text[kDllNameBytes] = '\0';
    }
};

// The module's file name up to its first period: "/opt/kowen.so.2" gives "kowen.ini".
bool NameProfileAfterModule(SetupText &field, const ModulePath &module) {
    char name[kDllNameBytes + sizeof kProfileExtension];
    s_getname(name, module.text);
    std::strcpy(name + std::strcspn(name, "."), kProfileExtension);
    return CopyWhole(field, name);
}

bool FindProfile(SetupRecord &setup, const char *profilePath) {
    const ModulePath module;
    const bool named = IsGiven(profilePath) ? CopyWhole(setup.profilePath, profilePath)
                                            : NameProfileAfterModule(setup.profilePath, module);
    return named && GetProfileDirectory(setup.profilePath, module.text) == 0;
}

// Reading finds nothing in an empty section, which is also what becomes of a name that does not
// fit.
void ChooseSection(SetupRecord &setup, const char *section) {
    if (IsGiven(section)) {
        CopyWhole(setup.section, section);
        return;
    }
    char key[kStringBytes];
    LoadString(hDLLModule, kStringMode, key, kStringBytes);
    const int32_t length = GetPrivateProfileString(szFilter, key, "", setup.section,
                                                   kSetupTextBytes, setup.profilePath);
    if (length >= kSetupTextBytes)
        setup.section[0] = '\0';
}

void ReadSetup(SetupRecord &setup, const char *section, const char *filterName) {
    CopyCut(setup.filterName, IsGiven(filterName) ? filterName : szFilter);
    ChooseSection(setup, section);
    LoadProfile(1);
}

} // namespace

SetupRecord *BindSetup(MemoryHandle setup) noexcept {
    hRaster = setup;
    lpRaster = Lock<SetupRecord>(setup);
    return lpRaster;
}

MemoryHandle CreateSetup(uint32_t /*reserved*/, const char *profilePath, const char *section,
                         const char *filterName) noexcept {
    hRaster = GlobalAlloc(kGlobalFlags, sizeof(SetupRecord));
    if (hRaster == 0)
        return 0;
    SetupRecord &setup = *BindSetup(hRaster);
    strupr(szFilter);
    if (FindProfile(setup, profilePath))
        ReadSetup(setup, section, filterName);
    else
        UseDefaultSettings(&setup);
    GlobalUnlock(hRaster);
    return hRaster;
}

int32_t EditSetup(MemoryHandle setup, uint32_t value) noexcept {
    SetupRecord *record = BindSetup(setup);
    if (!record)
        return -1;
    record->editValue = value;
    return 0;
}

int32_t DestroySetup(MemoryHandle setup) noexcept {
    if (!BindSetup(setup))
        return 1;
    // A callback cannot take away the setup whose export called it.
    if (lpRaster->hostCalls.underway != 0)
        return 1;
    // Hardened: a device that its host closes later does not find the freed record.
    // Test: DestroySetupTest.ADeviceOfTheSetupHasNoneThen.
    if (lpSetup == lpRaster) {
        hSetup = 0;
        lpSetup = nullptr;
    }
    GlobalUnlock(setup);
    GlobalFree(setup);
    hRaster = 0;
    lpRaster = nullptr;
    return 0;
}

int32_t UseDefaultSettings(SetupRecord *record) noexcept {
    if (lpRaster) {
        lpRaster->colorFormat = KOWEN_FORMAT_YCC422;
        lpRaster->operation = KOWEN_OPERATION_SEQUENTIAL;
    }
    record->section[0] = '\0';
    record->profilePath[0] = '\0';
    record->backupPath[0] = '\0';
    std::snprintf(record->driverName, sizeof record->driverName, "%s%s", szFilter,
                  kDefaultDriverSuffix);
    record->reserved1 = 0;
    record->editValue = 0;
    record->hostValue = 0;
    record->colorMode = KOWEN_COLOR_UNCHANGED;
    record->reserved2 = 0;
    record->sizeMode = KOWEN_SIZE_FROM_PICTURE;
    record->resolutionMode = KOWEN_RESOLUTION_FROM_PICTURE;
    record->qualityMode = KOWEN_QUALITY_FIXED;
    record->quality = kDefaultQuality;
    record->header.xResolution = kDefaultResolution;
    record->header.yResolution = kDefaultResolution;
    record->width = kDefaultWidth;
    record->height = kDefaultHeight;
    return 0;
}

} // namespace kowen
