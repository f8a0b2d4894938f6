// Rows of 3-byte pixels, a Triple at a time. Included by the kernels that have one: kPixels pixels
// apart, byte 0, 1 and 2 of each.

constexpr uint32_t kPixels = Pixels::kCount;

// (3 a + 6 b + c) / 10 in 16-bit words: x / 10 = (x * 6554) >> 16 for every x up to 2550.
inline Pixels WeighedTenth(Pixels a, Pixels b, Pixels c) {
    const Pixels aPlus2b = Pixels::Add(a, Pixels::Add(b, b));
    const Pixels sum = Pixels::Add(Pixels::Add(aPlus2b, Pixels::Add(aPlus2b, aPlus2b)), c);
    return Pixels::MulHigh(sum, Pixels::All(6554));
}

// Words y, cb and cr of words.
inline Triple WordsToYcc(Pixels red, Pixels green, Pixels blue) {
    const Pixels middle = Pixels::All(128);
    const Pixels y = WeighedTenth(red, green, blue);
    // x / 2 and x / 16 toward zero: negative values get 1 and 15 before the arithmetic shift.
    const Pixels b = Pixels::Sub(blue, y);
    const Pixels cb = Pixels::ShiftRight<1>(Pixels::Sub(b, Pixels::ShiftRight<15>(b)));
    const Pixels r = Pixels::MulLow(Pixels::Sub(red, y), Pixels::All(10));
    const Pixels raise = Pixels::And(Pixels::ShiftRight<15>(r), Pixels::All(15));
    const Pixels cr = Pixels::ShiftRight<4>(Pixels::Add(r, raise));
    return {y, Pixels::Add(cb, middle), Pixels::Add(cr, middle)};
}

inline Triple ToYcc(Pixels red, Pixels green, Pixels blue) {
    const Triple low = WordsToYcc(red.Low(), green.Low(), blue.Low());
    const Triple high = WordsToYcc(red.High(), green.High(), blue.High());
    return {Pixels::Pack(low.first, high.first), Pixels::Pack(low.second, high.second),
            Pixels::Pack(low.third, high.third)};
}

// (3 third + 6 second + first) / 10.
inline Pixels Grey(const Triple &t) {
    return Pixels::Pack(WeighedTenth(t.third.Low(), t.second.Low(), t.first.Low()),
                        WeighedTenth(t.third.High(), t.second.High(), t.first.High()));
}

void MapRgbToYcc(uint8_t *row, uint32_t width) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, ToYcc(t.first, t.second, t.third));
    }
    scalar::MapRgbToYcc(row, width);
}

void MapBgrToYcc(uint8_t *row, uint32_t width) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, ToYcc(t.third, t.second, t.first));
    }
    scalar::MapBgrToYcc(row, width);
}

void MapToGrey(uint8_t *row, uint32_t width) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels) {
        const Pixels grey = Grey(LoadTriple(row));
        StoreTriple(row, {grey, grey, grey});
    }
    scalar::MapToGrey(row, width);
}

void SwapFirstAndThird(uint8_t *row, uint32_t width) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, {t.third, t.second, t.first});
    }
    scalar::SwapFirstAndThird(row, width);
}

void Deinterleave422(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels, first += kPixels,
                             second += kPixels / 2, third += kPixels / 2) {
        const Triple t = LoadTriple(row);
        t.first.Store(first);
        t.second.StoreEven(second);
        t.third.StoreEven(third);
    }
    scalar::Deinterleave422(row, width, first, second, third);
}

void Deinterleave444(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels, first += kPixels,
                             second += kPixels, third += kPixels) {
        const Triple t = LoadTriple(row);
        t.first.Store(first);
        t.second.Store(second);
        t.third.Store(third);
    }
    scalar::Deinterleave444(row, width, first, second, third);
}

void MapAndDeinterleave422(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels, first += kPixels,
                             second += kPixels / 2, third += kPixels / 2) {
        const Triple pixels = LoadTriple(row);
        const Triple t = ToYcc(pixels.first, pixels.second, pixels.third);
        StoreTriple(row, t);
        t.first.Store(first);
        t.second.StoreEven(second);
        t.third.StoreEven(third);
    }
    scalar::MapAndDeinterleave422(row, width, first, second, third);
}

void MapAndDeinterleave444(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels, first += kPixels,
                             second += kPixels, third += kPixels) {
        const Triple t = LoadTriple(row);
        StoreTriple(row, {t.third, t.second, t.first});
        t.third.Store(first);
        t.second.Store(second);
        t.first.Store(third);
    }
    scalar::MapAndDeinterleave444(row, width, first, second, third);
}

void MapAndExtractGrey(uint8_t *row, uint32_t width, uint8_t *first) {
    for (; width >= kPixels; width -= kPixels, row += 3 * kPixels, first += kPixels) {
        const Pixels grey = Grey(LoadTriple(row));
        StoreTriple(row, {grey, grey, grey});
        grey.Store(first);
    }
    scalar::MapAndExtractGrey(row, width, first);
}
