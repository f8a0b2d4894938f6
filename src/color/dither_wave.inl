// A band of rows dithered by vectors that hold one pixel of every row. Included by the kernels that
// have the Vector for it: kRows words of 32 bits.
//
// A row depends on the one above it only up to two pixels ahead: once pixel x + 1 of the upper row
// has spread its error, pixel x of the lower row is final. So in step t row r takes pixel t - 2 r.
// Steps before a row's first pixel and after its last one work on anything and spread no error.
//
// The nearest colour is the least of |p - c|^2 - |p|^2 = |c|^2 - 2 p c, sixteen times that with the
// entry's index in the four bits below: the lowest index wins among equally near ones.

constexpr int64_t kWaveLag = 2;
constexpr uint32_t kWaveSteps = 4; // at a time
constexpr int64_t kWaveReach = 6;  // pixels that fetching four as 16 bytes touches
constexpr int kIndexBits = 4;
constexpr int32_t kNoEntry = 0x7FFFFFF0;
constexpr int kGreyRequest = 4; // kGreyTolerance

// A colour of each row: red and green in the halves of a word, blue in the lower half of another.
struct WaveColor {
    Vector redGreen, blue;
};

inline WaveColor operator+(const WaveColor &a, const WaveColor &b) {
    return {Vector::Add(a.redGreen, b.redGreen), Vector::Add(a.blue, b.blue)};
}
inline WaveColor operator-(const WaveColor &a, const WaveColor &b) {
    return {Vector::Sub(a.redGreen, b.redGreen), Vector::Sub(a.blue, b.blue)};
}

inline Vector Limited(Vector x) {
    return Vector::Min(Vector::Max(x, Vector::All16(0)), Vector::All16(255));
}
inline WaveColor Limited(const WaveColor &x) {
    return {Limited(x.redGreen), Limited(x.blue)};
}

// Division by 2^Bits, truncated toward zero: negative numbers are raised before the shift.
template <int Bits> Vector Divided(Vector x) {
    constexpr int kRaise = (1 << Bits) - 1;
    const Vector raise = Vector::And(Vector::ShiftRight<15>(x), Vector::All16(kRaise));
    return Vector::ShiftRight<Bits>(Vector::Add(x, raise));
}

inline WaveColor Eighth(const WaveColor &error) {
    return {Divided<3>(error.redGreen), Divided<3>(error.blue)};
}
inline Vector SevenSixteenths(Vector error) {
    return Divided<4>(Vector::Sub(Vector::ShiftLeft<3>(error), error));
}
inline WaveColor SevenSixteenths(const WaveColor &error) {
    return {SevenSixteenths(error.redGreen), SevenSixteenths(error.blue)};
}

// An entry as a search looks at it: factors of the channels, and what they are added to.
struct WaveEntry {
    Vector redGreen, blue, start;
};

// Entries of one kind; an even number of them.
struct WaveList {
    WaveEntry entries[kWaveEntries + 1];
    uint32_t count = 0;

    void Add(const uint8_t *color, uint32_t index) {
        const int red = color[0], green = color[1], blue = color[2];
        const int norm = red * red + green * green + blue * blue;
        entries[count++] = {Vector::Pair(-2 * red << kIndexBits, -2 * green << kIndexBits),
                            Vector::Pair(-2 * blue << kIndexBits, 0),
                            Vector::All32((norm << kIndexBits) + static_cast<int>(index))};
    }
    void MakeEven() {
        if (count % 2 != 0)
            entries[count++] = {Vector::All32(0), Vector::All32(0), Vector::All32(kNoEntry)};
    }
    Vector Nearest(const WaveColor &pixel) const {
        Vector even = Vector::All32(kNoEntry), odd = even;
        for (uint32_t i = 0; i < count; i += 2) {
            even = Vector::Min32(even, Distance(entries[i], pixel));
            odd = Vector::Min32(odd, Distance(entries[i + 1], pixel));
        }
        return Vector::Min32(even, odd);
    }

private:
    static Vector Distance(const WaveEntry &entry, const WaveColor &pixel) {
        return Vector::Add32(
            Vector::Add32(Vector::MultiplyAdd(entry.redGreen, pixel.redGreen), entry.start),
            Vector::MultiplyAdd(entry.blue, pixel.blue));
    }
};

// All ones for the rows whose pixel counts as grey.
inline Vector IsGrey(const WaveColor &pixel) {
    const Vector green = Vector::ShiftRight32<16>(pixel.redGreen);
    const Vector high = Vector::Max(Vector::Max(pixel.redGreen, green), pixel.blue);
    const Vector low = Vector::Min(Vector::Min(pixel.redGreen, green), pixel.blue);
    const Vector range = Vector::ShiftLeft32<16>(Vector::Sub(high, low));
    return Vector::Less32(range, Vector::All32((kGreyRequest + 1) << 16));
}

class Wave {
public:
    Wave(const uint8_t *table, uint32_t count, const DitherBand &ditherBand) : band(ditherBand) {
        for (uint32_t i = 0; i < count; ++i, table += 3) {
            (table[0] == table[1] && table[1] == table[2] ? greys : colors).Add(table, i);
            redGreen[i] = table[0] | static_cast<uint32_t>(table[1]) << 16;
            blue[i] = table[2];
        }
        greys.MakeEven();
        colors.MakeEven();
    }

    void Dither() {
        const int64_t width = band.width;
        const int64_t end = width + 1 + kWaveLag * (kRows - 1);
        for (int64_t time = -1; time < end; time += kWaveSteps)
            TakeSteps(time);
        for (uint32_t row = 0; row < kRows; ++row)
            band.indices[row][width - 1] = width > 1 ? band.indices[row][width - 2] : 0;
    }

private:
    static constexpr uint32_t kRows = Vector::kRows;

    // Steps from time on. Where a row has no pixel, its indices fall into the slack of its row.
    void TakeSteps(int64_t time) {
        Vector pixels[kWaveSteps];
        FetchBelow(time + 1, pixels);
        Vector indices = Vector::All32(0); // of four steps in the bytes of a row's word
        for (uint32_t i = 0; i < kWaveSteps; ++i)
            indices = Vector::Or(Vector::ShiftRight32<8>(indices),
                                 Vector::ShiftLeft32<24>(Step(time + i, pixels[i])));
        alignas(64) uint32_t words[kRows];
        indices.Store(words);
        for (uint32_t row = 0; row < kRows; ++row)
            __builtin_memcpy(band.indices[row] + (time - kWaveLag * row), &words[row], kWaveSteps);
    }

    // The pixels of the rows below from x on, to each step those that it takes.
    void FetchBelow(int64_t x, Vector pixels[kWaveSteps]) const {
        if (x >= kWaveLag * (kRows - 1) && x + kWaveReach <= band.width)
            return Vector::Transpose(band.below, 3 * x, 3 * kWaveLag, pixels);
        alignas(64) uint32_t words[kRows];
        for (uint32_t i = 0; i < kWaveSteps; ++i) {
            for (uint32_t row = 0; row < kRows; ++row)
                words[row] = Fetched(row, x + i - kWaveLag * row);
            pixels[i] = Vector::Load(words);
        }
    }

    uint32_t Fetched(uint32_t row, int64_t x) const {
        if (x < 0 || x >= band.width)
            return 0;
        const uint8_t *pixel = band.below[row] + 3 * x;
        return pixel[0] | static_cast<uint32_t>(pixel[1]) << 8 |
               static_cast<uint32_t>(pixel[2]) << 16;
    }

    // Takes a pixel of each row and completes one of the row below it; returns the indices.
    Vector Step(int64_t time, Vector below) {
        const WaveColor pixel = Limited(taken + right);
        const Vector index =
            Vector::And(Vector::Select(IsGrey(pixel), greys.Nearest(pixel), colors.Nearest(pixel)),
                        Vector::All32(kWaveEntries - 1));
        const WaveColor entry = {Vector::LookUp(redGreen, index), Vector::LookUp(blue, index)};
        const Vector isSearched =
            Vector::And(Vector::Less32(Vector::All32(-1), place), Vector::Less32(place, lastPlace));
        WaveColor error = pixel - entry;
        error = {Vector::And(error.redGreen, isSearched), Vector::And(error.blue, isSearched)};
        place = Vector::Add32(place, Vector::All32(1));

        right = SevenSixteenths(error);
        const WaveColor eighth = Eighth(error);
        const WaveColor five = right - eighth, three = five - eighth, one = three - eighth;
        const WaveColor final = Limited(belowLeft + three);
        belowLeft = Limited(belowRight + five);
        belowRight = Limited(Split(below) + one);
        HandOn(time, final);
        return index;
    }

    // Each row's final pixel below goes to the next row; of the first and after the last, carried
    // has them.
    void HandOn(int64_t time, const WaveColor &final) {
        const WaveColor moved = {Vector::Rotated(final.redGreen), Vector::Rotated(final.blue)};
        const uint32_t redAndGreen = moved.redGreen.First();
        const uint32_t done = (redAndGreen & 0xFF) | redAndGreen >> 8 | moved.blue.First() << 16;
        uint32_t fresh;
        __builtin_memcpy(&fresh, band.carried + 3 * (time + 1), 4);
        __builtin_memcpy(band.carried + 3 * (time - kWaveLag * (kRows - 1) - 1), &done, 4);
        const WaveColor first = Split(Vector::All32(static_cast<int>(fresh)));
        taken = {Vector::WithFirst(moved.redGreen, first.redGreen),
                 Vector::WithFirst(moved.blue, first.blue)};
    }

    static WaveColor Split(Vector pixels) {
        return {Vector::RedGreenOf(pixels), Vector::BlueOf(pixels)};
    }

    const DitherBand &band;
    WaveList colors, greys;
    alignas(64) uint32_t redGreen[kWaveEntries] = {}; // of each entry
    alignas(64) uint32_t blue[kWaveEntries] = {};

    WaveColor taken = {Vector::All32(0), Vector::All32(0)}; // as the row above left it
    WaveColor right = taken;                                // share of the pixel before
    WaveColor belowLeft = taken;  // pixel x - 1 of the row below, with two of its three shares
    WaveColor belowRight = taken; // pixel x of the row below, with one share
    Vector place = Vector::FirstPlaces(); // of the pixel that each row takes next
    const Vector lastPlace = Vector::All32(static_cast<int>(band.width - 1));
};

inline void DitherWave(const uint8_t *table, uint32_t entries, const DitherBand &band) {
    Wave(table, entries, band).Dither();
}
