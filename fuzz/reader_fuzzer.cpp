// Pictures of every format that is read, whole, cut and damaged.
//
// Each is read from a file and, where the program itself does the reading, from memory; both must
// give the same. What Netpbm pictures show is known. Of the others what is said about them must be
// something that can be saved, and each row has exactly its bytes. The libraries behind the readers
// are not made to be fuzzed here; what is looked at is how they are used.
#include "fuzz/exactly.h"
#include "fuzz/picture_files.h"

#include "failure.h"
#include "readers/jpeg_source.h"
#include "readers/picture_format.h"
#include "readers/plain_rows.h"
#include "readers/png_source.h"
#include "readers/pnm_source.h"
#include "readers/source.h"
#include "support/temp_directory.h"

#include <cmath>
#include <cstdlib>
#include <functional>
#include <optional>

namespace {

using namespace kowen::cli;
using kowen::fuzz::Bytes;
using kowen::fuzz::Exactly;
using kowen::fuzz::Input;
using kowen::fuzz::PnmFile;
using kowen::fuzz::Require;

constexpr size_t kMostRowBytes = 1 << 16;
constexpr uint32_t kMostRows = 512;

// What reading a picture gave.
struct Reading {
    std::optional<PictureFacts> facts;
    std::vector<Bytes> rows;
    std::string failure;
    std::vector<std::string> warnings;
};

using Opener = std::function<std::unique_ptr<Source>()>;

void ReadRows(Source *source, Reading *reading) {
    const PictureFacts &facts = source->Facts();
    if (RowBytes(facts) > kMostRowBytes || facts.height > kMostRows)
        return;
    for (uint32_t y = 0; y < facts.height; ++y) {
        const Exactly<uint8_t> row(RowBytes(facts));
        source->ReadRow(row.Get());
        reading->rows.push_back(row.Values());
    }
    source->Finish();
}

Reading ReadAll(const Opener &open) {
    Reading reading;
    std::unique_ptr<Source> source;
    try {
        source = open();
        reading.facts = source->Facts();
        ReadRows(source.get(), &reading);
    } catch (const Failure &failure) {
        reading.failure = failure.what();
        Require(!reading.failure.empty(), "a reason");
    }
    if (source)
        reading.warnings = source->Warnings();
    return reading;
}

// Rows as grey or RGB, over a background.
void ReadPlainly(const Opener &open, const Reading &reading) {
    const std::unique_ptr<Source> source = open();
    PlainRows plain(source.get(), {10, 20, 30});
    Require(plain.Channels() == 1 || plain.Channels() == 3, "grey or RGB");
    const size_t row = source->Facts().width * plain.Channels();
    for (size_t y = 0; y < reading.rows.size(); ++y)
        plain.ReadRow(Exactly<uint8_t>(row).Get());
}

bool IsResolution(double dpi) {
    return std::isfinite(dpi) && dpi >= 0;
}

// That the host library takes it.
void RequireFacts(const PictureFacts &facts) {
    Require(facts.width > 0 && facts.height > 0, "a picture with pixels");
    Require(facts.orientation >= 1 && facts.orientation <= 8, "an orientation");
    Require(IsResolution(facts.xDpi) && IsResolution(facts.yDpi), "a resolution");
    const size_t colours = facts.palette.size() / 3;
    Require(facts.palette.size() == colours * 3 && colours <= 256, "a palette");
    Require(facts.paletteAlpha.empty() || facts.paletteAlpha.size() == colours, "its alpha");
    Require(facts.format != KOWEN_PIXEL_INDEXED || colours > 0, "colours for indexes");
    Require(facts.format != KOWEN_PIXEL_BILEVEL || colours == 0 || colours == 2, "two colours");
    Require(facts.comment.find('\0') == std::string::npos, "a comment that C can take");
}

void RequireSame(const Reading &one, const Reading &other) {
    Require(one.facts.has_value() == other.facts.has_value(), "whether it can be opened");
    Require(one.failure == other.failure, "why it cannot be read");
    Require(one.rows == other.rows, "the same rows");
    Require(one.warnings == other.warnings, "the same remarks");
    if (!one.facts)
        return;
    Require(one.facts->exif == other.facts->exif && one.facts->icc == other.facts->icc &&
                one.facts->comment == other.facts->comment,
            "the same metadata");
}

class Files {
public:
    Files() {
        // Small pictures, and nothing on disk.
        setenv("MAGICK_LIMIT_PIXELS", "1M", 1);
        setenv("MAGICK_LIMIT_MEMORY", "64M", 1);
        setenv("MAGICK_LIMIT_MAP", "64M", 1);
        setenv("MAGICK_LIMIT_DISK", "0", 1);
    }

    Reading Read(const std::string &name, const Bytes &bytes, const ReadOptions &options) const {
        const std::string path = directory.File(name.c_str());
        directory.Write(name.c_str(), std::string(bytes.begin(), bytes.end()));
        const Opener open = [&] { return OpenPicture(path, options); };
        Reading reading = ReadAll(open);
        if (reading.facts)
            RequireFacts(*reading.facts);
        RequireSameInMemory(path, bytes, options, reading);
        if (reading.failure.empty() && !reading.rows.empty())
            ReadPlainly(open, reading);
        return reading;
    }

private:
    static void RequireSameInMemory(const std::string &path, const Bytes &bytes,
                                    const ReadOptions &options, const Reading &reading) {
        const std::string format = PictureFormat(bytes, path);
        const auto open = format == "PNG"                      ? OpenPng
                          : format == "PNM" || format == "PAM" ? OpenPnm
                          : format == "JPEG"                   ? OpenJpeg
                                                               : nullptr;
        if (open == nullptr)
            return;
        RequireSame(reading, ReadAll([&] {
                        return open(std::make_unique<ByteInput>(path, bytes), options);
                    }));
    }

    TempDirectory directory;
};

const Files &TheFiles() {
    static const Files made;
    return made;
}

void ReadPnm(Input *input, const ReadOptions &options) {
    const PnmFile file(input);
    Bytes bytes = file.bytes;
    const bool cut = input->Bool();
    if (cut)
        bytes.resize(file.headerBytes +
                     input->Below(static_cast<uint32_t>(bytes.size() - file.headerBytes) + 1));
    const Reading reading = TheFiles().Read("a.pnm", bytes, options);
    Require(reading.facts.has_value(), "a whole header");
    Require(reading.facts->width == static_cast<uint32_t>(file.width) &&
                reading.facts->height == static_cast<uint32_t>(file.height),
            "its size");
    if (!cut || options.acceptTruncated)
        Require(reading.failure.empty() && reading.rows.size() == file.rows.size(), "all rows");
    if (cut && reading.failure.empty())
        return;
    // The last number of a cut text may have lost digits.
    const size_t whole = reading.rows.size() - (cut && file.type <= 3 && !reading.rows.empty());
    for (size_t y = 0; y < whole; ++y)
        Require(reading.rows[y] == file.rows[y], "what it shows");
}

void ReadDamaged(Bytes bytes, const char *name, Input *input, const ReadOptions &options) {
    for (int i = input->Seldom(2) ? input->Between(0, 6) : 0; i > 0 && !bytes.empty(); --i)
        bytes[input->Below(static_cast<uint32_t>(bytes.size()))] = input->Byte();
    if (input->Seldom(4))
        bytes.resize(input->Below(static_cast<uint32_t>(bytes.size()) + 1));
    TheFiles().Read(name, bytes, options);
}

// A file of a format that the picture library reads, or of none.
void ReadOther(Input *input, const ReadOptions &options) {
    constexpr const char *names[] = {"a", "a.tga", "a.ico", "a.wbmp"};
    const char *name = input->Pick(names);
    const Bytes bytes = input->Take(input->Left());
    const std::string format = PictureFormat(bytes, name);
    if (format != "PNG" && format != "JPEG") // those are made, of a size that is quick to read
        TheFiles().Read(name, bytes, options);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    ReadOptions options;
    options.acceptTruncated = input.Bool();
    switch (input.Below(8)) {
    case 0:
        ReadPnm(&input, options);
        break;
    case 1:
        ReadDamaged(PnmFile(&input).bytes, "a.pnm", &input, options);
        break;
    case 2:
    case 3:
        ReadDamaged(kowen::fuzz::PngFile(&input), "a.png", &input, options);
        break;
    case 4:
    case 5:
        TheFiles().Read("a.jpg", kowen::fuzz::JpegFile(&input), options);
        break;
    default:
        ReadOther(&input, options);
        break;
    }
    return 0;
}
