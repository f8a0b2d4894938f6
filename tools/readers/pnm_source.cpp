#include "readers/pnm_source.h"

#include "cancel.h"
#include "failure.h"
#include "readers/pnm_header.h"

#include <algorithm>
#include <cstring>

namespace kowen::cli {
namespace {

constexpr uint32_t kWhite = 255;
constexpr uint32_t kOneByteMaximum = 255;

KowenPixelFormat FormatOf(const PnmHeader &header) {
    if (header.Bitmap())
        return KOWEN_PIXEL_BILEVEL;
    constexpr KowenPixelFormat kFormats[] = {KOWEN_PIXEL_GREY, KOWEN_PIXEL_GREY_ALPHA,
                                             KOWEN_PIXEL_RGB, KOWEN_PIXEL_RGBA};
    return kFormats[header.channels - 1];
}

class PnmSource : public Source {
public:
    PnmSource(std::unique_ptr<ByteInput> bytes, const ReadOptions &options)
        : input(std::move(bytes)), header(ReadPnmHeader(input.get())),
          acceptTruncated(options.acceptTruncated) {
        facts.kind = "PNM";
        facts.width = header.width;
        facts.height = header.height;
        facts.format = FormatOf(header);
        facts.comment = header.comment.substr(0, header.comment.find('\0'));
        if (header.Bitmap())
            facts.palette = {255, 255, 255, 0, 0, 0}; // 1 is ink
        rowBytes = RowBytes(facts);
        if (!header.Bitmap())
            MakeScale();
    }

    void ReadRow(uint8_t *pixels) override {
        StopIfCancelled();
        if (cut) {
            std::memset(pixels, header.Bitmap() ? 0 : kWhite, rowBytes);
            return;
        }
        const size_t whole = header.Bitmap() ? BitmapRow(pixels) : SampleRow(pixels);
        ++row;
        if (whole < rowBytes)
            TakeCut(pixels, whole);
    }

private:
    void MakeScale() {
        if (header.maximum == kOneByteMaximum && !header.Text())
            return;
        scale.resize(header.maximum + 1);
        for (uint32_t value = 0; value <= header.maximum; ++value)
            scale[value] =
                static_cast<uint8_t>((value * kWhite + header.maximum / 2) / header.maximum);
    }

    uint8_t Scaled(uint32_t value) const { return scale[std::min(value, header.maximum)]; }

    // Each returns how many bytes of the row there were.
    size_t BitmapRow(uint8_t *pixels) {
        if (!header.Text())
            return input->Read(pixels, rowBytes);
        std::memset(pixels, 0, rowBytes);
        for (uint32_t x = 0; x < header.width; ++x) {
            int byte = input->Byte();
            while (byte == ' ' || (byte >= '\t' && byte <= '\r'))
                byte = input->Byte();
            if (byte < 0)
                return 0;
            if (byte != '0' && byte != '1')
                FailSample();
            pixels[x / 8] = static_cast<uint8_t>(pixels[x / 8] | (byte - '0') << (7 - x % 8));
        }
        return rowBytes;
    }

    size_t SampleRow(uint8_t *pixels) {
        if (header.Text())
            return TextRow(pixels);
        if (header.maximum > kOneByteMaximum)
            return WideRow(pixels);
        const size_t got = input->Read(pixels, rowBytes);
        if (!scale.empty()) {
            for (size_t i = 0; i < got; ++i)
                pixels[i] = Scaled(pixels[i]);
        }
        return got;
    }

    size_t TextRow(uint8_t *pixels) {
        for (size_t i = 0; i < rowBytes; ++i) {
            const int64_t number = ReadPnmNumber(input.get(), nullptr);
            if (number == -1)
                return i;
            if (number < 0)
                FailSample();
            pixels[i] = Scaled(static_cast<uint32_t>(number));
        }
        return rowBytes;
    }

    size_t WideRow(uint8_t *pixels) {
        wide.resize(rowBytes * 2);
        const size_t samples = input->Read(wide.data(), wide.size()) / 2;
        for (size_t i = 0; i < samples; ++i)
            pixels[i] = Scaled(static_cast<uint32_t>(wide[i * 2] << 8 | wide[i * 2 + 1]));
        return samples;
    }

    void TakeCut(uint8_t *pixels, size_t whole) {
        const std::string where =
            "the file ends in row " + std::to_string(row) + " of " + std::to_string(header.height);
        if (!acceptTruncated)
            throw Failure(NameOf(input->Path()) + ": " + where +
                          "; --accept-truncated takes what is there");
        cut = true;
        warnings.push_back(where + "; the rest is white");
        if (!header.Bitmap())
            std::memset(pixels + whole, kWhite, rowBytes - whole);
        else if (header.Text())
            std::memset(pixels, 0, rowBytes);
        else
            std::memset(pixels + whole, 0, rowBytes - whole);
    }

    [[noreturn]] void FailSample() const {
        throw Failure(NameOf(input->Path()) + ": row " + std::to_string(row + 1) +
                      " has something that is no sample");
    }

    std::unique_ptr<ByteInput> input;
    PnmHeader header;
    bool acceptTruncated;
    bool cut = false;
    uint32_t row = 0;
    size_t rowBytes = 0;
    std::vector<uint8_t> scale; ///< samples to bytes; empty where they are bytes
    std::vector<uint8_t> wide;  ///< a row of two-byte samples
};

} // namespace

std::unique_ptr<Source> OpenPnm(std::unique_ptr<ByteInput> input, const ReadOptions &options) {
    return std::make_unique<PnmSource>(std::move(input), options);
}

} // namespace kowen::cli
