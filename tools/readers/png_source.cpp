#include "readers/png_source.h"

#include "byte_count.h"
#include "cancel.h"
#include "failure.h"
#include "readers/png_reader.h"

#include <algorithm>
#include <cstring>

namespace kowen::cli {
namespace {

constexpr int kWhite = 255;
constexpr uint32_t kRowsPerReport = 64;

class PngSource : public Source {
public:
    PngSource(std::unique_ptr<ByteInput> input, const ReadOptions &readOptions)
        : reader(std::move(input)), options(readOptions) {
        reader.ReadHeader(&facts);
        rowBytes = RowBytes(facts);
        if (reader.Passes() > 1)
            ReadWhole();
    }

    void ReadRow(uint8_t *pixels) override {
        StopIfCancelled();
        if (!whole.empty()) {
            std::memcpy(pixels, whole.data() + rowBytes * row, rowBytes);
        } else if (cut) {
            Blank(pixels);
        } else if (!reader.ReadRow(pixels)) {
            TakeCut(row + 1);
            Blank(pixels);
        }
        ++row;
    }

    void Finish() override {
        if (!cut && !reader.ReadEnd())
            TakeCut(facts.height);
        reader.TellNotes(&warnings);
    }

private:
    void ReadWhole() {
        whole.resize(BytesOf({rowBytes, facts.height}));
        for (uint32_t y = 0; y < facts.height; ++y)
            Blank(whole.data() + rowBytes * y);
        for (int pass = 0; pass < reader.Passes() && !cut; ++pass) {
            for (uint32_t y = 0; y < facts.height; ++y) {
                if (y % kRowsPerReport == 0)
                    Report(pass, y);
                if (!reader.ReadRow(whole.data() + rowBytes * y)) {
                    TakeCut(y + 1);
                    break;
                }
            }
        }
    }

    void Report(int pass, uint32_t y) const {
        StopIfCancelled();
        if (options.progress != nullptr)
            options.progress(options.progressContext,
                             (pass + static_cast<double>(y) / facts.height) / reader.Passes());
    }

    void Blank(uint8_t *pixels) const {
        const bool indexes = facts.format == KOWEN_PIXEL_INDEXED ||
                             (facts.format == KOWEN_PIXEL_BILEVEL && !facts.palette.empty());
        std::memset(pixels, indexes ? 0 : kWhite, rowBytes);
    }

    void TakeCut(uint32_t at) {
        const std::string where = "row " + std::to_string(at) + " of " +
                                  std::to_string(facts.height) +
                                  " cannot be read: " + reader.Problem();
        if (!options.acceptTruncated)
            throw Failure(NameOf(reader.Path()) + ": " + where +
                          "; --accept-truncated takes what is there");
        cut = true;
        warnings.push_back(where + "; the rest is blank");
    }

    PngReader reader;
    ReadOptions options;
    std::vector<uint8_t> whole; ///< all rows of an interlaced picture
    size_t rowBytes = 0;
    uint32_t row = 0;
    bool cut = false;
};

} // namespace

std::unique_ptr<Source> OpenPng(std::unique_ptr<ByteInput> input, const ReadOptions &options) {
    return std::make_unique<PngSource>(std::move(input), options);
}

} // namespace kowen::cli
