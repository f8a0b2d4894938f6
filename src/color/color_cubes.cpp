#include "color/color_cubes.h"

#include "color/color_lists.h"
#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr int kBoxBits = 5; // of each channel that name a box of eight cubes

// Places are odd, and begin one byte behind a cache line, so that a cube's choices fill one line.
// There is room for those of all cubes and of one more, which turns out to be alike. Memory that is
// not used is never touched.
// Places are odd, and begin one byte behind a cache line, so that a cube's choices fill one line.
constexpr uint32_t kLine = 64;
constexpr uint32_t kFirstPlace = kLine - 1;

// Room for the choices of a photograph; it doubles up to that for all cubes. One more cube is
// written before it turns out to be alike.
constexpr uint32_t kFirstRoom = kFirstPlace + 16384 * kCubeColors;
constexpr uint32_t kBoxChoices = 9 * kCubeColors;

// Greys have entries of their own.
void ChooseGreys(const NearestFinder &finder, const uint8_t low[3], uint8_t *indices) noexcept {
    for (uint32_t i = 0; i < kCubeColors; ++i) {
        const uint32_t red = low[0] + (i & 3), green = low[1] + (i >> 2 & 3),
                       blue = low[2] + (i >> 4);
        if (std::max({red, green, blue}) - std::min({red, green, blue}) <= kGreyTolerance)
            indices[i] = static_cast<uint8_t>(finder.greyBySum[red + green + blue]);
    }
}

// The address one byte behind the first line that begins in a block.
uint8_t *BehindALine(MemoryHandle block) noexcept {
    auto *const data = Lock<uint8_t>(block);
    return data + kLine - reinterpret_cast<uintptr_t>(data) % kLine + 1;
}

// Takes room bytes for choices and keeps those in use. Returns whether there was memory.
bool TakeRoom(ColorCubes *cubes, uint32_t room) noexcept {
    const MemoryHandle block = GlobalAlloc(kGlobalFlags, kLine + 1 + room);
    if (block == 0)
        return false;
    uint8_t *const choices = BehindALine(block);
    if (cubes->choices != 0)
        std::memcpy(choices, cubes->table.choices, cubes->used);
    rlFreeNewData(cubes->choices);
    cubes->choices = block;
    cubes->table.choices = choices;
    cubes->room = room;
    return true;
}

void BeginAnew(ColorCubes *cubes) noexcept {
    std::memset(cubes->table.places, 0, kCubes * sizeof(uint32_t));
    std::memset(cubes->alike, 0, sizeof cubes->alike);
    cubes->used = kFirstPlace;
}

// Makes room for the choices of a box.
void MakeRoom(ColorCubes *cubes) noexcept {
    if (cubes->room - cubes->used < kBoxChoices && !TakeRoom(cubes, 2 * cubes->room))
        BeginAnew(cubes);
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

// The place of choices that were written behind those in use: their own from now on, or that of
// the same ones.
uint32_t PlaceOfNew(ColorCubes *cubes) noexcept {
    const uint8_t *const choices = cubes->table.choices + cubes->used;
    uint32_t &alike = cubes->alike[choices[0]];
    const bool areAlike = AreAlike(choices);
    if (areAlike && alike != 0)
        return alike;
    const uint32_t place = cubes->used;
    cubes->used += kCubeColors;
    alike = areAlike ? place : alike;
    return place;
}

uint32_t PlaceOfOne(ColorCubes *cubes, uint32_t index) noexcept {
    std::memset(cubes->table.choices + cubes->used, static_cast<int>(index), kCubeColors);
    return PlaceOfNew(cubes);
}

uint32_t PlaceOfCube(ColorCubes *cubes, const NearestCandidate *list, const uint8_t low[3],
                     bool hasGreys) noexcept {
    uint8_t *const choices = cubes->table.choices + cubes->used;
    ActiveColorKernels().fillCube(list, low, choices);
    if (hasGreys)
        ChooseGreys(cubes->lists, low, choices);
    return PlaceOfNew(cubes);
}

// Fills a cube and the seven that make a box of 8 x 8 x 8 with it: pixels come in crowds.
void FillPlaces(void *owner, uint32_t cube) noexcept {
    auto *cubes = static_cast<ColorCubes *>(owner);
    MakeRoom(cubes);
    const uint8_t low[3] = {static_cast<uint8_t>(cube << 2 & 0xF8),
                            static_cast<uint8_t>(cube >> 6 << 2 & 0xF8),
                            static_cast<uint8_t>(cube >> 12 << 2 & 0xF8)};
    const NearestCandidate *list = CandidatesAround(&cubes->lists, low);
    const bool hasGreys = HasGreys(CubeOf(low, kBoxBits));
    const uint32_t one = list->index == 1 && !hasGreys ? PlaceOfOne(cubes, list[1].index) : 0;
    for (uint32_t i = 0; i < 8; ++i) {
        const uint32_t upper[3] = {i & 1, i >> 1 & 1, i >> 2};
        const uint32_t number = (low[0] >> 2 | upper[0]) | (low[1] >> 2 | upper[1]) << 6 |
                                (low[2] >> 2 | upper[2]) << 12;
        uint8_t lowOfCube[3];
        for (int c = 0; c < 3; ++c)
            lowOfCube[c] = static_cast<uint8_t>(low[c] | upper[c] << 2);
        cubes->table.places[number] =
            one != 0 ? one : PlaceOfCube(cubes, list, lowOfCube, hasGreys);
    }
}

} // namespace

void OpenColorCubes(ColorCubes *cubes, const ColorTable &table, uint64_t searches) noexcept {
    *cubes = {};
    if (searches < kFineSearches || table.count > kCubeEntries)
        return;
    OpenLists(&cubes->lists, table);
    cubes->places = rlGetMemory(sizeof(uint32_t), kCubes);
    if (cubes->lists.block == 0 || cubes->places == 0 || !TakeRoom(cubes, kFirstRoom))
        return CloseColorCubes(cubes);
    cubes->used = kFirstPlace;
    cubes->table.places = Lock<uint32_t>(cubes->places);
    cubes->table.owner = cubes;
    cubes->table.fill = FillPlaces;
}

void CloseColorCubes(ColorCubes *cubes) noexcept {
    CloseFinder(&cubes->lists);
    rlFreeNewData(cubes->places);
    rlFreeNewData(cubes->choices);
    *cubes = {};
}

} // namespace kowen
