#include "color/color_lists.h"

namespace kowen {
namespace {

int Squared(int x) noexcept {
    return x * x;
}

// Least and greatest squared distance between an entry and the colours of a box.
int LeastDistance(const ColorCube &cube, const NearestCandidate &entry) noexcept {
    int distance = 0;
    for (int i = 0; i < 3; ++i)
        distance += Squared(
            std::max(std::max(cube.low[i] - entry.color[i], entry.color[i] - cube.high[i]), 0));
    return distance;
}

int GreatestDistance(const ColorCube &cube, const NearestCandidate &entry) noexcept {
    int distance = 0;
    for (int i = 0; i < 3; ++i)
        distance += Squared(std::max(entry.color[i] - cube.low[i], cube.high[i] - entry.color[i]));
    return distance;
}

// Greatest value in the box of |p - a|^2 - |p - b|^2, which is linear in p: negative when b is
// farther than a from every colour p.
int GreatestAdvantage(const ColorCube &cube, const NearestCandidate &a,
                      const NearestCandidate &b) noexcept {
    int advantage = 0;
    for (int i = 0; i < 3; ++i) {
        const int step = 2 * (b.color[i] - a.color[i]);
        advantage += Squared(a.color[i]) - Squared(b.color[i]) +
                     std::max(step * cube.low[i], step * cube.high[i]);
    }
    return advantage;
}

// Copies to out the entries that are not farther from all of the box than another one is from
// any of it; returns where the one whose greatest distance is the least came to stand.
const NearestCandidate *KeepTheNear(const ColorCube &cube, const NearestCandidate *list,
                                    NearestCandidate *out) noexcept {
    const uint32_t count = list->index;
    int bound = INT32_MAX;
    uint32_t nearest = 1;
    for (uint32_t i = 1; i <= count; ++i) {
        const int distance = GreatestDistance(cube, list[i]);
        nearest = distance < bound ? i : nearest;
        bound = std::min(distance, bound);
    }
    const NearestCandidate *best = out + 1;
    uint32_t kept = 0; // counted without branches, which nobody could foretell
    for (uint32_t i = 1; i <= count; ++i) {
        out[kept + 1] = list[i];
        best = i == nearest ? out + kept + 1 : best;
        kept += LeastDistance(cube, list[i]) <= bound;
    }
    out->index = static_cast<uint16_t>(kept);
    return best;
}

// Drops the entries of a list that best beats everywhere in the box.
void DropTheBeaten(const ColorCube &cube, NearestCandidate best, NearestCandidate *list) noexcept {
    const uint32_t count = list->index;
    uint32_t kept = 0;
    for (uint32_t i = 1; i <= count; ++i) {
        const NearestCandidate entry = list[i];
        const int advantage = GreatestAdvantage(cube, best, entry);
        list[kept + 1] = entry;
        kept += advantage > 0 || (advantage == 0 && entry.index <= best.index);
    }
    list->index = static_cast<uint16_t>(kept);
}

} // namespace

ColorCube CubeOf(const uint8_t color[3], int bits) noexcept {
    const int size = 1 << (8 - bits);
    ColorCube cube;
    for (int i = 0; i < 3; ++i) {
        cube.low[i] = color[i] & ~(size - 1);
        cube.high[i] = cube.low[i] + size - 1;
    }
    return cube;
}

uint32_t CubeNumber(const uint8_t color[3], int bits) noexcept {
    uint32_t number = 0;
    for (int i = 0; i < 3; ++i)
        number = number << bits | static_cast<uint32_t>(color[i] >> (8 - bits));
    return number;
}

bool HasGreys(const ColorCube &cube) noexcept {
    const int lowest = std::min({cube.high[0], cube.high[1], cube.high[2]});
    const int highest = std::max({cube.low[0], cube.low[1], cube.low[2]});
    return highest - lowest <= kGreyTolerance;
}

void ChooseCandidates(const ColorCube &cube, const NearestCandidate *list,
                      NearestCandidate *out) noexcept {
    const NearestCandidate *best = KeepTheNear(cube, list, out);
    if (out->index != 0)
        DropTheBeaten(cube, *best, out);
}

uint32_t NearestOfList(const NearestCandidate *list, int red, int green, int blue) noexcept {
    const NearestCandidate *const end = list + 1 + list->index;
    int best = INT32_MAX;
    uint32_t index = 0;
    while (++list != end) {
        const int distance = Squared(red - list->color[0]) + Squared(green - list->color[1]) +
                             Squared(blue - list->color[2]);
        index = distance < best ? list->index : index;
        best = std::min(distance, best);
    }
    return index;
}

} // namespace kowen
