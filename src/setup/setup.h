// The setup record: a user's export settings and the export driver's working fields.
#pragma once

#include "jpeg/header_state.h"
#include "kowen/codes.h"
#include "kowen/records.h"
#include "platform/current_setup.h"

#include <cstdint>
#include <type_traits>

namespace kowen {

inline constexpr int32_t kSetupTextBytes = 144;
inline constexpr int32_t kDriverNameBytes = 13;
inline constexpr int32_t kOutputNameBytes = 4096;

/// Built-in settings. A profile without the key "Color Format" gives KOWEN_FORMAT_RGB444 instead.
inline constexpr int16_t kDefaultResolution = 96;
inline constexpr int16_t kDefaultQuality = 100;
inline constexpr double kDefaultWidth = 6.67;
inline constexpr double kDefaultHeight = 5.0;

/// One zero-filled block of global memory, owned by the host through CreateSetup and DestroySetup.
struct SetupRecord {
    HostCallCount hostCalls; ///< first, where HostCall finds it
    char filterName[kSetupTextBytes];
    char section[kSetupTextBytes];     ///< profile section that holds this setup's keys
    char profilePath[kSetupTextBytes]; ///< empty when no profile was found
    char backupPath[kSetupTextBytes];  ///< written by BackupProfile
    char driverName[kDriverNameBytes]; ///< value of the key "Driver"; terminated if it fits
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

static_assert(std::is_standard_layout_v<SetupRecord>, "HostCall counts in its first member");

/// The setup as the raster driver sees it; set by RASTER_initdvr, cleared by the metafile layer.
extern MemoryHandle hSetup;
extern SetupRecord *lpSetup;

/// Points hRaster and lpRaster at a setup, as every entry does with the setup that it is given.
/// Returns the record, or null for handle 0; lpRaster is null then too.
SetupRecord *BindSetup(MemoryHandle setup) noexcept;

/// Makes a setup from a profile, makes it current and returns its handle, which the caller owns
/// until DestroySetup. Returns 0 when memory is exhausted; hRaster is 0 then and the rest as it
/// was.
///
/// reserved     ignored.
/// profilePath  null or empty: the module's own file name, cut at its first period, and ".ini".
/// section      null or empty: the value of the key "~Mode" in the section named as the module.
/// filterName   null or empty: the module's name in capitals.
///
/// Without a profile file the setup has the defaults, an empty profile path and no filter name.
///
/// Kept deliberately: a section without the key "Driver" leaves zeros, not the defaults.
/// Test: CreateSetupTest.SectionWithoutDriverLeavesZeros.
/// Hardened: texts are bounded by their fields. A path that does not fit is not found, a section
/// that does not fit is in no profile, a filter name is cut.
/// Tests: CreateSetupTest.APathThatDoesNotFitIsNotFound, ...ASectionThatDoesNotFitMatchesNothing
/// and ...AFilterNameThatDoesNotFitIsCut.
MemoryHandle CreateSetup(uint32_t reserved, const char *profilePath, const char *section,
                         const char *filterName) noexcept;

/// Makes a setup current and stores a value of the host in it. Returns 0; -1 for handle 0, then no
/// setup is current.
int32_t EditSetup(MemoryHandle setup, uint32_t value) noexcept;

/// Frees a setup; no setup is current then, and a device that was opened with it has none.
/// Returns 0; 1 for handle 0.
///
/// Hardened: 1, and nothing is freed, from inside a call of the host's that keeps the setup
/// (HostCall). Test: DestroySetupTest.ASetupWhoseExportIsUnderWayStays.
int32_t DestroySetup(MemoryHandle setup) noexcept;

/// Fills a record with the built-in settings and empties its section and paths. Returns 0.
/// The line mode and the filter name stay.
///
/// Kept deliberately: colour format and operation go to the record at lpRaster, the rest to the
/// argument. Test: UseDefaultSettingsTest.FormatAndOperationGoToTheCurrentRecord.
int32_t UseDefaultSettings(SetupRecord *record) noexcept;

/// Reads the settings of the record at lpRaster from its section of its profile.
/// Returns 1; 0 when the section has no key "Driver" (then nothing else is read) or when no setup
/// is current.
///
/// Kept deliberately: a driver name of 13 characters or more fills its field without terminator.
/// Test: LoadProfileTest.LongDriverNameFillsItsField.
/// Kept deliberately: the printer modes 308 and 601 load as the display modes 307 and 600.
/// Test: LoadProfileTest.PrinterResolutionBecomesDisplayResolution, .PrinterSizeBecomesDisplaySize.
/// Kept deliberately: resolutions are range-checked only where width and height are read.
/// Test: LoadProfileTest.DisplaySizeLeavesResolutionsUnchecked.
int32_t LoadProfile(uint32_t ignored) noexcept;

/// Does nothing; returns 1. Settings are persisted one by one, by the escapes.
/// Not on the export path.
int32_t SaveProfile() noexcept;

/// Answers of the range checks: a resolution or the quality, or a width or height, was reset.
inline constexpr int32_t kRangeResolution = -62;
inline constexpr int32_t kRangeSize = -63;

/// Resets resolutions and sizes of the record at lpRaster that are out of range.
/// Returns 0 when nothing was reset, kRangeSize when a width or height was, else kRangeResolution.
int32_t LimitCheck() noexcept;

/// Resets a quality out of range to 100. Returns 0, or kRangeResolution when it did.
int32_t QualityCheck() noexcept;

} // namespace kowen
