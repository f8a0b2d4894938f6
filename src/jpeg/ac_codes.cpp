#include "jpeg/ac_codes.h"

#include "jpeg/huffman_tables.h"
#include "jpeg/table_cache.h"

namespace kowen {

namespace {

constinit TableCache<AcCodes, kAcSymbols, 4> tables;

HuffmanEntry ShortCode(const HuffmanEntry *codes, uint32_t run, int32_t coefficient) {
    const int32_t category = CSize(coefficient);
    const uint32_t appended =
        static_cast<uint32_t>(coefficient < 0 ? coefficient - 1 : coefficient) &
        ((1u << category) - 1u);
    const HuffmanEntry &entry = codes[run * 16 + static_cast<uint32_t>(category)];
    return {entry.code << category | appended, static_cast<uint8_t>(entry.length + category)};
}

void Make(AcCodes &table, const HuffmanEntry *codes) {
    for (uint32_t i = 0; i < kAcSymbols; ++i)
        table.ofSymbol[i] = codes[i].code << 8 | codes[i].length;
    HuffmanEntry *entry = table.ofCoefficient;
    for (uint32_t run = 0; run < kShortRuns; ++run)
        for (int32_t coefficient = -kShortReach; coefficient < kShortReach; ++coefficient)
            *entry++ = ShortCode(codes, run, coefficient);
}

} // namespace

const AcCodes *AcCodesOf(const HuffmanEntry *codes) noexcept {
    return &tables.Of(codes, Make);
}

} // namespace kowen
