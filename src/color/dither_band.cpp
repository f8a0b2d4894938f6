#include "color/dither_band.h"

#include <bit>
#include <cstring>

namespace kowen {
namespace {

// Two rows in one vector: red, green, blue and a spare lane of each. The compilers turn these into
// the machine's vector instructions where it has them.
using Lanes = int16_t __attribute__((vector_size(16)));
using Bytes = uint8_t __attribute__((vector_size(16)));
using Words = uint32_t __attribute__((vector_size(16)));
using Longs = uint64_t __attribute__((vector_size(16)));

constexpr uint32_t kPairs = 2; // of rows
constexpr uint32_t kLag = 2;   // passes of each row behind the one above

// What a pair of rows hands on from pass to pass.
struct RowPair {
    Lanes taken;      // pixel i as the row above left it
    Lanes error;      // of pixel i - 1
    Lanes belowLeft;  // pixel i - 1 of the row below, with two of its three shares
    Lanes belowRight; // pixel i of the row below, with one share
};

Lanes Limited(Lanes x) noexcept {
    const Lanes least = {};
    const Lanes most = {255, 255, 255, 255, 255, 255, 255, 255};
    x = x < least ? least : x;
    return x > most ? most : x;
}

// error / 8 and 7 error / 16, truncated toward zero: negative ones are raised before the shift.
Lanes Eighth(Lanes error) noexcept {
    return (error + (error >> 15 & 7)) >> 3;
}
Lanes SevenSixteenths(Lanes error) noexcept {
    const Lanes seven = error * 7;
    return (seven + (seven >> 15 & 15)) >> 4;
}

uint32_t FourBytes(const uint8_t *pixel) noexcept {
    uint32_t bytes;
    std::memcpy(&bytes, pixel, sizeof bytes);
    return bytes;
}

uint32_t ThreeBytes(const uint8_t *pixel) noexcept {
    uint32_t bytes = 0;
    std::memcpy(&bytes, pixel, 3);
    return bytes;
}

// Two pixels, as they stand in memory, to lanes.
Lanes Widened(uint32_t upper, uint32_t lower) noexcept {
    const Bytes bytes = reinterpret_cast<Bytes>(Words{upper, lower, 0, 0});
    const Bytes zero = {};
    if constexpr (std::endian::native == std::endian::little)
        return reinterpret_cast<Lanes>(__builtin_shufflevector(bytes, zero, 0, 16, 1, 17, 2, 18, 3,
                                                               19, 4, 20, 5, 21, 6, 22, 7, 23));
    else
        return reinterpret_cast<Lanes>(__builtin_shufflevector(bytes, zero, 16, 0, 17, 1, 18, 2, 19,
                                                               3, 20, 4, 21, 5, 22, 6, 23, 7));
}

// The lower row of one pair over the upper row of the next.
Lanes Between(Lanes upper, Lanes lower) noexcept {
    return reinterpret_cast<Lanes>(__builtin_shufflevector(reinterpret_cast<Longs>(upper),
                                                           reinterpret_cast<Longs>(lower), 1, 2));
}

// One of the four lanes' groups as a number with the first lane lowest.
uint64_t Group(Lanes lanes, int row) noexcept {
    const uint64_t group = reinterpret_cast<Longs>(lanes)[row];
    if constexpr (std::endian::native == std::endian::little)
        return group;
    return group << 48 | (group << 16 & 0xFFFF00000000) | (group >> 16 & 0xFFFF0000) | group >> 48;
}

uint8_t LaneOf(uint64_t group, int lane) noexcept {
    return static_cast<uint8_t>(group >> 16 * lane);
}

// The colour of an entry in the lanes of one row, without those of the other.
struct EntryLanes {
    int16_t channel[4];
};

// Searches of a band: see FindInCells.
struct CellSearch {
    QuickCells *cells;
    const ColorTable &Table() const noexcept { return cells->finder->table; }
    uint32_t Find(uint64_t pixel) const noexcept { return FindInCells(cells, pixel); }
};

template <int Bits> struct FinderSearch {
    NearestFinder *finder;
    const ColorTable &Table() const noexcept { return finder->table; }
    uint32_t Find(uint64_t pixel) const noexcept {
        return FindNearest<Bits>(finder, LaneOf(pixel, 0), LaneOf(pixel, 1), LaneOf(pixel, 2));
    }
};

template <typename Search> class Band {
public:
    Band(const Search &nearestSearch, const DitherBand &ditherBand) noexcept
        : search(nearestSearch), band(ditherBand) {
        const ColorTable &table = search.Table();
        for (uint32_t i = 0; i < table.count; ++i)
            for (uint32_t c = 0; c < 3; ++c)
                entries[i].channel[c] = table.entries[i * kTableEntryBytes + c];
    }

    void Dither() noexcept {
        const int64_t width = band.width;
        const int64_t end = width + 1 + static_cast<int64_t>(kLag) * (kBandRows - 1);
        int64_t time = -1;
        for (; time < kInner; ++time)
            Step<true>(time);
        for (; time < width - 2; ++time)
            Step<false>(time);
        for (; time < end; ++time)
            Step<true>(time);
    }

private:
    // From here on the last row is past its first pixel.
    static constexpr int64_t kInner = kLag * (kBandRows - 1) + 1;

    // Pass time of the first row, and of each other row the pass that is due then. Checked: some
    // rows are before their first or at their last pixels.
    template <bool Checked> void Step(int64_t time) noexcept {
        for (uint32_t i = 0; i < kPairs; ++i)
            Choose<Checked>(&pairs[i], 2 * i, time - 2 * kLag * i);
        Lanes final[kPairs];
        for (uint32_t i = 0; i < kPairs; ++i)
            final[i] = Spread<Checked>(&pairs[i], 2 * i, time - 2 * kLag * i);
        Keep<Checked>(final[1], time - kLag * 3 - 1);
        pairs[1].taken = Between(final[0], final[1]);
        pairs[0].taken =
            Between(reinterpret_cast<Lanes>(Longs{0, Carried<Checked>(time + 1)}), final[0]);
    }

    template <bool Checked> uint64_t Carried(int64_t x) noexcept {
        if (Checked && (x < 0 || x >= band.width))
            return 0;
        const uint8_t *pixel = band.carried + x * 3;
        const uint32_t bytes = Checked ? ThreeBytes(pixel) : FourBytes(pixel);
        return reinterpret_cast<Longs>(Widened(bytes, 0))[0];
    }

    // Finds the colours of a pair's pixels and keeps their errors.
    template <bool Checked> void Choose(RowPair *pair, uint32_t row, int64_t x) noexcept {
        const Lanes pixel = Limited(pair->taken + SevenSixteenths(pair->error));
        const uint64_t upper = ChooseOne<Checked>(row, x, Group(pixel, 0));
        const uint64_t lower = ChooseOne<Checked>(row + 1, x - kLag, Group(pixel, 1));
        pair->error = pixel - reinterpret_cast<Lanes>(Longs{upper, lower});
        if constexpr (Checked) {
            Longs mask = {IsSearched(x) ? ~uint64_t{0} : 0,
                          IsSearched(x - kLag) ? ~uint64_t{0} : 0};
            pair->error &= reinterpret_cast<Lanes>(mask);
        }
    }

    bool IsSearched(int64_t x) const noexcept { return x >= 0 && x < int64_t{band.width} - 1; }

    // Returns the lanes of the chosen colour, in memory order.
    template <bool Checked> uint64_t ChooseOne(uint32_t row, int64_t x, uint64_t pixel) noexcept {
        if (Checked && !IsSearched(x)) {
            if (x == int64_t{band.width} - 1)
                band.indices[row][x] = x > 0 ? band.indices[row][x - 1] : 0;
            return 0;
        }
        const uint32_t index = search.Find(pixel);
        band.indices[row][x] = static_cast<uint8_t>(index);
        uint64_t lanes;
        std::memcpy(&lanes, &entries[index], sizeof lanes);
        return lanes;
    }

    // Spreads a pair's errors below; returns what became final there: pixel x - 1.
    template <bool Checked> Lanes Spread(RowPair *pair, uint32_t row, int64_t x) noexcept {
        const Lanes s = SevenSixteenths(pair->error);
        const Lanes q = Eighth(pair->error);
        const Lanes next =
            Widened(Below<Checked>(row, x + 1), Below<Checked>(row + 1, x + 1 - kLag));
        const Lanes final = Limited(pair->belowLeft + s - q - q);
        pair->belowLeft = Limited(pair->belowRight + s - q);
        pair->belowRight = Limited(next + s - q - q - q);
        return final;
    }

    template <bool Checked> uint32_t Below(uint32_t row, int64_t x) const noexcept {
        if (Checked && (x < 0 || x >= band.width))
            return 0;
        const uint8_t *pixel = band.below[row] + x * 3;
        return Checked ? ThreeBytes(pixel) : FourBytes(pixel);
    }

    // Stores a final pixel of the row after the band: three bytes, or four of which the last is
    // overwritten by the next pixel. The first row has taken all pixels up to there.
    template <bool Checked> void Keep(Lanes final, int64_t x) noexcept {
        if (Checked && (x < 0 || x >= band.width))
            return;
        const uint64_t pixel = Group(final, 1);
        uint8_t *at = band.carried + x * 3;
        at[0] = LaneOf(pixel, 0);
        at[1] = LaneOf(pixel, 1);
        at[2] = LaneOf(pixel, 2);
    }

    const Search search;
    const DitherBand &band;
    RowPair pairs[kPairs] = {};
    EntryLanes entries[256] = {};
};

} // namespace

bool ServesBands(const NearestFinder &finder) noexcept {
    return finder.cellBits != 0 && finder.table.count >= 1 && finder.table.count <= 256;
}

void DitherColorBand(QuickCells *cells, const DitherBand &band) noexcept {
    NearestFinder *finder = cells->finder;
    if (cells->block != 0)
        Band<CellSearch>({cells}, band).Dither();
    else if (finder->cellBits == 5)
        Band<FinderSearch<5>>({finder}, band).Dither();
    else
        Band<FinderSearch<6>>({finder}, band).Dither();
}

} // namespace kowen
