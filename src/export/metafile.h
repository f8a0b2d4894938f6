// Recorded metafiles on the export driver's path. This platform records none: the layer keeps the
// calling shape, and every call answers as if there were nothing to draw.
#pragma once

#include "export/offscreen.h"
#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Takes the export driver's capability reports: setup handle, item, 4, address of a 32-bit
/// value, 0, 0. See ReportCapabilities.
using CapabilityCallback = void (*)(MemoryHandle setup, int32_t item, int32_t size, void *value,
                                    int32_t reserved1, int32_t reserved2);

/// Picture record of DrawPlatformMetafile: a recorded metafile and where it lies.
struct MetafilePicture {
    uintptr_t metafile; ///< from GetMetaFileHandle
    int32_t left;
    int32_t top;
    int32_t right;
    int32_t bottom;
    int32_t unitsPerInch; ///< 0 = not known
    uint32_t cleared[2];
    double extents[4];
    double roundedExtent; ///< a whole number
    uintptr_t word;       ///< the first word that InitPlatformMetafileFilter clears
};

/// Starts the metafile layer for an export. Clears the four cells and answers hostValue1; a layer
/// that records would hand out its callback for ReportCapabilities here.
uintptr_t InitPlatformMetafileFilter(uintptr_t hostValue1, uintptr_t hostValue2,
                                     ExportRecord *exportRecord, uintptr_t *word1,
                                     MemoryHandle *setup, uintptr_t *word2,
                                     CapabilityCallback *callback) noexcept;

/// Ends the metafile layer. filter is what InitPlatformMetafileFilter answered. Returns 0.
int32_t TermPlatformMetafileFilter(uintptr_t filter) noexcept;

/// Returns the recorded metafile: always 0, none.
uintptr_t GetMetaFileHandle() noexcept;

/// Ends a recorded metafile; 0 is ignored. Returns 0.
int32_t DeleteMetaFileHandle(uintptr_t metafile) noexcept;

/// Tells whether the platform has alternative fonts: always 0, no.
int32_t AltFontsAvailable() noexcept;

/// Drawing routine for a recorded metafile; the picture record is a MetafilePicture. It answers
/// the query (in inches when the units per inch are known, else in units) and draws nothing.
uintptr_t DrawPlatformMetafile(int32_t operation, void *record, uintptr_t argument1,
                               uintptr_t argument2) noexcept;

} // namespace kowen
