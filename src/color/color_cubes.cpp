#include "color/color_cubes.h"

#include "color/color_lists.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr int kCubeBits = 6; // of each channel that name a cube

// Places are odd, and begin one byte behind a cache line, so that a cube's choices fill one line.
// There is room for those of all cubes and of one more, which turns out to be alike. Memory that is
// not used is never touched.
constexpr uint32_t kUnclearedMemory = 2; // movable

constexpr uint32_t kLine = 64;
constexpr uint32_t kFirstPlace = kLine - 1;
constexpr uint32_t kChoices = kFirstPlace + (kCubes + 1) * kCubeColors;

// Greys have entries of their own.
void ChooseGreys(const NearestFinder &finder, const uint8_t low[3], uint8_t *indices) noexcept {
    for (uint32_t i = 0; i < kCubeColors; ++i) {
        const uint32_t red = low[0] + (i & 3), green = low[1] + (i >> 2 & 3),
                       blue = low[2] + (i >> 4);
        if (std::max({red, green, blue}) - std::min({red, green, blue}) <= kGreyTolerance)
            indices[i] = static_cast<uint8_t>(finder.greyBySum[red + green + blue]);
    }
}

bool AreAlike(const uint8_t *choices) noexcept {
    uint64_t words[kCubeColors / 8];
    std::memcpy(words, choices, sizeof words);
    const uint64_t first = choices[0] * 0x0101010101010101u;
    uint64_t difference = 0;
    for (uint64_t word : words)
        difference |= word ^ first;
    return difference == 0;
}

void FillPlace(void *owner, uint32_t cube) noexcept {
    auto *cubes = static_cast<ColorCubes *>(owner);
    const uint8_t low[3] = {static_cast<uint8_t>(cube << 2), static_cast<uint8_t>(cube >> 6 << 2),
                            static_cast<uint8_t>(cube >> 12 << 2)};
    uint32_t place = cubes->used;
    uint8_t *const choices = cubes->table.choices + place;
    ActiveColorKernels().fillCube(CandidatesAround(&cubes->lists, low), low, choices);
    if (HasGreys(CubeOf(low, kCubeBits)))
        ChooseGreys(cubes->lists, low, choices);
    uint32_t &alike = cubes->alike[choices[0]];
    const bool areAlike = AreAlike(choices);
    if (areAlike && alike != 0)
        place = alike;
    else
        cubes->used += kCubeColors;
    if (areAlike)
        alike = place;
    cubes->table.places[cube] = place;
}

// The address one byte behind the first line that begins in a block.
uint8_t *BehindALine(uint8_t *block) noexcept {
    return block + kLine - reinterpret_cast<uintptr_t>(block) % kLine + 1;
}

} // namespace

void OpenColorCubes(ColorCubes *cubes, const ColorTable &table, uint64_t searches) noexcept {
    *cubes = {};
    if (searches < kFineSearches || table.count > kCubeEntries)
        return;
    OpenLists(&cubes->lists, table);
    cubes->places = rlGetMemory(sizeof(uint32_t), kCubes);
    cubes->choices = GlobalAlloc(kUnclearedMemory, kLine + 1 + kChoices);
    if (cubes->lists.block == 0 || cubes->places == 0 || cubes->choices == 0)
        return CloseColorCubes(cubes);
    uint8_t *const choices = BehindALine(Lock<uint8_t>(cubes->choices));
    std::memset(choices, 0, kFirstPlace + kCubeColors);
    cubes->used = kFirstPlace;
    cubes->table = {Lock<uint32_t>(cubes->places), choices, cubes, FillPlace};
}

void CloseColorCubes(ColorCubes *cubes) noexcept {
    CloseFinder(&cubes->lists);
    rlFreeNewData(cubes->places);
    rlFreeNewData(cubes->choices);
    *cubes = {};
}

} // namespace kowen
