// Quantised blocks as a kernel's transform leaves them.
#pragma once

#include "jpeg/quant_tables.h"
#include "reference/jpeg/transform.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace kowen {

struct Transformed {
    /// blocks: row-major. zigZag: of the variant whose transform it would be.
    Transformed(const std::vector<reference::Block> &blocks, bool zigZag) {
        for (const reference::Block &block : blocks) {
            uint64_t bits = 0;
            for (size_t k = 0; k < 64; ++k) {
                const auto place = static_cast<size_t>(ZZ[k]);
                coefficients.push_back(zigZag ? block[place] : block[k]);
                if (block[place] != 0)
                    bits |= uint64_t{1} << k;
            }
            nonZero.push_back(bits);
        }
    }

    std::vector<int16_t> coefficients;
    std::vector<uint64_t> nonZero; ///< a bit per zig-zag position
};

} // namespace kowen
