// The bitmap door: one host bitmap exported from end to end.
#pragma once

#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Exports one bitmap; entries.h tells hosts the rest.
///
/// outputName  borrowed for the call; null or empty: memory, or the setup's I/O procedure.
/// bitmap      in/out: its resolution and target size become the cell's, in dots per inch and
///             pixels. Palette and pixels stay the host's; pixels may be changed.
/// cell        the target's and the page's size in pixels, resolutions in dots per inch.
/// host        names the setup, which becomes the current one, and the export record, which is read
///             during the call only.
///
/// Returns KOWEN_OK once the output was opened, however the export ended; KOWEN_ERR_SETUP (22): no
/// host record or no setup in it; KOWEN_ERR_OUTPUT (303): the output could not be opened, the name
/// does not fit, or the setup is being exported; KOWEN_ERR_MEMORY (300): bitmap or cell is null.
/// The memory block of a memory output is the host's, by the export record.
int32_t ExportCellData(const char *outputName, BitmapRecord *bitmap, const CellRecord *cell,
                       const HostRecord *host) noexcept;

} // namespace kowen
