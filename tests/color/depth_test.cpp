#include "color/depth.h"

#include "color/bitmaps.h"
#include "color/pixel.h"
#include "support/failing_memory.h"

#include <optional>

namespace kowen {
namespace {

constexpr uint16_t kDepths[] = {1, 4, 8, 24, 32};
constexpr uint16_t kAllDepths[] = {0, 1, 2, 3, 4, 5, 7, 8, 9, 16, 17, 24, 25, 32, 33, 200};

Bytes Converted(const Bytes &bitmap, uint32_t width, uint32_t height, uint16_t from, uint16_t to,
                const Bytes *fromTable, const Bytes *toTable, uint32_t count) {
    const Block bits(bitmap);
    const Block source = fromTable != nullptr ? Block(*fromTable) : Block();
    const Block target = toTable != nullptr ? Block(*toTable) : Block();
    const Block result(rlConvertBitmapDepth(bits, width, height, from, to, source, target, count));
    EXPECT_NE(MemoryHandle{result}, 0u);
    return Contents(result);
}

// Every combination of tables for one pair of depths.
void CompareWithPlainForm(Random &random, uint32_t width, uint32_t height, uint16_t from,
                          uint16_t to) {
    const Bytes bitmap = RandomBitmap(random, width, height, from);
    const uint32_t sourceEntries = from <= 8 ? 1u << from : 20;
    const Bytes whole = RandomTable(random, sourceEntries);
    const Bytes part = RandomTable(random, random.Below(sourceEntries));
    const uint32_t targetEntries = 1 + random.Below(to <= 8 ? 1u << to : 300);
    const Bytes target = RandomTable(random, targetEntries);
    for (const Bytes *fromTable : {static_cast<const Bytes *>(nullptr), &whole, &part}) {
        for (const Bytes *toTable : {static_cast<const Bytes *>(nullptr), &target}) {
            for (uint32_t count : {targetEntries, targetEntries / 2, targetEntries + 7}) {
                EXPECT_EQ(Converted(bitmap, width, height, from, to, fromTable, toTable, count),
                          reference::ConvertBitmapDepth(bitmap, width, height, from, to, fromTable,
                                                        toTable, count))
                    << from << " to " << to << ", " << width << " x " << height << ", count "
                    << count << (fromTable == &part ? ", short source table" : "");
            }
        }
    }
}

TEST(RlConvertBitmapDepth, GivesTheBytesOfThePlainForm) {
    Random random(1);
    for (uint16_t from : kAllDepths)
        for (uint16_t to : kAllDepths)
            for (uint32_t width : {1u, 2u, 7u, 8u, 9u, 31u, 33u})
                CompareWithPlainForm(random, width, 1 + random.Below(4), from, to);
}

TEST(RlConvertBitmapDepth, GivesTheBytesOfThePlainFormOnLongRows) {
    Random random(2);
    for (uint16_t from : kDepths)
        for (uint16_t to : kDepths)
            CompareWithPlainForm(random, 2051, 3, from, to);
}

} // namespace
} // namespace kowen
