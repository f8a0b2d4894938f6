#include "jpeg/quant_tables.h"

#include "jpeg/compress_env.h"

#include <cmath>

namespace kowen {

const int16_t kBaseQuantTable[2][64] = {
    // T.81 table K.1, luminance.
    {
        16, 11, 10, 16, 24,  40,  51,  61,  //
        12, 12, 14, 19, 26,  58,  60,  55,  //
        14, 13, 16, 24, 40,  57,  69,  56,  //
        14, 17, 22, 29, 51,  87,  80,  62,  //
        18, 22, 37, 56, 68,  109, 103, 77,  //
        24, 35, 55, 64, 81,  104, 113, 92,  //
        49, 64, 78, 87, 103, 121, 120, 101, //
        72, 92, 95, 98, 112, 100, 103, 99,
    },
    // T.81 table K.2, chrominance.
    {
        17, 18, 24, 47, 99, 99, 99, 99, //
        18, 21, 26, 66, 99, 99, 99, 99, //
        24, 26, 56, 99, 99, 99, 99, 99, //
        47, 66, 99, 99, 99, 99, 99, 99, //
        99, 99, 99, 99, 99, 99, 99, 99, //
        99, 99, 99, 99, 99, 99, 99, 99, //
        99, 99, 99, 99, 99, 99, 99, 99, //
        99, 99, 99, 99, 99, 99, 99, 99,
    },
};

int32_t SetQTable(CompressEnv *env, int32_t quality, int32_t) noexcept {
    const double scale = (3700.0 - 36.0 * quality) / 1000.0;
    for (int table = 0; table < kQuantTables; ++table) {
        for (int i = 0; i < kBlockSize; ++i) {
            const double quantiser = std::ceil(kBaseQuantTable[table][i] * scale);
            env->quantTable[table][i] =
                quantiser < 1.0 ? uint16_t{1}
                                : static_cast<uint16_t>(quantiser > 65535.0 ? 65535.0 : quantiser);
        }
    }
    return 0;
}

} // namespace kowen
