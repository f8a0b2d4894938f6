// The marker segments of a file. T.81 annex B; JFIF 1.02.
#pragma once

#include "reference/jpeg/tables.h"
#include "reference/jpeg/transform.h"

#include <cstdint>
#include <numeric>
#include <vector>

namespace kowen::reference {

using Bytes = std::vector<uint8_t>;

inline void PutByte(Bytes &out, int value) {
    out.push_back(static_cast<uint8_t>(value & 0xFF));
}

inline void PutWord(Bytes &out, int value) {
    PutByte(out, value >> 8);
    PutByte(out, value);
}

struct Header {
    int width;
    int height;
    int colorFormat;
    int operation;
    int quality;
    int xResolution;
    int yResolution;

    int Components() const {
        if (colorFormat == 215)
            return 1;
        return colorFormat == 212 || colorFormat == 222 ? 3 : 0;
    }
    bool Sequential() const { return operation == 245; }
};

inline void PutJfif(Bytes &out, const Header &header) {
    PutWord(out, 0xFFE0);
    PutWord(out, 16);
    for (const char c : {'J', 'F', 'I', 'F', '\0'})
        PutByte(out, c);
    PutWord(out, 0x0102); // version 1.02
    PutByte(out, 1);      // dots per inch
    PutWord(out, header.xResolution);
    PutWord(out, header.yResolution);
    PutByte(out, 0); // no thumbnail
    PutByte(out, 0);
}

inline void PutQuantTables(Bytes &out, const Header &header) {
    PutWord(out, 0xFFDB);
    PutWord(out, 132);
    for (int t = 0; t < 2; ++t) {
        PutByte(out, t);
        const QuantTable table =
            Quantisers(t == 0 ? kLuminanceBase : kChrominanceBase, header.quality);
        for (const int place : kZigZag)
            PutByte(out, table[static_cast<size_t>(place)]); // the low 8 bits only
    }
}

inline void PutFrame(Bytes &out, const Header &header) {
    const int components = header.Components();
    PutWord(out, header.Sequential() ? 0xFFC0 : 0xFFC2);
    PutWord(out, 8 + 3 * components);
    PutByte(out, components == 0 ? 0 : 24 / components);
    PutWord(out, header.height);
    PutWord(out, header.width);
    PutByte(out, components);
    for (int i = 0; i < components; ++i) {
        PutByte(out, i + 1);
        PutByte(out, i == 0 && header.colorFormat == 212 ? 0x21 : 0x11);
        PutByte(out, i == 0 ? 0 : 1);
    }
}

inline void PutHuffmanTables(Bytes &out, const Header &header) {
    const HuffmanLists lists = header.Sequential() ? SequentialLists() : ProgressiveLists();
    const std::vector<std::pair<int, const HuffmanList *>> inOrder = {
        {0x00, &lists.dc[0]}, {0x01, &lists.dc[1]}, {0x10, &lists.ac[0]}, {0x11, &lists.ac[1]}};
    int length = 2;
    for (const auto &[id, list] : inOrder)
        length += 17 + std::accumulate(list->counts.begin(), list->counts.end(), 0);
    PutWord(out, 0xFFC4);
    PutWord(out, length);
    for (const auto &[id, list] : inOrder) {
        PutByte(out, id);
        for (const int count : list->counts)
            PutByte(out, count);
        for (const int symbol : list->symbols)
            PutByte(out, symbol);
    }
}

/// SOS over zig-zag positions ss to se: components 0 .. count - 1, or the one given when the count
/// is below 2, even when it is 0.
inline Bytes ScanHeader(int count, int component, int ss, int se) {
    Bytes out;
    PutWord(out, 0xFFDA);
    PutWord(out, 6 + 2 * count);
    PutByte(out, count);
    const int first = count < 2 ? component : 0;
    for (int i = first; i < first + (count < 2 ? 1 : count); ++i) {
        PutByte(out, i + 1);
        PutByte(out, i == 0 ? 0x00 : 0x11);
    }
    PutByte(out, ss);
    PutByte(out, se);
    PutByte(out, 0); // no successive approximation
    return out;
}

/// Everything before the first scan.
inline Bytes FileHeader(const Header &header) {
    Bytes out;
    PutWord(out, 0xFFD8);
    PutJfif(out, header);
    PutQuantTables(out, header);
    PutFrame(out, header);
    PutHuffmanTables(out, header);
    return out;
}

} // namespace kowen::reference
