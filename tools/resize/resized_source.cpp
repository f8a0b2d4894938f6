#include "resize/resized_source.h"

#include "byte_count.h"
#include "resize/band_scaler.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace kowen::cli {
namespace {

constexpr uint32_t kBandRows = 64; // of the result
constexpr double kMargin = 2;      // rows beyond the kernel's reach, for rounding

class ResizedSource : public Source {
public:
    ResizedSource(std::unique_ptr<Source> picture, const PixelSize &to, const Rgb &background)
        : source(std::move(picture)),
          rows(source.get(), background), from{source->Facts().width, source->Facts().height},
          size(to), window(from.width, WindowRows(), rows.Channels()),
          band(size.width, kBandRows, rows.Channels()),
          line(BytesOf({from.width, rows.Channels()})) {
        facts = source->Facts();
        facts.width = size.width;
        facts.height = size.height;
        facts.format = rows.Channels() == 1 ? KOWEN_PIXEL_GREY : KOWEN_PIXEL_RGB;
        facts.palette.clear();
        facts.paletteAlpha.clear();
    }

    void ReadRow(uint8_t *pixels) override {
        if (row == bandFirst + bandCount)
            NextBand();
        band.Take(pixels, row - bandFirst);
        ++row;
    }

    void Finish() override {
        for (; nextRow < from.height; ++nextRow)
            rows.ReadRow(line.data());
        source->Finish();
        warnings = source->Warnings();
        if (rows.Flattened())
            warnings.push_back("transparent pixels were put on the background");
    }

private:
    double RowsPerRow() const { return from.height / static_cast<double>(size.height); }

    // Rows of the source that a band can need.
    uint32_t WindowRows() const {
        const double rowsNeeded =
            kBandRows * RowsPerRow() + 2 * (KernelReach(from, size) + kMargin) + 2;
        return static_cast<uint32_t>(std::min<double>(std::ceil(rowsNeeded), from.height));
    }

    void NextBand() {
        bandFirst += bandCount;
        bandCount = std::min(kBandRows, size.height - bandFirst);
        const double reach = KernelReach(from, size) + kMargin;
        const double top = std::floor(bandFirst * RowsPerRow() - reach);
        const double bottom = std::ceil((bandFirst + bandCount) * RowsPerRow() + reach);
        const auto first = static_cast<uint32_t>(std::max(0.0, top));
        const auto end = static_cast<uint32_t>(std::min<double>(bottom, from.height));
        MoveWindow(first, end);
        const Band place = {from, size, bandFirst, bandCount, first, end - first};
        ScaleBand(place, &window, &band);
    }

    void MoveWindow(uint32_t first, uint32_t end) {
        for (; nextRow < first; ++nextRow)
            rows.ReadRow(line.data());
        if (first > windowFirst)
            window.MoveUp(first - windowFirst, nextRow - std::min(first, nextRow));
        windowFirst = first;
        for (; nextRow < end; ++nextRow) {
            rows.ReadRow(line.data());
            window.Put(line.data(), nextRow - windowFirst);
        }
    }

    std::unique_ptr<Source> source;
    PlainRows rows;
    PixelSize from;
    PixelSize size;
    PlanarRows window; ///< of the source
    PlanarRows band;   ///< of the result
    std::vector<uint8_t> line;
    uint32_t windowFirst = 0; ///< the source row at the window's top
    uint32_t nextRow = 0;     ///< the source row that comes next
    uint32_t bandFirst = 0;
    uint32_t bandCount = 0;
    uint32_t row = 0;
};

} // namespace

std::unique_ptr<Source> ResizePicture(std::unique_ptr<Source> source, const PixelSize &size,
                                      const Rgb &background) {
    return std::make_unique<ResizedSource>(std::move(source), size, background);
}

} // namespace kowen::cli
