#include "readers/jpeg_source.h"

#include "readers/inks.h"
#include "readers/jpeg_reader.h"

#include <optional>

namespace kowen::cli {
namespace {

class JpegSource : public Source {
public:
    JpegSource(std::unique_ptr<ByteInput> input, const ReadOptions &options)
        : reader(std::move(input), options.acceptTruncated) {
        reader.ReadHeader(&facts);
        reader.NotTaken().Tell(&warnings);
        if (!reader.Inks())
            return;
        inks.emplace(facts.icc);
        inkRow.resize(size_t{facts.width} * Inks::kChannels);
        facts.icc.clear();
        warnings.push_back(inks->Note());
    }

    void ReadRow(uint8_t *pixels) override {
        if (inks) {
            reader.ReadRow(inkRow.data());
            inks->ToRgb(inkRow.data(), facts.width, pixels);
        } else {
            reader.ReadRow(pixels);
        }
    }

    void Finish() override {
        if (reader.Cut())
            warnings.push_back("the file ends early; the rest is grey");
        else if (!reader.Remark().empty())
            warnings.push_back(reader.Remark());
    }

private:
    JpegReader reader;
    std::optional<Inks> inks;
    std::vector<uint8_t> inkRow;
};

} // namespace

std::unique_ptr<Source> OpenJpeg(std::unique_ptr<ByteInput> input, const ReadOptions &options) {
    return std::make_unique<JpegSource>(std::move(input), options);
}

} // namespace kowen::cli
