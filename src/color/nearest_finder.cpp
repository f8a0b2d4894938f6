#include "color/nearest_finder.h"

#include "color/color_lists.h"

#include <cstring>

namespace kowen {
namespace {

constexpr uint32_t kGreySums = 3 * 255 + 1;
constexpr uint64_t kWorthwhileSearches = 2048;

// Lists and leaves; when either is full, all cells begin anew.
constexpr uint32_t kSpareCandidates = 65536;
constexpr uint32_t kLeavesRoom = 262144;

// Finer cells are worth their building for large tables and pictures.
constexpr uint32_t kFineColors = 32;

// Entries up to which repeated colours are left out of all lists.
constexpr uint32_t kLongList = 256;

// Twice the planes, so that the hash table always has gaps.
constexpr uint32_t kPlaneHashes = 2 * kPlanes;

constexpr uint32_t CubesOf(int bits) noexcept {
    return 1u << 3 * bits;
}

// Adds the list of a box, chosen from a longer list; returns its place.
uint32_t AddList(NearestFinder *finder, const ColorCube &cube,
                 const NearestCandidate *from) noexcept {
    const uint32_t place = finder->candidatesUsed;
    NearestCandidate *list = finder->candidates + place;
    ChooseCandidates(cube, from, list);
    finder->candidatesUsed += 1u + list->index;
    return place;
}

// The list of the smallest box with a list that a colour lies in; lists are added when need be.
const NearestCandidate *ListAround(NearestFinder *finder, const uint8_t color[3]) noexcept {
    uint32_t place = 1;
    for (int i = 0; i < finder->levelCount; ++i) {
        const ListLevel &level = finder->levels[i];
        uint32_t &own = level.lists[CubeNumber(color, level.bits)];
        if (own == 0)
            own = AddList(finder, CubeOf(color, level.bits), finder->candidates + place);
        place = own;
    }
    return finder->candidates + place;
}

void ForgetCells(NearestFinder *finder) noexcept {
    std::memset(finder->cells, 0, CubesOf(finder->cellBits) * sizeof(uint32_t));
    std::memset(finder->leaves, 0, kLeavesRoom * sizeof(uint32_t));
    finder->leavesUsed = 1;
    std::memset(finder->planeOfPair, 0, kPlaneHashes * sizeof(uint16_t));
    finder->planesUsed = 1;
}

void Forget(NearestFinder *finder) noexcept {
    for (int i = 0; i < finder->levelCount; ++i)
        std::memset(finder->levels[i].lists, 0, CubesOf(finder->levels[i].bits) * sizeof(uint32_t));
    finder->candidatesUsed = 2u + finder->candidates[1].index;
    if (finder->cellBits != 0)
        ForgetCells(finder);
    ++finder->beginnings;
}

// Makes room for all that building one leaf may add.
void MakeRoom(NearestFinder *finder) noexcept {
    const uint32_t longest = 1u + finder->candidates[1].index;
    const auto lists = static_cast<uint32_t>(finder->levelCount + 1);
    if (finder->candidatesRoom - finder->candidatesUsed < lists * longest ||
        kLeavesRoom - finder->leavesUsed < 8 || finder->planesUsed == kPlanes)
        Forget(finder);
}

uint32_t SingleLeaf(uint32_t index) noexcept {
    return kLeafPair | index << 8 | index;
}

// |a|^2 - |b|^2 is even where the channels' sums are; halving it rounded down keeps the sign of
// the plane's side, which is 0 for equally near entries.
PairPlane PlaneOf(const NearestCandidate &low, const NearestCandidate &high) noexcept {
    int32_t step[3];
    int32_t norms = 0;
    for (int i = 0; i < 3; ++i) {
        step[i] = low.color[i] - high.color[i];
        norms += high.color[i] * high.color[i] - low.color[i] * low.color[i];
    }
    return {step[0], step[1], step[2], norms >> 1};
}

// The plane of a pair; there is room for a new one.
uint32_t AddPlane(NearestFinder *finder, const NearestCandidate &low,
                  const NearestCandidate &high) noexcept {
    const auto pair = static_cast<uint16_t>(high.index << 8 | low.index);
    uint32_t place = pair * 40503u >> 4;
    for (;; ++place) {
        uint16_t &plane = finder->planeOfPair[place % kPlaneHashes];
        if (plane != 0 && finder->pairOfPlane[plane] != pair)
            continue;
        if (plane == 0) {
            plane = static_cast<uint16_t>(finder->planesUsed++);
            finder->pairOfPlane[plane] = pair;
            finder->planes[plane] = PlaneOf(low, high);
        }
        return plane;
    }
}

uint32_t PairLeaf(NearestFinder *finder, const NearestCandidate &low,
                  const NearestCandidate &high) noexcept {
    return kLeafPair | AddPlane(finder, low, high) << 16 | uint32_t{high.index} << 8 | low.index;
}

// The leaf of a box that was not built; 0 when it is better divided and may be.
uint32_t MakeLeaf(NearestFinder *finder, const ColorCube &cube, const NearestCandidate *from,
                  bool mayDivide) noexcept {
    const uint32_t greys = HasGreys(cube) ? kLeafGreys : 0;
    if (greys != 0 && mayDivide)
        return 0;
    const uint32_t place = AddList(finder, cube, from);
    const NearestCandidate *list = finder->candidates + place;
    if (list->index > 2 || (list->index != 0 && list[list->index].index >= kPairEntries)) {
        if (mayDivide)
            finder->candidatesUsed = place;
        return mayDivide ? 0 : greys | place;
    }
    finder->candidatesUsed = place; // a pair needs no list, and without candidates it is index 0
    if (list->index == 2)
        return greys | PairLeaf(finder, list[1], list[2]);
    return greys | SingleLeaf(list->index != 0 ? list[1].index : 0);
}

// Builds the leaf of a colour; for a new cell, the cell too.
uint32_t BuildLeaf(NearestFinder *finder, const uint8_t color[3]) noexcept {
    MakeRoom(finder);
    const NearestCandidate *list = ListAround(finder, color);
    uint32_t &cell = finder->cells[CubeNumber(color, finder->cellBits)];
    if (cell == 0) {
        const uint32_t leaf = MakeLeaf(finder, CubeOf(color, finder->cellBits), list, true);
        cell = finder->leavesUsed;
        if (leaf != 0)
            return finder->leaves[finder->leavesUsed++] = leaf;
        cell |= kCellDivided;
        finder->leavesUsed += 8;
    }
    const int bit = 7 - finder->cellBits; // that tells the halves of a cell apart
    uint32_t octant = 0;
    for (int i = 0; i < 3; ++i)
        octant = octant << 1 | (color[i] >> bit & 1u);
    return finder->leaves[(cell & kCellLeaf) + octant] =
               MakeLeaf(finder, CubeOf(color, finder->cellBits + 1), list, false);
}

bool SameColor(const NearestCandidate &entry, const uint8_t *color) noexcept {
    return entry.color[0] == color[0] && entry.color[1] == color[1] && entry.color[2] == color[2];
}

// Whether a list has a colour already, for lists that are not long: it is only for speed.
bool IsRepeated(const NearestCandidate *list, const uint8_t *color) noexcept {
    return list->index <= kLongList &&
           std::any_of(list + 1, list + 1 + list->index,
                       [&](const NearestCandidate &entry) { return SameColor(entry, color); });
}

// The first list stands at place 1, since 0 means that there is none.
void ListColors(NearestFinder *finder) noexcept {
    NearestCandidate *list = finder->candidates + 1;
    for (uint32_t i = 0; i < finder->table.count; ++i) {
        const uint8_t *entry = finder->table.entries + size_t{i} * kTableEntryBytes;
        if (!IsGreyEntry(entry) && !IsRepeated(list, entry))
            list[++list->index] = {static_cast<uint16_t>(i), {entry[0], entry[1], entry[2]}};
    }
    finder->candidatesUsed = 2u + list->index;
    finder->leavesUsed = 1;
    finder->planesUsed = 1;
}

void FindGreys(NearestFinder *finder) noexcept {
    int32_t best[kGreySums];
    std::fill_n(best, kGreySums, INT32_MAX);
    bool seen[256] = {};
    for (uint32_t i = 0; i < finder->table.count; ++i) {
        const uint8_t *entry = finder->table.entries + size_t{i} * kTableEntryBytes;
        if (!IsGreyEntry(entry) || seen[entry[0]])
            continue;
        const int32_t grey = entry[0];
        seen[grey] = true;
        for (int32_t sum = 0; sum < static_cast<int32_t>(kGreySums); ++sum) {
            const int32_t distance = 3 * grey * grey - 2 * grey * sum;
            finder->greyBySum[sum] =
                distance < best[sum] ? static_cast<uint16_t>(i) : finder->greyBySum[sum];
            best[sum] = std::min(best[sum], distance);
        }
    }
}

// Deals the block out, in falling order of alignment; returns its size while there is no block.
uint32_t LayOut(NearestFinder *finder) noexcept {
    auto *const start = Lock<uint8_t>(finder->block);
    size_t bytes = 0;
    const auto take = [&](size_t count, size_t size) noexcept {
        uint8_t *const part = start == nullptr ? nullptr : start + bytes;
        bytes += count * size;
        return part;
    };
    const auto words = [&](uint32_t count) noexcept {
        return reinterpret_cast<uint32_t *>(take(count, sizeof(uint32_t)));
    };
    for (int i = 0; i < finder->levelCount; ++i)
        finder->levels[i].lists = words(CubesOf(finder->levels[i].bits));
    if (finder->cellBits != 0) {
        finder->cells = words(CubesOf(finder->cellBits));
        finder->leaves = words(kLeavesRoom);
        finder->planes = reinterpret_cast<PairPlane *>(take(kPlanes, sizeof(PairPlane)));
        finder->planeOfPair = reinterpret_cast<uint16_t *>(take(kPlaneHashes, sizeof(uint16_t)));
        finder->pairOfPlane = reinterpret_cast<uint16_t *>(take(kPlanes, sizeof(uint16_t)));
    }
    finder->greyBySum = reinterpret_cast<uint16_t *>(take(kGreySums, sizeof(uint16_t)));
    finder->candidates = reinterpret_cast<NearestCandidate *>(
        take(finder->candidatesRoom, sizeof(NearestCandidate)));
    return static_cast<uint32_t>(bytes);
}

void TakeRoom(NearestFinder *finder, int levels) noexcept {
    finder->levelCount = levels;
    for (int i = 0; i < levels; ++i)
        finder->levels[i].bits = levels == 1 ? 3 : 2 + i;
    // The first list, those that building one leaf may add, and the spare ones.
    const auto lists = static_cast<uint32_t>(levels + 2);
    finder->candidatesRoom = kSpareCandidates + lists * (finder->table.count + 2);
    finder->block = GlobalAlloc(kGlobalFlags, LayOut(finder));
    if (finder->block == 0)
        return CloseFinder(finder);
    LayOut(finder);
    ListColors(finder);
    FindGreys(finder);
}

} // namespace

void OpenFinder(NearestFinder *finder, const ColorTable &table, uint64_t searches) noexcept {
    *finder = {};
    finder->table = table;
    if (searches < kWorthwhileSearches || table.count > 65535)
        return;
    const bool fine = table.count > kFineColors && searches >= kFineSearches;
    finder->cellBits = fine ? 6 : 5;
    TakeRoom(finder, fine ? kLevels : 1);
}

void OpenLists(NearestFinder *finder, const ColorTable &table) noexcept {
    *finder = {};
    finder->table = table;
    TakeRoom(finder, kLevels);
}

void CloseFinder(NearestFinder *finder) noexcept {
    rlFreeNewData(finder->block);
    finder->block = 0;
    finder->cellBits = 0;
}

const NearestCandidate *CandidatesAround(NearestFinder *finder, const uint8_t color[3]) noexcept {
    MakeRoom(finder);
    return ListAround(finder, color);
}

uint32_t FindNearestSlowly(NearestFinder *finder, uint8_t red, uint8_t green,
                           uint8_t blue) noexcept {
    const uint8_t color[3] = {red, green, blue};
    const int highest = std::max(std::max(red, green), blue);
    const int lowest = std::min(std::min(red, green), blue);
    if (highest - lowest <= kGreyTolerance)
        return finder->greyBySum[red + green + blue];
    uint32_t leaf = finder->cellBits == 6 ? LeafOf<6>(*finder, red, green, blue)
                                          : LeafOf<5>(*finder, red, green, blue);
    if (leaf == 0)
        leaf = BuildLeaf(finder, color);
    if ((leaf & kLeafPair) != 0)
        return NearestOfPair(*finder, leaf, red, green, blue);
    return NearestOfList(finder->candidates + (leaf & kLeafList), red, green, blue);
}

} // namespace kowen
