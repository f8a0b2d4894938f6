#include "color/nearest_finder.h"

#include <cstring>

namespace kowen {
namespace {

constexpr uint32_t kCells = 32 * 32 * 32;
constexpr uint32_t kCoarseCells = 8 * 8 * 8;
constexpr uint32_t kGreySums = 3 * 255 + 1;
constexpr uint32_t kSpareCandidates = 32768; // room for lists; when it is full all begin anew
constexpr uint64_t kWorthwhileSearches = 2048;

// A cube of colours: size channel values up from low.
struct Box {
    int low[3];
    int size;
};

int Low(const Box &box, int axis) noexcept {
    return box.low[axis];
}
int High(const Box &box, int axis) noexcept {
    return box.low[axis] + box.size - 1;
}

int Squared(int x) noexcept {
    return x * x;
}

// Least and greatest squared distance between an entry and the colours of a box.
int LeastDistance(const Box &box, const NearestCandidate &entry) noexcept {
    int distance = 0;
    for (int i = 0; i < 3; ++i)
        distance +=
            Squared(std::max({Low(box, i) - entry.color[i], 0, entry.color[i] - High(box, i)}));
    return distance;
}

int GreatestDistance(const Box &box, const NearestCandidate &entry) noexcept {
    int distance = 0;
    for (int i = 0; i < 3; ++i)
        distance += Squared(std::max(entry.color[i] - Low(box, i), High(box, i) - entry.color[i]));
    return distance;
}

// Greatest value in the box of |p - a|^2 - |p - b|^2, which is linear in p: negative when b is
// farther than a from every colour p.
int GreatestAdvantage(const Box &box, const NearestCandidate &a,
                      const NearestCandidate &b) noexcept {
    int advantage = 0;
    for (int i = 0; i < 3; ++i) {
        const int step = 2 * (b.color[i] - a.color[i]);
        advantage += Squared(a.color[i]) - Squared(b.color[i]) +
                     std::max(step * Low(box, i), step * High(box, i));
    }
    return advantage;
}

// Copies to out the entries of a list that may be nearest to a colour of the box; returns where
// the one nearest to all of the box, at worst, came to stand.
NearestCandidate *KeepTheNear(const Box &box, const NearestCandidate *list,
                              NearestCandidate *out) noexcept {
    const uint32_t count = list->index;
    int bound = INT32_MAX;
    for (uint32_t i = 1; i <= count; ++i)
        bound = std::min(bound, GreatestDistance(box, list[i]));
    NearestCandidate *best = out + 1;
    uint16_t kept = 0;
    for (uint32_t i = 1; i <= count; ++i) {
        if (LeastDistance(box, list[i]) > bound)
            continue;
        out[++kept] = list[i];
        if (GreatestDistance(box, list[i]) == bound && GreatestDistance(box, *best) != bound)
            best = out + kept;
    }
    out->index = kept;
    return best;
}

// Drops the entries of a list that best beats everywhere in the box.
void DropTheBeaten(const Box &box, NearestCandidate best, NearestCandidate *list) noexcept {
    uint16_t kept = 0;
    for (uint32_t i = 1; i <= list->index; ++i) {
        const int advantage = GreatestAdvantage(box, best, list[i]);
        if (advantage > 0 || (advantage == 0 && list[i].index <= best.index))
            list[++kept] = list[i];
    }
    list->index = kept;
}

// Adds the list of a box, chosen from a longer list; returns the value of its cell.
uint32_t AddList(NearestFinder *finder, const Box &box, const NearestCandidate *from) noexcept {
    NearestCandidate *list = finder->candidates + finder->used;
    DropTheBeaten(box, *KeepTheNear(box, from, list), list);
    if (list->index == 1)
        return kCellSingle | list[1].index;
    const uint32_t place = finder->used;
    finder->used += 1u + list->index;
    return place;
}

// A coarse cell's list; its only candidate as a list when it has one.
const NearestCandidate *CoarseList(NearestFinder *finder, uint32_t coarse,
                                   NearestCandidate single[2]) noexcept {
    if ((coarse & kCellSingle) == 0)
        return finder->candidates + coarse;
    const auto index = static_cast<uint16_t>(coarse);
    const uint8_t *color = finder->table.entries + size_t{index} * kTableEntryBytes;
    single[0] = {1, {}};
    single[1] = {index, {color[0], color[1], color[2]}};
    return single;
}

// Makes room for two more lists, if need be by forgetting all but the first.
void MakeRoom(NearestFinder *finder) noexcept {
    const uint32_t longest = 1u + finder->candidates[1].index;
    if (finder->capacity - finder->used >= 2 * longest)
        return;
    std::memset(finder->cells, 0, kCells * sizeof(uint32_t));
    std::memset(finder->coarseCells, 0, kCoarseCells * sizeof(uint32_t));
    finder->used = 1 + longest;
}

Box BoxOf(const uint8_t color[3], int size) noexcept {
    Box box = {{}, size};
    for (int i = 0; i < 3; ++i)
        box.low[i] = color[i] & ~(size - 1);
    return box;
}

bool IsGrey(const uint8_t *entry) noexcept {
    return entry[0] == entry[1] && entry[1] == entry[2];
}

// The first list stands at place 1, since 0 means a cell that was not built.
void ListColors(NearestFinder *finder) noexcept {
    NearestCandidate *list = finder->candidates + 1;
    for (uint32_t i = 0; i < finder->table.count; ++i) {
        const uint8_t *entry = finder->table.entries + size_t{i} * kTableEntryBytes;
        if (!IsGrey(entry))
            list[++list->index] = {static_cast<uint16_t>(i), {entry[0], entry[1], entry[2]}};
    }
    finder->used = 2u + list->index;
}

void FindGreys(NearestFinder *finder) noexcept {
    int32_t best[kGreySums];
    std::fill_n(best, kGreySums, INT32_MAX);
    bool seen[256] = {};
    for (uint32_t i = 0; i < finder->table.count; ++i) {
        const uint8_t *entry = finder->table.entries + size_t{i} * kTableEntryBytes;
        if (!IsGrey(entry) || seen[entry[0]])
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

} // namespace

void OpenFinder(NearestFinder *finder, const ColorTable &table, uint64_t searches) noexcept {
    *finder = {};
    finder->table = table;
    if (searches < kWorthwhileSearches || table.count > 65535)
        return;
    const uint32_t capacity = kSpareCandidates + 3 * (table.count + 2);
    const auto bytes =
        static_cast<uint32_t>((kCells + kCoarseCells) * sizeof(uint32_t) +
                              capacity * sizeof(NearestCandidate) + kGreySums * sizeof(uint16_t));
    finder->block = GlobalAlloc(kGlobalFlags, bytes);
    if (finder->block == 0)
        return;
    finder->cells = Lock<uint32_t>(finder->block);
    finder->coarseCells = finder->cells + kCells;
    finder->greyBySum = reinterpret_cast<uint16_t *>(finder->coarseCells + kCoarseCells);
    finder->candidates = reinterpret_cast<NearestCandidate *>(finder->greyBySum + kGreySums);
    finder->capacity = capacity;
    ListColors(finder);
    FindGreys(finder);
}

void CloseFinder(NearestFinder *finder) noexcept {
    rlFreeNewData(finder->block);
    *finder = {};
}

uint32_t BuildCell(NearestFinder *finder, uint8_t red, uint8_t green, uint8_t blue) noexcept {
    const uint8_t color[3] = {red, green, blue};
    uint32_t &cell = finder->cells[(red >> 3) << 10 | (green >> 3) << 5 | blue >> 3];
    if (finder->candidates[1].index == 0)
        return cell = kCellSingle; // no colours at all: index 0
    MakeRoom(finder);
    uint32_t &coarse = finder->coarseCells[(red >> 5) << 6 | (green >> 5) << 3 | blue >> 5];
    if (coarse == 0)
        coarse = AddList(finder, BoxOf(color, 32), finder->candidates + 1);
    NearestCandidate single[2];
    return cell = AddList(finder, BoxOf(color, 8), CoarseList(finder, coarse, single));
}

} // namespace kowen
