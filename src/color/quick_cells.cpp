#include "color/quick_cells.h"

#include "color/color_lists.h"
#include "platform/global_memory.h"

#include <cstring>

namespace kowen {
namespace {

constexpr int kFinderBits = 5; // of the cells' channels
constexpr int kBoxBits = 6;    // of the boxes', eight of which make a cell
constexpr uint32_t kBoxes = 1u << 3 * kBoxBits;

// The kind of a leaf of the finder; 0 when it has none.
uint8_t KindOf(uint32_t leaf) noexcept {
    if ((leaf & (kLeafPair | kLeafGreys)) != kLeafPair)
        return 0;
    const uint32_t plane = leaf >> 16 & (kPlanes - 1);
    if (plane == 0)
        return static_cast<uint8_t>(kSingleKinds + (leaf & 0xFF));
    return static_cast<uint8_t>(plane < kSingleKinds ? plane : 0);
}

// Gives a kind to a box; to all eight boxes of its cell when they have the one leaf.
void SetKind(QuickCells *cells, const uint8_t color[3], uint8_t kind) noexcept {
    const uint32_t cell = cells->finder->cells[CubeNumber(color, kFinderBits)];
    const uint32_t boxes = (cell & kCellDivided) != 0 ? 1 : 8;
    for (uint32_t i = 0; i < boxes; ++i) {
        uint8_t corner[3];
        for (uint32_t c = 0; c < 3; ++c)
            corner[c] = static_cast<uint8_t>(color[c] ^ (i >> c & 1) << 2);
        cells->kinds[CubeNumber(corner, kBoxBits)] = kind;
    }
}

} // namespace

void OpenQuickCells(QuickCells *cells, NearestFinder *finder) noexcept {
    *cells = {};
    cells->finder = finder;
    if (finder->cellBits != kFinderBits || finder->table.count > kQuickEntries)
        return;
    cells->block = GlobalAlloc(kGlobalFlags, kBoxes);
    cells->kinds = Lock<uint8_t>(cells->block);
}

void CloseQuickCells(QuickCells *cells) noexcept {
    rlFreeNewData(cells->block);
}

uint32_t FindInNewCell(QuickCells *cells, uint8_t red, uint8_t green, uint8_t blue) noexcept {
    const uint32_t index = FindNearestSlowly(cells->finder, red, green, blue);
    if (cells->finder->beginnings != cells->beginnings) {
        std::memset(cells->kinds, 0, kBoxes); // its planes have other numbers now
        cells->beginnings = cells->finder->beginnings;
    }
    const uint32_t leaf = LeafOf<kFinderBits>(*cells->finder, red, green, blue);
    const uint8_t kind = KindOf(leaf);
    if (kind == 0)
        return index;
    const uint8_t color[3] = {red, green, blue};
    SetKind(cells, color, kind);
    cells->kind[kind] = {cells->finder->planes[leaf >> 16 & (kPlanes - 1)],
                         {static_cast<uint8_t>(leaf), static_cast<uint8_t>(leaf >> 8), 0, 0}};
    return index;
}

} // namespace kowen
