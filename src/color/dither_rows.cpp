#include "color/dither_rows.h"

#include "color/color_mode.h"
#include "color/diagnostics.h"
#include "color/dither_row.h"
#include "color/pixel.h"

#include <cstring>
#include <utility>

namespace kowen {
namespace {

const uint8_t *RowOf(const RowDitherer &ditherer, uint32_t y) noexcept {
    return ditherer.picture + size_t{y} * ditherer.stride;
}

// As kModeGreyScale of rev_rgb, one byte per pixel.
void TakeGreys(const uint8_t *row, uint32_t width, uint8_t *greys) noexcept {
    for (uint32_t x = 0; x < width; ++x, row += 3)
        greys[x] = GreyOf(row);
}

// Copies row y of the picture in the form in which rows are held.
void FetchRow(const RowDitherer &ditherer, uint32_t y, uint8_t *row) noexcept {
    if (ditherer.isGrey)
        return TakeGreys(RowOf(ditherer, y), ditherer.width, row);
    std::memcpy(row, RowOf(ditherer, y), size_t{ditherer.width} * 3);
    if (ditherer.turnsGrey)
        rev_rgb(static_cast<int32_t>(ditherer.width), row, kModeGreyScale);
}

// The row itself where it is held as it is in the picture, else a copy in room.
const uint8_t *Fetched(const RowDitherer &ditherer, uint32_t y, uint8_t *room) noexcept {
    if (!ditherer.turnsGrey)
        return RowOf(ditherer, y);
    FetchRow(ditherer, y, room);
    return room;
}

// The rows from y on. Below the last row stands any other.
DitherBand BandAt(const RowDitherer &ditherer, uint32_t y, uint32_t rows) noexcept {
    DitherBand band = {};
    band.width = ditherer.width;
    band.carried = ditherer.carried;
    for (uint32_t i = 0; i < rows; ++i) {
        const uint32_t below = y + 1 + i;
        band.below[i] = below < ditherer.height
                            ? Fetched(ditherer, below, ditherer.below[i % kBandRows])
                            : ditherer.below[0];
        band.indices[i] = ditherer.indices[i];
    }
    return band;
}

void DitherOneRow(RowDitherer *ditherer, uint32_t y) noexcept {
    if (ditherer->isGrey)
        return DitherGreyRow(ditherer->greys, BandAt(*ditherer, y, 1));
    uint8_t *next = y + 1 < ditherer->height ? ditherer->below[0] : nullptr;
    if (next != nullptr)
        FetchRow(*ditherer, y + 1, next);
    DitherRow(&ditherer->finder, ditherer->carried, next, ditherer->width, ditherer->indices[0]);
}

bool IsForWaves(const RowDitherer &ditherer) noexcept {
    const uint32_t entries = ditherer.finder.table.count;
    return ActiveColorKernels().waveRows != 0 && !ditherer.turnsGrey && entries >= 1 &&
           entries <= kWaveEntries;
}

// Dithers a band of rows from y on or, where there is none, one row; returns how many.
uint32_t DitherSome(RowDitherer *ditherer, uint32_t y) noexcept {
    if (ditherer->bandRows > kBandRows && ditherer->height - y >= ditherer->bandRows) {
        const ColorTable &table = ditherer->finder.table;
        ActiveColorKernels().ditherWave(table.entries, table.count,
                                        BandAt(*ditherer, y, ditherer->bandRows));
        return ditherer->bandRows;
    }
    const bool hasBand = ditherer->height - y >= kBandRows;
    if (hasBand && ditherer->isGrey) {
        DitherGreyBand(ditherer->greys, BandAt(*ditherer, y, kBandRows));
        return kBandRows;
    }
    if (hasBand && !ditherer->turnsGrey && ServesBands(ditherer->finder)) {
        DitherColorBand(&ditherer->cells, BandAt(*ditherer, y, kBandRows));
        return kBandRows;
    }
    DitherOneRow(ditherer, y);
    return 1;
}

} // namespace

bool OpenRowDitherer(RowDitherer *ditherer, const uint8_t *picture, uint32_t width, uint32_t height,
                     const ColorTable &table, bool turnsGrey) noexcept {
    *ditherer = {};
    ditherer->picture = picture;
    ditherer->width = width;
    ditherer->height = height;
    ditherer->stride = rlBytesPerLine(width, 24);
    ditherer->turnsGrey = turnsGrey;
    ditherer->finder.table = table;
    ditherer->bandRows = IsForWaves(*ditherer) ? ActiveColorKernels().waveRows : kBandRows;
    const uint64_t spacing = uint64_t{ditherer->stride} + kBandSlack;
    const uint64_t bytes = kBandSlack + spacing * (1 + kBandRows + ditherer->bandRows);
    ditherer->room = bytes <= UINT32_MAX ? rlGetMemory(1, static_cast<uint32_t>(bytes)) : 0;
    if (ditherer->room == 0)
        return false;
    uint8_t *row = Lock<uint8_t>(ditherer->room) + kBandSlack;
    ditherer->carried = row;
    for (uint32_t i = 0; i < kBandRows; ++i)
        ditherer->below[i] = row += spacing;
    for (uint32_t i = 0; i < ditherer->bandRows; ++i)
        ditherer->indices[i] = row += spacing;
    ditherer->isGrey = turnsGrey && ChooseGreys(&ditherer->greys, table);
    OpenFinder(&ditherer->finder, table, ditherer->isGrey ? 0 : uint64_t{width} * height);
    OpenQuickCells(&ditherer->cells, &ditherer->finder);
    return true;
}

void CloseRowDitherer(RowDitherer *ditherer) noexcept {
    CloseQuickCells(&ditherer->cells);
    CloseFinder(&ditherer->finder);
    rlFreeNewData(ditherer->room);
}

void DitherRows(RowDitherer *ditherer, uint8_t *target, uint32_t stride) noexcept {
    if (ditherer->width == 0 || ditherer->height == 0)
        return;
    FetchRow(*ditherer, 0, ditherer->carried);
    for (uint32_t y = 0; y < ditherer->height;) {
        const uint32_t rows = DitherSome(ditherer, y);
        for (uint32_t i = 0; i < rows; ++i, target += stride) {
            const bool byIndex = ditherer->converter.from == 8;
            ConvertRow(&ditherer->converter, byIndex ? ditherer->indices[i] : ditherer->carried,
                       target, ditherer->width);
            ReportDitheredRow();
        }
        if (rows == 1 && !ditherer->isGrey)
            std::swap(ditherer->carried, ditherer->below[0]);
        y += rows;
    }
}

} // namespace kowen
