// A cache of tables that follow from Huffman codes, built once for each list of codes.
#pragma once

#include "jpeg/huffman_entry.h"

#include <cstddef>

namespace kowen {

/// The last few tables built, for a filter that uses few lists of codes again and again. Constant
/// once built, as the filter's code lists are: nothing that a picture can change.
///
/// kCodes     codes in a list.
/// kCapacity  tables that are cached.
template <typename Table, std::size_t kCodes, std::size_t kCapacity> class TableCache {
public:
    /// The table of a list of codes; make(table, codes) fills a new one.
    template <typename Make> const Table &Of(const HuffmanEntry *codes, Make make) noexcept {
        for (const Slot &slot : slots_)
            if (slot.IsOf(codes))
                return slot.table;
        Slot &slot = slots_[next_];
        next_ = (next_ + 1) % kCapacity;
        slot.isMade = true;
        for (std::size_t i = 0; i < kCodes; ++i)
            slot.codes[i] = codes[i];
        make(slot.table, codes);
        return slot.table;
    }

private:
    struct Slot {
        bool isMade;
        HuffmanEntry codes[kCodes];
        Table table;

        bool IsOf(const HuffmanEntry *list) const {
            bool same = isMade;
            for (std::size_t i = 0; i < kCodes && same; ++i)
                same = codes[i].code == list[i].code && codes[i].length == list[i].length;
            return same;
        }
    };

    Slot slots_[kCapacity] = {};
    std::size_t next_ = 0;
};

} // namespace kowen
