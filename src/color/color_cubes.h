// Searches in a table of up to 256 colours for whole rows of pixels: two look-ups a pixel.
//
// The colour cube is cut into cubes of 4 x 4 x 4 colours. The first pixel of a cube has the nearest
// entries of all its colours found, 64 bytes. Where they are the same, as they are in most cubes,
// the cube shares the bytes with others, so that few bytes are looked at over and over. When memory
// is exhausted, all cubes begin anew.
#pragma once

#include "color/nearest_finder.h"

#include <cstdint>

namespace kowen {

/// Most entries of a table: an index is a byte.
inline constexpr uint32_t kCubeEntries = 256;

/// Opened, used and closed within one call of the library; it stays where it is in between.
struct ColorCubes {
    CubeTable table; ///< places is null when the cubes do not serve
    NearestFinder lists;
    MemoryHandle places; ///< the blocks of what table points to
    MemoryHandle choices;
    uint32_t used; ///< of choices, in bytes
    uint32_t room;
    uint32_t alike[256]; ///< the place of 64 choices of one entry; 0 for none
};

/// Prepares cubes for about searches searches in a table, borrowed until CloseColorCubes. They do
/// not serve for few searches, for a table that is too large, or when memory is exhausted.
void OpenColorCubes(ColorCubes *cubes, const ColorTable &table, uint64_t searches) noexcept;

/// Frees what OpenColorCubes took.
void CloseColorCubes(ColorCubes *cubes) noexcept;

inline bool ServesPixels(const ColorCubes &cubes) noexcept {
    return cubes.table.places != nullptr;
}

/// Writes what rlNearestRGBIndex returns for count pixels of 24 bits.
inline void FindInCubes(ColorCubes *cubes, const uint8_t *pixels, uint32_t count,
                        uint8_t *indices) noexcept {
    ActiveColorKernels().lookUpColors(&cubes->table, pixels, count, indices);
}

} // namespace kowen
