// Tables that follow from Huffman codes, made once for each list of codes.
#pragma once

#include "jpeg/huffman_entry.h"

#include <cstddef>

namespace kowen {

/// The last few tables made, for a filter that uses few lists of codes again and again. Constant
/// once made, as the filter's code lists are: nothing that a picture can change.
///
/// kCodes  codes in a list.
/// kKept   how many tables are kept.
template <typename Table, std::size_t kCodes, std::size_t kKept> class KeptTables {
public:
    /// The table of a list of codes; make(table, codes) fills a new one.
    template <typename Make> const Table &Of(const HuffmanEntry *codes, Make make) noexcept {
        for (const Kept &kept : kept_)
            if (kept.IsOf(codes))
                return kept.table;
        Kept &kept = kept_[next_];
        next_ = (next_ + 1) % kKept;
        kept.isMade = true;
        for (std::size_t i = 0; i < kCodes; ++i)
            kept.codes[i] = codes[i];
        make(kept.table, codes);
        return kept.table;
    }

private:
    struct Kept {
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

    Kept kept_[kKept] = {};
    std::size_t next_ = 0;
};

} // namespace kowen
