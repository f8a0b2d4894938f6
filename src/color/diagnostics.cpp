#include "color/diagnostics.h"

#include "color/pixel.h"

#include <cstdio>

namespace kowen {
namespace {

constexpr int16_t kDotsBelow = 3; // rows are shown as dots

bool Reports() noexcept {
    return _debug_color_res != 0;
}

bool ShowsRows() noexcept {
    return _debug_color_res > 0 && _debug_color_res < kDotsBelow;
}

bool ShowsDitheredRows() noexcept {
    return Reports() && _debug_color_res < kDotsBelow;
}

void PrintEntry(std::FILE *stream, const char *format, uint32_t index,
                const uint8_t *table) noexcept {
    const uint8_t *entry = table + size_t{index} * kTableEntryBytes;
    std::fprintf(stream, format, static_cast<int>(index), entry[0], entry[1], entry[2]);
}

} // namespace

void ReportConversionStart(uint32_t bytes) noexcept {
    if (Reports())
        std::fprintf(stderr, "Allocated %d bytes of new memory for the destination bitmap\n",
                     static_cast<int>(bytes));
    if (ShowsRows())
        std::fputs("Converted bits. Each (.) represents one scan line\n", stderr);
}

void ReportConvertedRow() noexcept {
    if (ShowsRows())
        std::fputs(".", stderr);
}

void ReportConversionEnd() noexcept {
    if (Reports())
        std::fputs("\nColor resolution conversion complete\n", stderr);
}

void ReportReduction(uint16_t wanted, const uint8_t *table, uint16_t count) noexcept {
    if (!Reports())
        return;
    std::fprintf(stderr, "Color Reduction in Process...24bit -> %d colors\n", wanted);
    std::fprintf(stderr, "  -new color table size: %d\n", count);
    for (uint32_t i = 0; i < count; ++i)
        PrintEntry(stderr, "   color %d: [%d, %d, %d]\n", i, table);
}

void ReportDitherTable(const uint8_t *table, uint32_t count) noexcept {
    if (!Reports())
        return;
    std::fputs("Dithering to the following colortable:\n", stdout);
    for (uint32_t i = 0; i < count; ++i)
        PrintEntry(stdout, "color %d: [%d, %d, %d]\n", i, table);
}

void ReportDitherStart() noexcept {
    if (ShowsDitheredRows())
        std::fputs("Dithering...each(.) represents one scan line\n", stdout);
}

void ReportDitheredRow() noexcept {
    if (ShowsDitheredRows())
        std::fputs(".", stdout);
}

void ReportDitherEnd() noexcept {
    if (ShowsDitheredRows())
        std::fputs("\n", stdout);
}

} // namespace kowen
