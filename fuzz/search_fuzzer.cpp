// The colour library's fast searches on any tables and colours: finders, quick cells, cubes and
// bands of dithering, next to the plain search and the plain row.
#include "fuzz/exactly.h"
#include "fuzz/input.h"

#include "color/color_cubes.h"
#include "color/dither_band.h"
#include "color/nearest_finder.h"
#include "color/quick_cells.h"
#include "reference/color/bitmap.h"
#include "reference/color/dither.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Exactly;
using fuzz::Input;
using fuzz::Require;

constexpr int kMostSearches = 400;
constexpr uint32_t kRows = kBandRows + 1;

/// Any entries; or greys, or colours on a lattice, where many are equally near.
Bytes AnyTable(Input *input) {
    const uint32_t entries = input->Seldom(4) ? input->Below(301) : input->Below(40);
    const uint32_t kind = input->Below(4);
    const int step = input->Between(1, 32);
    Bytes table = input->Fill(size_t{entries} * 3);
    for (size_t i = 0; i < table.size(); i += 3) {
        if (kind == 0 || (kind == 1 && i % 2 == 0))
            table[i + 1] = table[i + 2] = table[i];
        for (size_t c = i; kind == 2 && c < i + 3; ++c)
            table[c] = static_cast<uint8_t>(128 + table[c] % 8 * step);
    }
    return table;
}

/// A finder and its cells over a table, for as many searches as the input says.
class Searcher {
public:
    Searcher(Input *input, const Bytes &entries)
        : table(entries), view{table.Get(),
                               static_cast<uint32_t>(entries.size() / kTableEntryBytes)} {
        constexpr uint64_t searches[] = {3000, 3000, 3000, 300000, 100};
        OpenFinder(&finder, view, input->Pick(searches));
        if (finder.block != 0 && input->Seldom(4)) // begins anew soon
            finder.candidatesRoom = std::min(finder.candidatesRoom, 1000 + input->Below(4000));
        OpenQuickCells(&cells, &finder);
        OpenColorCubes(&cubes, view, input->Seldom(4) ? kFineSearches : 0);
    }
    ~Searcher() {
        CloseColorCubes(&cubes);
        CloseQuickCells(&cells);
        CloseFinder(&finder);
    }
    Searcher(const Searcher &) = delete;
    Searcher &operator=(const Searcher &) = delete;

    uint32_t Find(uint8_t red, uint8_t green, uint8_t blue) {
        return finder.cellBits == 6   ? FindNearest<6>(&finder, red, green, blue)
               : finder.cellBits == 5 ? FindNearest<5>(&finder, red, green, blue)
                                      : FindNearest<0>(&finder, red, green, blue);
    }

    Exactly<uint8_t> table;
    ColorTable view;
    NearestFinder finder;
    QuickCells cells;
    ColorCubes cubes;
};

void Search(Input *input) {
    const Bytes table = AnyTable(input);
    Searcher searcher(input, table);
    uint8_t red = 0;
    uint8_t green = 0;
    uint8_t blue = 0;
    for (int i = 0; i < kMostSearches && input->Left() > 0; ++i) {
        // Some colours are near the one before, some are near grey.
        const uint8_t kind = input->Byte();
        red = kind % 4 == 0 ? static_cast<uint8_t>(red + kind / 4 - 32) : input->Byte();
        green = kind % 2 == 0 ? static_cast<uint8_t>(red + kind / 32 - 4) : input->Byte();
        blue = kind % 8 < 2 ? static_cast<uint8_t>(green + kind / 32 - 4) : input->Byte();
        const uint32_t expected = reference::NearestRGBIndex(red, green, blue, table, 65535);
        Require(searcher.Find(red, green, blue) == expected, "the entry of the plain search");
        if (searcher.cells.block != 0)
            Require(FindInCells(&searcher.cells, red | uint64_t{green} << 16 |
                                                     uint64_t{blue} << 32 | uint64_t{kind} << 48) ==
                        expected,
                    "the entry of the quick cells");
        if (ServesPixels(searcher.cubes)) {
            const uint8_t pixel[3] = {red, green, blue};
            uint8_t index;
            FindInCubes(&searcher.cubes, pixel, 1, &index);
            Require(index == expected, "the entry of the cubes");
        }
    }
}

/// The rows of a band and the one after it, dithered plainly; the last only takes errors.
void DitherPlainly(Bytes *rows, uint32_t count, uint32_t width, const Bytes &table) {
    for (uint32_t y = 0; y < count; ++y)
        reference::DitherOneLine(rows[y].data(), rows[y + 1].data(), table, width,
                                 static_cast<uint32_t>(table.size() / 3));
}

/// A band over rows of so many bytes a pixel, in memory of its own.
class BandOfRows {
public:
    BandOfRows(const Bytes *rows, uint32_t count, uint32_t width) : carried(rows[0]) {
        band.width = width;
        band.carried = carried.Get();
        for (uint32_t i = 0; i < count; ++i) {
            below.emplace_back(rows[i + 1]);
            indices.emplace_back(Bytes(width));
            band.below[i] = below[i].Get();
            band.indices[i] = indices[i].Get();
        }
    }

    /// What the plain rows became; step: bytes of a plain pixel for each byte of a row.
    void RequireOf(const Bytes *plain, uint32_t step, const Bytes &table) const {
        for (size_t y = 0; y < indices.size(); ++y)
            for (uint32_t x = 0; x < band.width; ++x)
                Require(std::equal(&plain[y][x * 3], &plain[y][x * 3] + 3,
                                   &table[size_t{band.indices[y][x]} * 3]),
                        "the colours of the plain rows");
        const Bytes after = carried.Values();
        for (size_t i = 0; i < after.size(); ++i)
            Require(after[i] == plain[indices.size()][i * step], "the errors of the plain rows");
    }

    DitherBand band = {};

private:
    Exactly<uint8_t> carried;
    std::vector<Exactly<uint8_t>> below;
    std::vector<Exactly<uint8_t>> indices;
};

void DitherColors(Input *input) {
    const Bytes table = AnyTable(input);
    Searcher searcher(input, table);
    if (!ServesBands(searcher.finder))
        return;
    const uint32_t width = 1 + input->Below(60);
    Bytes rows[kRows];
    for (Bytes &row : rows)
        row = input->Fill(size_t{width} * 3);
    const BandOfRows band(rows, kBandRows, width);
    DitherColorBand(&searcher.cells, band.band);
    DitherPlainly(rows, kBandRows, width, table);
    band.RequireOf(rows, 1, table);
}

void DitherGreys(Input *input) {
    const Bytes table = AnyTable(input);
    GreyChoices choices;
    const Exactly<uint8_t> entries(table);
    if (!ChooseGreys(&choices, {entries.Get(), static_cast<uint32_t>(table.size() / 3)}))
        return;
    const uint32_t width = 1 + input->Below(60);
    const uint32_t count = input->Bool() ? kBandRows : 1;
    Bytes rows[kRows];
    Bytes plain[kRows];
    for (uint32_t y = 0; y <= count; ++y) {
        rows[y] = input->Fill(width);
        for (const uint8_t grey : rows[y])
            plain[y].insert(plain[y].end(), 3, grey);
    }
    const BandOfRows band(rows, count, width);
    if (count == 1)
        DitherGreyRow(choices, band.band);
    else
        DitherGreyBand(choices, band.band);
    DitherPlainly(plain, count, width, table);
    band.RequireOf(plain, 3, table);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    switch (input.Below(4)) {
    case 0:
        DitherColors(&input);
        break;
    case 1:
        DitherGreys(&input);
        break;
    default:
        Search(&input);
        break;
    }
    return 0;
}
