// Counting colours, and searching them by cubes. Included by the kernels that have the Vector for
// it and the bit manipulation of AVX2's time.

constexpr int kNoChoice = 0x7FFFFF00;
constexpr uint32_t kLookUps = 64; // at a time; few enough to stay in the first cache

// As ColorKey of the pixel's three bytes; the byte after it is read too.
inline uint32_t KeyOf(const uint8_t *pixel) {
    uint32_t bytes;
    __builtin_memcpy(&bytes, pixel, 4);
    return _pext_u32(__builtin_bswap32(bytes), 0xF8F8F800);
}

inline void CountColors(const uint8_t *row, uint32_t width, uint32_t *counts, uint32_t *others) {
    for (; width > 4; width -= 4, row += 12) {
        ++counts[KeyOf(row)];
        ++others[KeyOf(row + 3)];
        ++counts[KeyOf(row + 6)];
        ++others[KeyOf(row + 9)];
    }
    plain::CountColors(row, width, counts, others);
}

inline void FillCube(const NearestCandidate *list, const uint8_t low[3], uint8_t *indices) {
    constexpr uint32_t kParts = kCubeColors / Vector::kRows;
    Vector redGreen[kParts], blue[kParts], best[kParts];
    for (uint32_t part = 0; part < kParts; ++part) {
        alignas(64) uint32_t words[2][Vector::kRows];
        for (uint32_t i = 0; i < Vector::kRows; ++i) {
            const uint32_t color = part * Vector::kRows + i;
            words[0][i] = (low[0] + (color & 3)) | (low[1] + (color >> 2 & 3)) << 16;
            words[1][i] = low[2] + (color >> 4);
        }
        redGreen[part] = Vector::Load(words[0]);
        blue[part] = Vector::Load(words[1]);
        best[part] = Vector::All32(kNoChoice);
    }
    for (uint32_t k = 1; k <= list->index; ++k) {
        const NearestCandidate &entry = list[k];
        const Vector entryRedGreen = Vector::Pair(entry.color[0], entry.color[1]);
        const Vector entryBlue = Vector::Pair(entry.color[2], 0);
        for (uint32_t part = 0; part < kParts; ++part) {
            const Vector a = Vector::Sub(redGreen[part], entryRedGreen);
            const Vector b = Vector::Sub(blue[part], entryBlue);
            const Vector distance =
                Vector::Add32(Vector::MultiplyAdd(a, a), Vector::MultiplyAdd(b, b));
            best[part] = Vector::Min32(best[part], Vector::Or(Vector::ShiftLeft32<8>(distance),
                                                              Vector::All32(entry.index)));
        }
    }
    for (uint32_t part = 0; part < kParts; ++part)
        best[part].StoreLowBytes(indices + part * Vector::kRows);
}

// The numbers of the cubes and of the colours in them, for kLookUps pixels.
inline void NumberColors(const uint8_t *pixels, uint32_t *cube, uint32_t *color) {
    for (uint32_t i = 0; i < kLookUps; i += Vector::kRows) {
        const Vector bytes = Vector::Pixels(pixels + 3 * i);
        const Vector upper = Vector::And(Vector::ShiftRight32<2>(bytes), Vector::All32(0x3F3F3F));
        const Vector lower = Vector::And(bytes, Vector::All32(0x030303));
        Vector::MultiplyAdd(Vector::MultiplyAddBytes(upper, Vector::All32(0x00014001)),
                            Vector::Pair(1, 4096))
            .Store(cube + i);
        Vector::MultiplyAdd(Vector::MultiplyAddBytes(lower, Vector::All32(0x00010401)),
                            Vector::Pair(1, 16))
            .Store(color + i);
    }
}

// Looks up kLookUps choices. Returns 0 when the cube of one was not filled: its choice is wrong.
inline uint32_t LookUp(const CubeTable &table, const uint32_t *cube, const uint32_t *color,
                       uint8_t *indices) {
    const uint32_t *const places = table.places;
    const uint8_t *const choices = table.choices;
    uint32_t filled = 1; // places are odd
    for (uint32_t i = 0; i < kLookUps; ++i) {
        const uint32_t place = places[cube[i]];
        filled &= place;
        indices[i] = choices[place + color[i]];
    }
    return filled;
}

inline void FillCubes(CubeTable *table, const uint32_t *cube) {
    for (uint32_t i = 0; i < kLookUps; ++i)
        if (table->places[cube[i]] == 0)
            table->fill(table->owner, cube[i]);
}

inline void LookUpColors(CubeTable *table, const uint8_t *pixels, uint32_t count,
                         uint8_t *indices) {
    constexpr uint32_t kOverread = 6; // pixels of which the last vector touches bytes
    if (count < kLookUps + kOverread)
        return plain::LookUpColors(table, pixels, count, indices);
    alignas(64) uint32_t cube[kLookUps], color[kLookUps];
    const uint32_t end = count - kOverread;
    for (uint32_t done = 0; done < end; done += kLookUps) {
        done = done < end - kLookUps ? done : end - kLookUps; // some twice, rather than plainly
        NumberColors(pixels + size_t{done} * 3, cube, color);
        while (LookUp(*table, cube, color, indices + done) == 0)
            FillCubes(table, cube);
    }
    plain::LookUpColors(table, pixels + size_t{end} * 3, kOverread, indices + end);
}
