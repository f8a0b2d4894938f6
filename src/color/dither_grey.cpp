#include "color/dither_band.h"

#include "color/nearest.h"

#include <array>
#include <cstring>

namespace kowen {
namespace {

constexpr int kLag = 2; // passes of each row behind the one above

constexpr int kLeast = -128; // of the sums; the greatest is 383

// Sums limited to 0..255.
constexpr auto BOUNDARY_CHK = [] {
    std::array<uint8_t, 512> limits = {};
    for (int x = kLeast; x < kLeast + 512; ++x)
        limits[static_cast<size_t>(x - kLeast)] = static_cast<uint8_t>(x < 0     ? 0
                                                                       : x > 255 ? 255
                                                                                 : x);
    return limits;
}();

int Limited(int x) noexcept {
    return BOUNDARY_CHK[static_cast<size_t>(x - kLeast)];
}

// What a row hands on from pass to pass; see RowPair in dither_band.cpp.
struct GreyRow {
    int taken;
    int right; // share of the pixel before
    int belowLeft;
    int belowRight;
};

template <int Rows> class GreyBand {
public:
    GreyBand(const GreyChoices &greyChoices, const DitherBand &greyBand) noexcept
        : choices(greyChoices), band(greyBand), width(greyBand.width) {}

    void Dither() noexcept {
        int64_t time = -1;
        for (; time < kInner; ++time)
            Step<true>(time);
        for (; time < width - 2; ++time)
            Step<false>(time);
        for (; time < width + 1 + kLag * (Rows - 1); ++time)
            Step<true>(time);
    }

private:
    // From here on the last row is past its first pixel.
    static constexpr int64_t kInner = kLag * (Rows - 1) + 1;

    template <bool Checked> void Step(int64_t time) noexcept {
        int final[Rows];
        for (int row = 0; row < Rows; ++row)
            final[row] = Pass<Checked>(row, time - kLag * row);
        const int64_t done = time - kLag * (Rows - 1) - 1;
        if (!Checked || (done >= 0 && done < width))
            band.carried[done] = static_cast<uint8_t>(final[Rows - 1]);
        for (int row = Rows - 1; row > 0; --row)
            rows[row].taken = final[row - 1];
        rows[0].taken = Pixel<Checked>(band.carried, time + 1);
    }

    // Takes pixel x of a row; returns pixel x - 1 of the row below, which is final then.
    template <bool Checked> int Pass(int row, int64_t x) noexcept {
        static constexpr int16_t kNone[4] = {};
        GreyRow &state = rows[row];
        const auto grey = static_cast<size_t>(Limited(state.taken + state.right));
        const int16_t *share = choices.share[grey];
        if (!Checked || (x >= 0 && x < width - 1)) {
            band.indices[row][x] = choices.index[grey];
        } else {
            if (x == width - 1)
                band.indices[row][x] = x > 0 ? band.indices[row][x - 1] : 0;
            share = kNone;
        }
        state.right = share[0];
        const int final = Limited(state.belowLeft + share[2]);
        state.belowLeft = Limited(state.belowRight + share[1]);
        state.belowRight = Limited(Pixel<Checked>(band.below[row], x + 1) + share[3]);
        return final;
    }

    template <bool Checked> int Pixel(const uint8_t *row, int64_t x) const noexcept {
        return Checked && (x < 0 || x >= width) ? 0 : row[x];
    }

    const GreyChoices &choices;
    const DitherBand &band;
    const int64_t width;
    GreyRow rows[Rows] = {};
};

} // namespace

bool ChooseGreys(GreyChoices *choices, const ColorTable &table) noexcept {
    for (int grey = 0; grey < 256; ++grey) {
        const auto index =
            static_cast<uint32_t>(rlNearestRGBIndex(grey, grey, grey, table.entries, table.count));
        if (index >= table.count || index > 255)
            return false;
        const uint8_t *entry = table.entries + size_t{index} * kTableEntryBytes;
        if (!IsGreyEntry(entry))
            return false;
        const int error = grey - entry[0];
        const int q = error / 8;
        const int s = 7 * error / 16;
        choices->index[grey] = static_cast<uint8_t>(index);
        for (int i = 0; i < 4; ++i)
            choices->share[grey][i] = static_cast<int16_t>(s - i * q);
    }
    return true;
}

void DitherGreyBand(const GreyChoices &choices, const DitherBand &band) noexcept {
    GreyBand<kBandRows>(choices, band).Dither();
}

void DitherGreyRow(const GreyChoices &choices, const DitherBand &band) noexcept {
    GreyBand<1>(choices, band).Dither();
}

} // namespace kowen
