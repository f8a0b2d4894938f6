#include "color/kernels.h"
#include "color/median_cut.h"

namespace kowen {
namespace {

constexpr int kIndexBits = 8;
constexpr int32_t kNoEntry = 0x7FFFFF00;

int32_t Squared(int x) noexcept {
    return x * x;
}

} // namespace

namespace plain {

void CountColors(const uint8_t *row, uint32_t width, uint32_t *counts, uint32_t *others) {
    for (uint32_t x = 0; x < width / 2; ++x, row += 6) {
        ++counts[ColorKey(row[0], row[1], row[2])];
        ++others[ColorKey(row[3], row[4], row[5])];
    }
    if (width % 2 != 0)
        ++counts[ColorKey(row[0], row[1], row[2])];
}

// The least squared distance with the index below it: the lowest index of equally near ones.
void FillCube(const NearestCandidate *list, const uint8_t low[3], uint8_t *indices) {
    int32_t best[kCubeColors];
    for (int32_t &choice : best)
        choice = kNoEntry;
    for (const NearestCandidate *entry = list + 1; entry <= list + list->index; ++entry) {
        int32_t squared[3][4];
        for (int c = 0; c < 3; ++c)
            for (int i = 0; i < 4; ++i)
                squared[c][i] = Squared(low[c] + i - entry->color[c]) << kIndexBits;
        for (uint32_t i = 0; i < kCubeColors; ++i) {
            const int32_t choice =
                (squared[0][i & 3] + squared[1][i >> 2 & 3] + squared[2][i >> 4]) | entry->index;
            best[i] = choice < best[i] ? choice : best[i];
        }
    }
    for (uint32_t i = 0; i < kCubeColors; ++i)
        indices[i] = static_cast<uint8_t>(best[i]);
}

void LookUpColors(CubeTable *table, const uint8_t *pixels, uint32_t count, uint8_t *indices) {
    for (uint32_t i = 0; i < count; ++i, pixels += 3) {
        const uint32_t cube = pixels[0] >> 2 | (pixels[1] >> 2) << 6 | (pixels[2] >> 2) << 12;
        const uint32_t color = (pixels[0] & 3u) | (pixels[1] & 3u) << 2 | (pixels[2] & 3u) << 4;
        if (table->places[cube] == 0)
            table->fill(table->owner, cube);
        indices[i] = table->choices[table->places[cube] + color];
    }
}

} // namespace plain

constinit const ColorKernels kPlainColorKernels = {
    "plain", plain::CountColors, plain::FillCube, plain::LookUpColors, 0, nullptr};

} // namespace kowen
