/**
 * kowen/entries.h - the functions a host calls.
 *
 * A host does not link against the filter: it loads the module, looks up fltLoadPointers by name
 * and finds the entries that have an ordinal in the table which that call hands back. The others,
 * and those of memory.h, it looks up by name. The declarations here document the functions; the
 * ...Function types are what a host casts an address to. docs/host-guide.md has an example.
 *
 * Usable from C99 and C++. Part of kowen.h, which says what holds for all of it.
 */
#ifndef KOWEN_ENTRIES_H
#define KOWEN_ENTRIES_H

#include "codes.h"
#include "memory.h"
#include "records.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Hands out the table of entries: writes entryCount and entries of the record and touches nothing
 * else. The one symbol a host looks up by name. May be called any number of times.
 */
KOWEN_API void fltLoadPointers(EntryPointRecord *record);

/** Returns 0x02000005: version 2.0 in the high 16 bits, release 5 in the low. Ordinal 1005. */
KOWEN_API uint32_t QIVGetFilterVersion(void);

/**
 * Makes a setup: the settings of an export. Ordinal 1001.
 *
 * reserved     ignored.
 * profilePath  INI file to read; null or "" = the module's own name with ".ini". It is looked for
 *              in the directory named by the environment variable INIDIR, then as it stands.
 * section      section to read; null or "" = the value of "~Mode" in section "KOWEN".
 * filterName   null or "" = "KOWEN".
 *
 * The strings are borrowed for the call; each has room for 143 bytes. A longer path is not found,
 * a longer section is in no profile, a longer filter name is cut. Returns the setup's handle,
 * owned by the host until DestroySetup, or 0 when memory is exhausted. Without a profile the setup
 * has the defaults. docs/settings.md lists the keys, their values and the defaults.
 *
 * The new setup is the current one: the last of CreateSetup, EditSetup, ExportCellData and a device
 * door's initialisation decides which setup that is.
 *
 * Kept deliberately: a profile section without the key "Driver" gives a setup of zeros.
 */
KOWEN_API MemoryHandle CreateSetup(uint32_t reserved, const char *profilePath, const char *section,
                                   const char *filterName);

/**
 * Frees a setup. Ordinal 1002. Returns 0, or 1 for handle 0. The handle is void afterwards, and
 * no setup is current, whichever was. From inside a callback of an export or a device that is at
 * work with this setup it returns 1 and frees nothing.
 */
KOWEN_API int32_t DestroySetup(MemoryHandle setup);

/**
 * Makes the setup current and stores a value in it that nothing reads; no dialog is shown.
 * Ordinal 1003. Returns 0; -1 for handle 0, then no setup is current.
 */
KOWEN_API int32_t EditSetup(MemoryHandle setup, uint32_t value);

/**
 * Reads or changes one setting. Ordinal 1004; docs/settings.md lists the codes.
 *
 * code     KOWEN_ESCAPE_...
 * size     bytes of the input value.
 * in       the input value, read only, an int32_t or a double; for KOWEN_ESCAPE_SET_HOST_IO and
 *          KOWEN_ESCAPE_SET_HOST_VALUE the value itself (of the latter the low 32 bits count).
 * out      the output area, written by the getters only. in and out need no alignment.
 * persist  non-zero: setters that can also write the value to the setup's profile section.
 *
 * Returns 1 when the code was handled, 0 for an unknown code, -1 for handle 0 or a rejected
 * value; a rejected value changes nothing. A null in or out where the code needs one is a rejected
 * value. Does not make the setup current.
 *
 * Kept deliberately: KOWEN_ESCAPE_RASTER_QUERY answers for the current setup; without one it
 * writes nothing.
 * Kept deliberately: a persisted width loads as another; see docs/settings.md.
 */
KOWEN_API int32_t EscapeSetup(MemoryHandle setup, int32_t code, uint32_t size, const void *in,
                              void *out, int32_t persist);

/**
 * Exports one bitmap as a JPEG file. Ordinal 1009.
 *
 * outputName  path, borrowed for the call; null or "" makes a memory block instead. When the
 *             setup has a host I/O procedure (KOWEN_ESCAPE_SET_HOST_IO) the name goes to it.
 * bitmap      in/out. resolution, targetWidth and targetHeight are overwritten from cell.
 *             palette and pixels stay the host's; pixels may be changed, see below.
 * cell        in. Target and page in pixels, resolution in dots per inch.
 * host        in. Names the setup and the export record; both must outlive the call.
 *
 * Returns 0; KOWEN_ERR_SETUP (22) for a setup handle of 0; KOWEN_ERR_OUTPUT (303) when the output
 * could not be opened, then nothing was written. From inside a callback of an export or a device
 * that is at work with this setup it returns 303 as well. Calls back the export record's status
 * callback after each band, with the percentage done.
 *
 * Memory output: on return the export record's memoryBlock names the block, which the host frees
 * with GlobalFree. Its content is the JPEG, one byte 255, zeros to the end: the JPEG's length is
 * the index of the last byte that is not 0. A finished JPEG ends with the bytes FF D9 there.
 *
 * Kept deliberately: a cancelled or failed export returns 0; the file then has no EOI.
 * Kept deliberately: a bitmap that needs no conversion is colour-mapped in the host's memory, so
 * its pixels are changed by the export. A host that needs them afterwards passes a copy.
 */
KOWEN_API int32_t ExportCellData(const char *outputName, BitmapRecord *bitmap,
                                 const CellRecord *cell, const HostRecord *host);

/** A 32-bit device door: see KOWEN_DD_INITIALISE and docs/device.md. */
typedef int32_t (*DeviceDoorFunction)(uint32_t ignored, uint16_t function, void *record);

/**
 * The export driver's short door. Ordinal 1006. Returns 0.
 *
 * function  KOWEN_DOOR_VERSION writes the 32-bit filter version to out, KOWEN_DOOR_ADDRESS the
 *           address of the 32-bit door (a DeviceDoorFunction); any other does nothing.
 */
KOWEN_API int32_t dd_entry(int16_t function, void *out, int16_t ignored);

/** The raster driver's short door, as dd_entry. Ordinal 1008. */
KOWEN_API int32_t RASTER_dd_entry(int16_t function, void *out, int16_t ignored);

/**
 * Tells whether the raster device would run a request now: 2 = supported, 0 = not. The answer
 * depends on the device's state. primitive counts for opcode 1034 only.
 */
KOWEN_API int32_t InquireSupport(int32_t opcode, int32_t primitive);

/** Stores the display's size in pixels and its resolutions in dots per inch; 0 = not known. */
KOWEN_API void SetDisplayInfo(double width, double height, int16_t xResolution,
                              int16_t yResolution);

/** Stores the printer's size, in the host's units, and resolutions in dots per inch. */
KOWEN_API void SetPrinterInfo(double width, double height, int16_t xResolution,
                              int16_t yResolution);

/**
 * Tells the display's size in inches and its resolutions. Each pointer may be null. Returns 0.
 * The environment variable DISPLAYINFO ("1024x768x72x72") overrides what was stored.
 */
KOWEN_API int32_t GetDisplayInfo(double *width, double *height, int16_t *xResolution,
                                 int16_t *yResolution);

/** Tells the stored printer values unchanged. Each pointer may be null. Returns 0. */
KOWEN_API int32_t GetPrinterInfo(double *width, double *height, int16_t *xResolution,
                                 int16_t *yResolution);

/** Caps the longer side of a size in inches at 22, keeping the ratio. Returns 0. A null pointer
 * makes it do nothing. */
KOWEN_API int32_t ScaleImageSize(double *width, double *height);

typedef void (*LoadPointersFunction)(EntryPointRecord *record);
typedef uint32_t (*GetFilterVersionFunction)(void);
typedef MemoryHandle (*CreateSetupFunction)(uint32_t reserved, const char *profilePath,
                                            const char *section, const char *filterName);
typedef int32_t (*DestroySetupFunction)(MemoryHandle setup);
typedef int32_t (*EditSetupFunction)(MemoryHandle setup, uint32_t value);
typedef int32_t (*EscapeSetupFunction)(MemoryHandle setup, int32_t code, uint32_t size,
                                       const void *in, void *out, int32_t persist);
typedef int32_t (*ExportCellDataFunction)(const char *outputName, BitmapRecord *bitmap,
                                          const CellRecord *cell, const HostRecord *host);
typedef int32_t (*ShortDoorFunction)(int16_t function, void *out, int16_t ignored);
typedef int32_t (*InquireSupportFunction)(int32_t opcode, int32_t primitive);
/** Of SetDisplayInfo and SetPrinterInfo. */
typedef void (*SetDisplayInfoFunction)(double width, double height, int16_t xResolution,
                                       int16_t yResolution);
/** Of GetDisplayInfo and GetPrinterInfo. */
typedef int32_t (*GetDisplayInfoFunction)(double *width, double *height, int16_t *xResolution,
                                          int16_t *yResolution);
typedef int32_t (*ScaleImageSizeFunction)(double *width, double *height);

#ifdef __cplusplus
} /* extern "C" */
#endif

#endif /* KOWEN_ENTRIES_H */
