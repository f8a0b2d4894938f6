#include "jpeg/code_tables.h"

#include "jpeg/huffman_entry.h"
#include "jpeg/huffman_tables.h"
#include "kowen/codes.h"

namespace kowen {

namespace {

constexpr int32_t kMaxDifference = 2047;
static_assert(kDifferences == kDcDifferences);

// Of one operation: for luminance and for chrominance.
struct BuiltTables {
    bool isBuilt;
    CodeTables tables[2];
};

constinit BuiltTables sequentialTables = {};
constinit BuiltTables otherTables = {};

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

void Build(BuiltTables &built, int32_t operation) {
    HuffmanEntry dc[2][kDcCategories + 1] = {};
    HuffmanEntry ac[2][kAcSymbols + 1] = {};
    HuffmanEntry *const codes[] = {dc[0], dc[1], ac[0], ac[1]};
    CreateCodes(codes, operation);
    for (int number = 0; number < 2; ++number) {
        BuildDifferences(built.tables[number], dc[number]);
        BuildDcCategories(built.tables[number], dc[number]);
        BuildCoefficients(built.tables[number], ac[number]);
    }
    built.isBuilt = true;
}

} // namespace

const CodeTables *CodeTablesFor(int32_t operation, int32_t number) noexcept {
    const bool sequential = operation == KOWEN_OPERATION_SEQUENTIAL;
    BuiltTables &built = sequential ? sequentialTables : otherTables;
    if (!built.isBuilt)
        Build(built, operation);
    return &built.tables[number];
}

} // namespace kowen
