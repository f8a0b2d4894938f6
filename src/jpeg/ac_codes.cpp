#include "jpeg/ac_codes.h"

#include "jpeg/huffman_tables.h"

#include <cstddef>

namespace kowen {

namespace {

constexpr std::size_t kTablesKept = 4;

struct KeptTable {
    bool isMade;
    HuffmanEntry codes[kAcSymbols];
    AcCodes made; // of the codes
};

// Constant once made, as the filter's code tables are: nothing that a picture can change.
KeptTable kept[kTablesKept] = {};
std::size_t nextPlace = 0;

bool IsMadeOf(const KeptTable &table, const HuffmanEntry *codes) {
    bool same = table.isMade;
    for (std::size_t i = 0; i < kAcSymbols && same; ++i)
        same = table.codes[i].code == codes[i].code && table.codes[i].length == codes[i].length;
    return same;
}

HuffmanEntry ShortCode(const HuffmanEntry *codes, uint32_t run, int32_t coefficient) {
    const int32_t category = CSize(coefficient);
    const uint32_t appended =
        static_cast<uint32_t>(coefficient < 0 ? coefficient - 1 : coefficient) &
        ((1u << category) - 1u);
    const HuffmanEntry &entry = codes[run * 16 + static_cast<uint32_t>(category)];
    return {entry.code << category | appended, static_cast<uint8_t>(entry.length + category)};
}

void Make(KeptTable &table, const HuffmanEntry *codes) {
    table.isMade = true;
    for (std::size_t i = 0; i < kAcSymbols; ++i) {
        table.codes[i] = codes[i];
        table.made.ofSymbol[i] = codes[i].code << 8 | codes[i].length;
    }
    HuffmanEntry *entry = table.made.ofCoefficient;
    for (uint32_t run = 0; run < kShortRuns; ++run)
        for (int32_t coefficient = -kShortReach; coefficient < kShortReach; ++coefficient)
            *entry++ = ShortCode(codes, run, coefficient);
}

} // namespace

const AcCodes *AcCodesOf(const HuffmanEntry *codes) noexcept {
    for (const KeptTable &table : kept)
        if (IsMadeOf(table, codes))
            return &table.made;
    KeptTable &table = kept[nextPlace];
    nextPlace = (nextPlace + 1) % kTablesKept;
    Make(table, codes);
    return &table.made;
}

} // namespace kowen
