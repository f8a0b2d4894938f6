// Four rows of dithering at a time.
//
// A row depends on the one above it only up to two pixels ahead: once pixel x + 1 of the upper row
// has spread its error, pixel x of the lower row is final. So four rows run side by side, each two
// pixels behind the one above, which gives the processor four independent chains of work instead
// of one. Sums are made in the same order as row by row, so the limits to 0..255 fall the same.
//
// Pass i of a row, i from 0 to width: it takes pixel i, and with its error completes pixel i - 1
// of the row below. The last pixel is not searched and spreads no error; passes width - 1 and
// width only complete the last two pixels below.
#pragma once

#include "color/kernels.h"
#include "color/nearest_finder.h"
#include "color/quick_cells.h"

#include <cstdint>

namespace kowen {

inline constexpr uint32_t kBandRows = 4;

/// Whether a finder serves for colour bands: prepared, with 1 to 256 entries.
bool ServesBands(const NearestFinder &finder) noexcept;

/// What a grey becomes: computed once, since 1-bit pictures have 256 greys at most.
struct GreyChoices {
    uint8_t index[256];    ///< the nearest entry
    int16_t share[256][4]; ///< of its error: s, s - q, s - 2 q and s - 3 q, see DitherRow
};

/// Whether a table has a grey entry, so that greys stay grey; and then what they become.
bool ChooseGreys(GreyChoices *choices, const ColorTable &table) noexcept;

/// Dithers the four rows of a band, or one row with its below[0] and indices[0], as DitherRow does.
/// All rows have one byte, the grey, per pixel.
void DitherGreyBand(const GreyChoices &choices, const DitherBand &band) noexcept;
void DitherGreyRow(const GreyChoices &choices, const DitherBand &band) noexcept;

/// Dithers the four rows of a band as DitherRow dithers one. Where there is no row after the band,
/// below[3] is any row of its width, and carried is of no use afterwards. Rows have 24 bits.
void DitherColorBand(QuickCells *cells, const DitherBand &band) noexcept;

} // namespace kowen
