#include "picture/hand_over.h"

#include "picture/adjust.h"

#include <algorithm>
#include <cstring>

namespace kowen::host {
namespace {

constexpr uint32_t kReportRows = 16;

// EXIF's orientations 2 and 3 have the rows' first pixel at the right; of 3 and 4 the first row is
// the bottom one; of 5 to 8 rows are columns, 6 and 7 from the right, 7 and 8 from the bottom.
bool FromRight(uint32_t orientation) {
    return orientation == 2 || orientation == 3;
}
bool FromBottom(uint32_t orientation) {
    return orientation == 3 || orientation == 4;
}
bool ColumnsFromRight(uint32_t orientation) {
    return orientation == 6 || orientation == 7;
}
bool ColumnsFromBottom(uint32_t orientation) {
    return orientation == 7 || orientation == 8;
}

template <size_t kBytes> void Mirror(uint8_t *row, uint32_t width) {
    for (uint32_t left = 0, right = width - 1; left < right; ++left, --right) {
        uint8_t kept[kBytes];
        std::memcpy(kept, row + left * kBytes, kBytes);
        std::memcpy(row + left * kBytes, row + right * kBytes, kBytes);
        std::memcpy(row + right * kBytes, kept, kBytes);
    }
}

// Indexes of a row as fewer bits each, the leftmost in the highest bits.
void Pack(const uint8_t *indexes, uint32_t width, int bits, uint8_t *row) {
    const auto perByte = static_cast<uint32_t>(8 / bits);
    for (uint32_t x = 0; x < width; x += perByte) {
        unsigned byte = 0;
        for (uint32_t i = 0; i < perByte; ++i)
            byte = byte << bits | (x + i < width ? indexes[x + i] : 0U);
        *row++ = static_cast<uint8_t>(byte);
    }
}

class HandingOver {
public:
    HandingOver(const FilterModule &module, const GivenPicture &given, const PixelPlan &pixelPlan,
                Progress *shown)
        : picture(given), plan(pixelPlan), progress(shown), rows(given, pixelPlan),
          bitmap(module, given.UprightWidth(), given.UprightHeight(), rows.Depth(),
                 rows.Palette()) {}

    HandedOver Run() {
        if (!picture.Transposed())
            TakeRows();
        else if (rows.PixelBytes() == 3)
            TakeColumns<3>();
        else
            TakeColumns<1>();
        const double pixels = double(picture.width) * picture.height;
        return {std::move(bitmap), 100 * double(clipped) / pixels, rows.SawTransparency()};
    }

private:
    void TakeRows() {
        std::vector<uint8_t> indexes(rows.Depth() < 8 ? picture.width : 0);
        for (uint32_t y = 0; y < picture.height; ++y) {
            uint8_t *row = bitmap.Row(FromBottom(picture.orientation) ? picture.height - 1 - y : y);
            rows.Take(y, indexes.empty() ? row : indexes.data());
            if (!indexes.empty())
                Pack(indexes.data(), picture.width, rows.Depth(), row);
            else if (FromRight(picture.orientation))
                (rows.PixelBytes() == 3 ? Mirror<3> : Mirror<1>)(row, picture.width);
            Adjust(row);
            Report(y);
        }
    }

    // Several rows at a time, so that what is written lies together.
    template <size_t kBytes> void TakeColumns() {
        const size_t rowBytes = size_t{picture.width} * kBytes;
        std::vector<uint8_t> some(kReportRows * rowBytes);
        for (uint32_t first = 0; first < picture.height; first += kReportRows) {
            const uint32_t count = std::min(kReportRows, picture.height - first);
            for (uint32_t i = 0; i < count; ++i)
                rows.Take(first + i, some.data() + i * rowBytes);
            for (uint32_t x = 0; x < picture.width; ++x)
                PutColumn<kBytes>(some.data() + x * kBytes, rowBytes, first, count, x);
            Report(first);
        }
        for (uint32_t y = 0; y < bitmap.Height(); ++y) {
            Adjust(bitmap.Row(y));
            if (y % kReportRows == 0)
                progress->TellOrThrow(1);
        }
    }

    // Column x of rows first to first + count - 1.
    template <size_t kBytes>
    void PutColumn(const uint8_t *from, size_t step, uint32_t first, uint32_t count, uint32_t x) {
        uint8_t *row =
            bitmap.Row(ColumnsFromBottom(picture.orientation) ? bitmap.Height() - 1 - x : x);
        const bool fromRight = ColumnsFromRight(picture.orientation);
        for (uint32_t i = 0; i < count; ++i, from += step) {
            const uint32_t column = fromRight ? bitmap.Width() - 1 - first - i : first + i;
            std::memcpy(row + column * kBytes, from, kBytes);
        }
    }

    void Adjust(uint8_t *row) {
        if (!plan.adjust || rows.Depth() != 24)
            return;
        const AdjustVariant &variant = FastestAdjust();
        const AdjustRow adjust = plan.greyFile  ? variant.grey
                                 : plan.resized ? variant.single
                                                : variant.pairs;
        clipped += adjust(row, bitmap.Width());
    }

    void Report(uint32_t row) {
        if (row % kReportRows == 0)
            progress->TellOrThrow(double(row) / picture.height);
    }

    const GivenPicture &picture;
    const PixelPlan &plan;
    Progress *progress;
    RowSource rows;
    Bitmap bitmap;
    uint64_t clipped = 0;
};

} // namespace

HandedOver HandOver(const FilterModule &module, const GivenPicture &picture, const PixelPlan &plan,
                    Progress *progress) {
    return HandingOver(module, picture, plan, progress).Run();
}

} // namespace kowen::host
