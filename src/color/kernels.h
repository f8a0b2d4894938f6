// The loops that take the colour library's time, in one form per instruction set.
//
// Every form gives the same bytes. Only the files named after an instruction set are built with its
// flags, and they include nothing that other files share but plain declarations.
#pragma once

#include "platform/instruction_sets.h"

#include <cstdint>

namespace kowen {

inline constexpr uint32_t kMostBandRows = 16;

/// Bytes on both sides of a band's carried row and indices that ditherWave may read and overwrite.
inline constexpr uint32_t kBandSlack = 128;

/// Rows that are dithered side by side, and what they need and give. How many there are is told by
/// who takes it.
struct DitherBand {
    uint32_t width;                      ///< pixels, at least 1
    uint8_t *carried;                    ///< in: the first row, with the errors of the row above.
                                         ///< Out: the row after the band, likewise
    const uint8_t *below[kMostBandRows]; ///< the rows after each, as they are in the picture
    uint8_t *indices[kMostBandRows];     ///< out: the index of each pixel's colour
};

/// Most entries of a table that ditherWave searches.
inline constexpr uint32_t kWaveEntries = 16;

/// An entry that a search looks at. The head of a list has the list's length as index.
struct NearestCandidate {
    uint16_t index;
    uint8_t color[3];
};

/// Colours in a cube of 4 x 4 x 4: numbered red, green, blue from the lowest two bits up. Cubes are
/// numbered likewise, by the upper six bits of each channel.
inline constexpr uint32_t kCubeColors = 64;
inline constexpr uint32_t kCubes = 262144;

/// What is looked up for a pixel: choices[places[cube] + colour].
struct CubeTable {
    uint32_t *places; ///< of cubes, odd numbers; 0 for one that is not filled
    uint8_t *choices; ///< kCubeColors from each place on, and from 0 on
    void *owner;
    /// Gives a cube a place. All others may lose theirs, but seldom: not within a thousand cubes.
    void (*fill)(void *owner, uint32_t cube);
};

struct ColorKernels {
    const char *name;

    /// Counts the colours of a row of 24-bit pixels by ColorKey, in either of two sets of
    /// kColorKeys counts, so that a run of one colour does not wait for its own count.
    void (*countColors)(const uint8_t *row, uint32_t width, uint32_t *counts, uint32_t *others);

    /// Writes the index of the nearest entry of a list for each colour of a cube: the lowest of
    /// equally near ones, 0 when the list is empty. Indices are below 256 and ascend.
    ///
    /// low  the least of the cube's colours.
    void (*fillCube)(const NearestCandidate *list, const uint8_t low[3], uint8_t *indices);

    /// Writes the choices of count 24-bit pixels. Cubes that are not filled get filled.
    void (*lookUpColors)(CubeTable *table, const uint8_t *pixels, uint32_t count, uint8_t *indices);

    /// Rows of a band of ditherWave; 0 when the form has none.
    uint32_t waveRows;
    /// Dithers a band of 24-bit rows as DitherRow dithers one, each row two pixels behind the one
    /// above. Where there is no row after the band, the last of below is any row of its width, and
    /// carried is of no use afterwards. The table has 1 to kWaveEntries entries of 3 bytes.
    void (*ditherWave)(const uint8_t *table, uint32_t entries, const DitherBand &band);
};

/// The kernels for this machine, chosen on first use.
const ColorKernels &ActiveColorKernels() noexcept;

/// Uses one form from here on, for tests and benchmarks; null for the machine's best.
void UseColorKernels(const ColorKernels *form) noexcept;

/// All forms this machine can run, the plain one first; ends with a null pointer.
const ColorKernels *const *AvailableColorKernels() noexcept;

extern const ColorKernels kPlainColorKernels;

/// The plain forms, for what the others have no faster form of, and for row ends.
namespace plain {
void CountColors(const uint8_t *row, uint32_t width, uint32_t *counts, uint32_t *others);
void FillCube(const NearestCandidate *list, const uint8_t low[3], uint8_t *indices);
void LookUpColors(CubeTable *table, const uint8_t *pixels, uint32_t count, uint8_t *indices);
} // namespace plain

#ifdef KOWEN_X86_KERNELS
extern const ColorKernels kAvx2ColorKernels;
extern const ColorKernels kAvx512ColorKernels;
#endif

} // namespace kowen
