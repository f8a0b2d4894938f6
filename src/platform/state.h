// The filter's process-wide state: handle and pointer pairs of its working records, and names.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

struct SetupRecord;
struct CommonRecord;
struct EMData;

inline constexpr int32_t kDllNameBytes = 260;

/// The export door's common record. Nothing in the filter makes one, so both stay 0.
extern MemoryHandle hCommon;
extern CommonRecord *lpCommon;

/// The setup as the raster driver sees it; set by RASTER_initdvr, cleared by the metafile layer.
extern MemoryHandle hSetup;
extern SetupRecord *lpSetup;

/// The current setup. Every entry that is given a setup re-points it; everything below the
/// entries reads the settings through it. Null before the first setup and after DestroySetup.
extern MemoryHandle hRaster;
extern SetupRecord *lpRaster;

/// The raster device record, from RASTER_initdvr to RASTER_termdvr.
extern MemoryHandle hEMData;
extern EMData *lpEMData;

extern uint32_t hDLLModule;      ///< first argument of LoadString; never dereferenced
extern uint32_t hAppAnchorBlock; ///< kept for the host interface; never read
extern uint16_t FilterVersion;   ///< kept for the host interface; never read
extern uint16_t FilterID;        ///< kept for the host interface; never read

/// The module's short name; CreateSetup upper-cases it in place.
extern char *szFilter;

/// The module's own path; the host writes it through the table entry "szDLLName".
extern char export_szDLLName[kDllNameBytes];

} // namespace kowen
