// The four scans of a progressive picture: all DC coefficients, then the AC of each component.
#pragma once

#include "reference/jpeg/coder.h"
#include "reference/jpeg/stream.h"

#include <vector>

namespace kowen::reference {

/// A component's quantised blocks, row by row.
struct Plane {
    int blocksAcross = 0;
    int blocksDown = 0;
    std::vector<Block> blocks;

    const Block &At(int x, int y) const {
        return blocks[static_cast<size_t>(y * blocksAcross + x)];
    }
};

/// The pixels beyond the right and bottom edges repeat the last ones; chroma takes the even
/// columns of what that gives.
inline Plane CutPlane(const Coder &coder, const Picture &picture, int component) {
    const int step = component == 0 ? 1 : 2;
    Plane plane;
    plane.blocksAcross = (picture.width + 15) / 16 * (component == 0 ? 2 : 1);
    plane.blocksDown = (picture.height + 7) / 8;
    for (int down = 0; down < plane.blocksDown; ++down)
        for (int across = 0; across < plane.blocksAcross; ++across)
            plane.blocks.push_back(coder.Transformed(
                CutBlock([&](int x, int y) {
                    return picture.Near((across * 8 + x) * step,
                                        down * 8 + y)[static_cast<size_t>(component)];
                }),
                Coder::Table(component)));
    return plane;
}

/// Blocks without further coefficients, counted until something else must be coded.
inline void FlushBandEnds(Coder &coder, int &bandEnds, int component) {
    if (bandEnds == 0)
        return;
    const int runClass = Category(bandEnds) - 1; // 2^class <= run < 2^(class + 1)
    coder.PutCode(coder.acCodes[Coder::Table(component)], runClass * 16);
    coder.bits.Put(static_cast<uint32_t>(bandEnds), runClass);
    bandEnds = 0;
}

inline void CodeAcBand(Coder &coder, const Block &block, int &bandEnds, int component) {
    int run = 0;
    for (const int place : kZigZag) {
        if (place == 0)
            continue;
        const int coefficient = block[static_cast<size_t>(place)];
        if (coefficient == 0) {
            ++run;
            continue;
        }
        FlushBandEnds(coder, bandEnds, component);
        coder.CodeCoefficient(run, coefficient, component);
        run = 0;
    }
    if (run > 0 && ++bandEnds == 32767)
        FlushBandEnds(coder, bandEnds, component);
}

/// width: pixels of the unpadded picture; luminance blocks wholly in the padding have no AC.
inline void CodeAcScan(Coder &coder, const Plane &plane, int width, int component) {
    coder.bits.Append(ScanHeader(1, component, 1, 63));
    const int coded = component == 0 ? (width + 7) / 8 : plane.blocksAcross;
    int bandEnds = 0;
    for (int down = 0; down < plane.blocksDown; ++down)
        for (int across = 0; across < coded; ++across)
            CodeAcBand(coder, plane.At(across, down), bandEnds, component);
    FlushBandEnds(coder, bandEnds, component);
    coder.bits.PadWithOnes();
}

/// A whole picture of colour format 212; the scan headers are among the bytes.
inline void CodeProgressive(Coder &coder, const Picture &picture) {
    const Plane planes[3] = {CutPlane(coder, picture, 0), CutPlane(coder, picture, 1),
                             CutPlane(coder, picture, 2)};
    coder.bits.Append(ScanHeader(3, 0, 0, 0));
    for (int down = 0; down < planes[1].blocksDown; ++down)
        for (int across = 0; across < planes[1].blocksAcross; ++across) {
            coder.CodeDc(planes[0].At(2 * across, down), 0);
            coder.CodeDc(planes[0].At(2 * across + 1, down), 0);
            coder.CodeDc(planes[1].At(across, down), 1);
            coder.CodeDc(planes[2].At(across, down), 2);
        }
    coder.bits.PadWithOnes();
    for (int component = 0; component < 3; ++component)
        CodeAcScan(coder, planes[component], picture.width, component);
}

} // namespace kowen::reference
