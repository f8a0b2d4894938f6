// The setup record: a user's export settings and the export driver's working fields.
#pragma once

#include "jpeg/header_state.h"
#include "kowen/codes.h"
#include "kowen/records.h"

#include <cstdint>

namespace kowen {

inline constexpr int32_t kSetupTextBytes = 144;
inline constexpr int32_t kDriverNameBytes = 13;
inline constexpr int32_t kOutputNameBytes = 4096;

/// One zero-filled block of global memory, owned by the host through CreateSetup and DestroySetup.
struct SetupRecord {
    char filterName[kSetupTextBytes];
    char section[kSetupTextBytes];     ///< profile section that holds this setup's keys
    char profilePath[kSetupTextBytes]; ///< empty when no profile was found
    char backupPath[kSetupTextBytes];  ///< written by BackupProfile
    char driverName[kDriverNameBytes]; ///< value of the key "Driver"
    uint32_t reserved1;
    uint32_t editValue; ///< the value given to EditSetup
    uint32_t hostValue; ///< parked by escape 25, answered by escape 26
    int32_t colorMode;
    uint32_t reserved2;
    int32_t lineMode;
    char outputName[kOutputNameBytes];
    int32_t sizeMode;
    int32_t resolutionMode;
    int32_t colorFormat;
    int32_t qualityMode;
    int32_t operation;
    double width;             ///< inches
    double height;            ///< inches
    JpegHeaderState header;   ///< holds the x and y resolution settings
    int16_t quality;          ///< 1 to 100
    int32_t printerAvailable; ///< nothing sets it, so it stays 0

    // Working fields of an export.
    HostIoProcedure ioProcedure; ///< set by escape 81; non-null = the output goes through it
    ExportRecord *exportRecord;  ///< the host's; valid during one export only
    uintptr_t exportHostValue;   ///< copied from the export record by initdvr
    uintptr_t metafileFilter;    ///< result of InitPlatformMetafileFilter
    uintptr_t metafileWord1;     ///< cleared by InitPlatformMetafileFilter
    uintptr_t metafileWord2;     ///< cleared by InitPlatformMetafileFilter
    double extents[5];           ///< of the metafile, for its picture description
};

MemoryHandle CreateSetup(uint32_t reserved, const char *profilePath, const char *section,
                         const char *filterName) noexcept;
int32_t EditSetup(MemoryHandle setup, uint32_t value) noexcept;
int32_t DestroySetup(MemoryHandle setup) noexcept;
int32_t UseDefaultSettings(SetupRecord *record) noexcept;
int32_t LoadProfile(uint32_t ignored) noexcept;
int32_t SaveProfile() noexcept;
int32_t LimitCheck() noexcept;
int32_t QualityCheck() noexcept;

} // namespace kowen
