#include "jpeg/code_tables.h"

#include "jpeg/huffman_tables.h"

#include <cstddef>

namespace kowen {

namespace {

constexpr std::size_t kCapacity = 4;
constexpr int32_t kMaxDifference = 2047;
static_assert(kDifferences == kDcDifferences);

struct Slot {
    bool isBuilt;
    HuffmanEntry dcCodes[kDcCategories];
    HuffmanEntry acCodes[kAcSymbols];
    CodeTables tables;
};

constinit Slot slots[kCapacity] = {};
constinit std::size_t nextSlot = 0;

bool AreSame(const HuffmanEntry *a, const HuffmanEntry *b, std::size_t count) {
    uint32_t difference = 0; // no early end: the lists are nearly always the same
    for (std::size_t i = 0; i < count; ++i)
        difference |= (a[i].code ^ b[i].code) | static_cast<uint32_t>(a[i].length ^ b[i].length);
    return difference == 0;
}

void Copy(HuffmanEntry *to, const HuffmanEntry *from, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i)
        to[i] = from[i];
}

// A code and the appended bits of a value of its category (T.81 F.1.2.1.1).
PackedCode WithValue(const HuffmanEntry &entry, int32_t value, int32_t category) {
    const uint32_t appended =
        static_cast<uint32_t>(value < 0 ? value - 1 : value) & ((1u << category) - 1u);
    return Packed(entry.code << category | appended,
                  entry.length + static_cast<uint32_t>(category));
}

void BuildDifferences(CodeTables &tables, const HuffmanEntry *dcCodes) {
    for (int32_t d = -kMaxDifference; d <= kMaxDifference; ++d) {
        const int32_t category = CSize(d);
        tables.ofDifference[DcDifferenceIndex(d)] = WithValue(dcCodes[category], d, category);
    }
}

void BuildDcCategories(CodeTables &tables, const HuffmanEntry *dcCodes) {
    for (int category = 0; category < kDcCategories; ++category)
        tables.ofDcCategory[category] = Packed(dcCodes[category].code, dcCodes[category].length);
}

void BuildCoefficients(CodeTables &tables, const HuffmanEntry *acCodes) {
    PackedCode *code = tables.ofCoefficient;
    for (uint32_t run = 0; run < kShortRuns; ++run)
        for (int32_t coefficient = -kShortReach; coefficient < kShortReach; ++coefficient) {
            const int32_t category = CSize(coefficient);
            *code++ = WithValue(acCodes[run * 16 + static_cast<uint32_t>(category)], coefficient,
                                category);
        }
    for (uint32_t symbol = 0; symbol < kAcSymbols; ++symbol)
        tables.ofSymbol[symbol] = Packed(acCodes[symbol].code, acCodes[symbol].length);
}

} // namespace

const CodeTables *FindCodeTables(const HuffmanEntry *dcCodes,
                                 const HuffmanEntry *acCodes) noexcept {
    for (const Slot &slot : slots)
        if (slot.isBuilt && AreSame(slot.dcCodes, dcCodes, kDcCategories) &&
            AreSame(slot.acCodes, acCodes, kAcSymbols))
            return &slot.tables;
    Slot &slot = slots[nextSlot];
    nextSlot = (nextSlot + 1) % kCapacity;
    slot.isBuilt = true;
    Copy(slot.dcCodes, dcCodes, kDcCategories);
    Copy(slot.acCodes, acCodes, kAcSymbols);
    BuildDifferences(slot.tables, dcCodes);
    BuildDcCategories(slot.tables, dcCodes);
    BuildCoefficients(slot.tables, acCodes);
    return &slot.tables;
}

} // namespace kowen
