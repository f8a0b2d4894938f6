// Rows of 3-byte pixels, Bytes::kCount at a time; the rest of a row is the scalar variant's.
// Included by the kernels of each instruction set behind its vectors.

constexpr uint32_t kStep = Bytes::kCount;

// MapColors in bytes. Halves and eighths are cut off toward zero, so they are taken of the
// difference's magnitude: of b - y a half, of r - y five eighths, m / 2 + (m + 4 (m & 1)) / 8.
inline Pixels ToYcc(Bytes red, Bytes green, Bytes blue) {
    const Bytes middle = Bytes::All(128);
    const Bytes y = Bytes::WeighedTenth(red, green, blue);
    const Bytes above = Bytes::SubtractToZero(blue, y).ShiftRight<1>();
    const Bytes below = Bytes::SubtractToZero(y, blue).ShiftRight<1>();
    const Bytes magnitude = Bytes::SubtractToZero(red, y) | Bytes::SubtractToZero(y, red);
    const Bytes half = magnitude.ShiftRight<1>();
    const Bytes twiceOdd = (magnitude + magnitude) & Bytes::All(2);
    const Bytes eighths = half + (half + twiceOdd).ShiftRight<2>();
    return {y, middle + above - below, middle + Bytes::NegatedWhereLess(eighths, red, y)};
}

inline Bytes Grey(const Pixels &t) {
    return Bytes::WeighedTenth(t.third, t.second, t.first);
}

void MapRgbToYcc(uint8_t *row, uint32_t width) {
    for (; width >= kStep; width -= kStep, row += 3 * kStep) {
        const Pixels t = LoadPixels(row);
        StorePixels(row, ToYcc(t.first, t.second, t.third));
    }
    scalar::MapRgbToYcc(row, width);
}

void MapBgrToYcc(uint8_t *row, uint32_t width) {
    for (; width >= kStep; width -= kStep, row += 3 * kStep) {
        const Pixels t = LoadPixels(row);
        StorePixels(row, ToYcc(t.third, t.second, t.first));
    }
    scalar::MapBgrToYcc(row, width);
}

void MapToGrey(uint8_t *row, uint32_t width) {
    for (; width >= kStep; width -= kStep, row += 3 * kStep) {
        const Bytes grey = Grey(LoadPixels(row));
        StorePixels(row, {grey, grey, grey});
    }
    scalar::MapToGrey(row, width);
}

void SwapFirstAndThird(uint8_t *row, uint32_t width) {
    for (; width >= kStep; width -= kStep, row += 3 * kStep) {
        const Pixels t = LoadPixels(row);
        StorePixels(row, {t.third, t.second, t.first});
    }
    scalar::SwapFirstAndThird(row, width);
}

void Deinterleave422(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third) {
    for (; width >= kStep; width -= kStep, row += 3 * kStep, first += kStep, second += kStep / 2,
                           third += kStep / 2) {
        const Pixels t = LoadPixels(row);
        t.first.Store(first);
        StoreEven(t.second, t.third, second, third);
    }
    scalar::Deinterleave422(row, width, first, second, third);
}

void Deinterleave444(const uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                     uint8_t *third) {
    for (; width >= kStep;
         width -= kStep, row += 3 * kStep, first += kStep, second += kStep, third += kStep) {
        const Pixels t = LoadPixels(row);
        t.first.Store(first);
        t.second.Store(second);
        t.third.Store(third);
    }
    scalar::Deinterleave444(row, width, first, second, third);
}

void MapAndDeinterleave422(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third) {
    for (; width >= kStep; width -= kStep, row += 3 * kStep, first += kStep, second += kStep / 2,
                           third += kStep / 2) {
        const Pixels pixels = LoadPixels(row);
        const Pixels t = ToYcc(pixels.first, pixels.second, pixels.third);
        StorePixels(row, t);
        t.first.Store(first);
        StoreEven(t.second, t.third, second, third);
    }
    scalar::MapAndDeinterleave422(row, width, first, second, third);
}

void MapAndDeinterleave444(uint8_t *row, uint32_t width, uint8_t *first, uint8_t *second,
                           uint8_t *third) {
    for (; width >= kStep;
         width -= kStep, row += 3 * kStep, first += kStep, second += kStep, third += kStep) {
        const Pixels t = LoadPixels(row);
        StorePixels(row, {t.third, t.second, t.first});
        t.third.Store(first);
        t.second.Store(second);
        t.first.Store(third);
    }
    scalar::MapAndDeinterleave444(row, width, first, second, third);
}

void MapAndExtractGrey(uint8_t *row, uint32_t width, uint8_t *first) {
    for (; width >= kStep; width -= kStep, row += 3 * kStep, first += kStep) {
        const Bytes grey = Grey(LoadPixels(row));
        StorePixels(row, {grey, grey, grey});
        grey.Store(first);
    }
    scalar::MapAndExtractGrey(row, width, first);
}
