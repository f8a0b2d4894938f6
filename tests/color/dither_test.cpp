#include "color/dither.h"

#include "color/bitmaps.h"
#include "color/pixel.h"
#include "reference/color/dither.h"
#include "support/failing_memory.h"

namespace kowen {
namespace {

TEST(RlDitherGivenCT, GivesTheBytesOfThePlainForm) {
    Random random(5);
    for (uint16_t from : {1, 4, 8, 24, 32}) {
        for (uint16_t to : {1, 2, 3, 4, 7, 8, 24, 32}) {
            for (int round = 0; round < 12; ++round) {
                const uint32_t width = 1 + random.Below(round < 9 ? 40 : 400);
                const uint32_t height = 1 + random.Below(12);
                const Bytes bitmap = RandomBitmap(random, width, height, from);
                const Bytes palette = RandomTable(random, from <= 8 ? 1u << from : 1);
                const uint32_t count = random.Below(round % 4 == 0 ? 400 : 18);
                const Bytes table = RandomTable(random, count);
                const Block bits(bitmap), colors(palette), target(table);
                const Block result(rlDitherGivenCT(bits, width, height, from, to, colors, target,
                                                   static_cast<uint16_t>(count)));
                EXPECT_EQ(Contents(result), reference::DitherGivenCT(bitmap, width, height, from,
                                                                     to, &palette, table, count))
                    << from << " to " << to << ", " << width << " x " << height << ", " << count
                    << " colours";
            }
        }
    }
}

TEST(RlDitherBitmap, GivesTheTableAndBytesOfThePlainForm) {
    Random random(6);
    for (uint16_t from : {1, 4, 8, 24, 32}) {
        for (uint16_t to : {1, 2, 3, 4, 5, 7, 8}) {
            const uint32_t width = 1 + random.Below(60);
            const uint32_t height = 1 + random.Below(40);
            const Bytes bitmap = RandomBitmap(random, width, height, from);
            const Bytes palette = RandomTable(random, from <= 8 ? 1u << from : 1);
            const Block bits(bitmap), colors(palette);
            MemoryHandle table = 0;
            const Block result(rlDitherBitmap(bits, width, height, from, to, colors, &table));
            const Block owned(table);
            reference::Table expected =
                reference::DitherGetCT(bitmap, width, height, from, to, &palette);
            expected.entries.resize(GlobalSize(table));
            EXPECT_EQ(Contents(table), expected.entries) << from << " to " << to;
            EXPECT_EQ(Contents(result),
                      reference::DitherGivenCT(bitmap, width, height, from, to, &palette,
                                               expected.entries, expected.count))
                << from << " to " << to;
        }
    }
}

} // namespace
} // namespace kowen
