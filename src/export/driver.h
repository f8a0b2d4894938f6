// The export driver: output opened and closed on the device door, progress and cancel.
#pragma once

#include "export/metafile.h"
#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Begins an export: makes the record's setup current, opens the output, fixes the number of
/// colour components and tells the metafile layer what the driver can do.
///
/// record  in: the setup, the output name (null or empty: the host's I/O procedure or else
///         memory), the export record (may be null), two host values. out: the first byte of the
///         output name is cleared; setup takes hSetup, which is 0 on this platform. Both only
///         when the result is 0. The export record must live until termdvr.
///
/// Returns 0; KOWEN_ERR_SETUP (22): no record, or no setup in it; KOWEN_ERR_MEMORY_OUTPUT (21):
/// no block for memory output; KOWEN_ERR_OUTPUT (303): the output could not be opened, or its
/// name does not fit into the setup (4,095 bytes do).
///
/// Hardened: an export that is still open is ended first, as termdvr does, so that its output is
/// closed. Test: InitDvr.EndsAnEarlierExportFirst.
/// Kept deliberately: the block of memory output is not handed to the host; it is freed by
/// termdvr. Test: InitDvr.KeepsTheMemoryBlockToItself.
int32_t initdvr(OpenRecord *record) noexcept;

/// Ends an export: draws the recorded metafile, closes the output, frees what initdvr made.
///
/// Returns KOWEN_ERR_MEMORY (300): there was nothing to draw, or the host cancelled before;
/// KOWEN_ERR_OUTPUT (303): closing failed; else the result of OutputPicture.
/// Kept deliberately: this platform records no metafiles, so a well-run export ends with 300.
/// Test: TermDvr.HasNothingToDrawAndClosesTheOutput.
int32_t termdvr(uint32_t ignored) noexcept;

/// Returns the picture record of a metafile: what the export record and the current setup say of
/// it. Needs a current setup.
///
/// Kept deliberately: of the extents the second and the fourth change places.
/// Test: DescribeMetafileTest.TakesTheExtentsInAnotherOrder.
/// Not on the export path.
MetafilePicture DescribeMetafile(uintptr_t metafile) noexcept;

/// Draws a recorded metafile into the open output; after a cancel during the drawing the output
/// is deleted. Returns KOWEN_ERR_MEMORY (300) when metafile is 0, when no export is open and when
/// the host cancelled before it; else the result of OutputPicture.
int32_t OutputMetafile(uintptr_t metafile) noexcept;

/// Hands the driver's capabilities to a metafile layer's callback, five reports of a 32-bit value
/// each: 1 the colour mode, 2 the fonts, 6 and 5 the lines, 3 the output. Needs a current setup.
void ReportCapabilities(CapabilityCallback callback, MemoryHandle setup) noexcept;

/// Tells the host the progress of the current export, 0 to 100.
/// Returns 0: go on, or KOWEN_ERR_CANCELLED (901): stop, the host has confirmed it.
int32_t UpdateStatus(int32_t percent) noexcept;

} // namespace kowen
