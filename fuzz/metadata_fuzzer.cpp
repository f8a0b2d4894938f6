// What a picture says beside its pixels, on its way into a JPEG.
//
// EXIF data are laid out here, so what must become of each byte is known: the orientation and the
// sizes are the JPEG's, of a thumbnail nothing is left, and all else stays as it was. Then damaged
// data: whatever comes out is no larger and can be fitted again. Profiles and comments are taken
// out of their segments again.
#include "fuzz/input.h"

#include "readers/exif.h"
#include "stream/exif.h"
#include "stream/metadata.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace kowen::host;
using kowen::fuzz::Bytes;
using kowen::fuzz::Input;
using kowen::fuzz::Require;

struct Entry {
    uint16_t tag;
    uint16_t type; ///< 2 of bytes, 3 of two bytes, 4 of four
    uint32_t count;
    uint32_t value;
};
using Directory = std::vector<Entry>;

// A TIFF structure with places that are filled in when everything behind them is known.
class TiffWriter {
public:
    explicit TiffWriter(bool littleEndian) : little(littleEndian) {
        bytes = little ? Bytes{'I', 'I', 42, 0, 0, 0, 0, 0} : Bytes{'M', 'M', 0, 42, 0, 0, 0, 0};
    }

    void Put(size_t at, size_t count, uint32_t value) {
        for (size_t i = 0; i < count; ++i)
            bytes[little ? at + i : at + count - 1 - i] = static_cast<uint8_t>(value >> 8 * i);
    }

    // Where it starts. Values of two bytes stand in the first half of their place.
    uint32_t Add(const Directory &directory) {
        const size_t start = bytes.size();
        bytes.resize(start + 2 + directory.size() * 12 + 4);
        Put(start, 2, static_cast<uint32_t>(directory.size()));
        for (size_t i = 0; i < directory.size(); ++i) {
            const Entry &entry = directory[i];
            const size_t at = start + 2 + i * 12;
            Put(at, 2, entry.tag);
            Put(at + 2, 2, entry.type);
            Put(at + 4, 4, entry.count);
            Put(at + 8, entry.type == 3 && entry.count == 1 ? 2 : 4, entry.value);
        }
        return static_cast<uint32_t>(start);
    }

    uint32_t AddBytes(const Bytes &more) {
        const size_t start = bytes.size();
        bytes.insert(bytes.end(), more.begin(), more.end());
        return static_cast<uint32_t>(start);
    }

    Bytes bytes;
    bool little;
};

Entry OneNumber(uint16_t tag, Input *input, uint32_t value) {
    return {tag, static_cast<uint16_t>(3 + input->Below(2)), 1, value};
}

// A value that lies elsewhere.
Entry LongText(uint16_t tag, Input *input, TiffWriter *tiff) {
    const Bytes text = input->Fill(5 + input->Below(30));
    const uint32_t at = tiff->AddBytes(text);
    return {tag, 2, static_cast<uint32_t>(text.size()), at};
}

// What stands in the data and what must stand there later.
struct Exif {
    Bytes given;
    ExifFit fit;
    uint32_t orientation = 1;
    uint32_t width = 0; ///< of the EXIF directory
    uint32_t height = 0;
    size_t end = 0; ///< of all but the thumbnail
};

// Its pixels may stand before their directory or behind it.
uint32_t AddThumbnail(Input *input, TiffWriter *tiff) {
    const Bytes picture = input->Fill(1 + input->Below(40));
    const bool pictureFirst = input->Bool();
    uint32_t at = pictureFirst ? tiff->AddBytes(picture) : 0;
    const auto count = static_cast<uint32_t>(picture.size());
    const uint32_t directory = tiff->Add({{0x0201, 4, 1, at}, {0x0202, 4, 1, count}});
    if (!pictureFirst) {
        at = tiff->AddBytes(picture);
        tiff->Put(directory + 2 + 8, 4, at);
    }
    return directory;
}

uint32_t AddExifDirectory(Input *input, TiffWriter *tiff, Exif *exif) {
    Directory directory = {LongText(0x9003, input, tiff)};
    if (input->Bool()) {
        exif->width = input->Number<uint16_t>();
        directory.push_back(OneNumber(0xA002, input, exif->width));
    }
    if (input->Bool()) {
        exif->height = input->Number<uint16_t>();
        directory.push_back(OneNumber(0xA003, input, exif->height));
    }
    if (input->Bool())
        directory.push_back({0xA005, 4, 1, tiff->Add({{0x0001, 2, 4, 0x00383952}})});
    return tiff->Add(directory);
}

Exif AnyExif(Input *input) {
    Exif exif;
    exif.fit = {input->Number<uint16_t>(), input->Number<uint16_t>(), input->Bool()};
    TiffWriter tiff(input->Bool());
    const uint32_t place = input->Below(3); // of the thumbnail: none, in front, behind
    uint32_t thumbnail = place == 1 ? AddThumbnail(input, &tiff) : 0;
    exif.orientation = input->Below(10);
    Directory first = {OneNumber(0x0112, input, exif.orientation)};
    if (input->Bool())
        first.push_back(OneNumber(0x0100, input, input->Number<uint16_t>()));
    if (input->Bool())
        first.push_back(OneNumber(0x0101, input, input->Number<uint16_t>()));
    if (input->Bool())
        first.push_back(LongText(0x010F, input, &tiff));
    if (input->Bool())
        first.push_back({0x8769, 4, 1, AddExifDirectory(input, &tiff, &exif)});
    if (input->Bool())
        first.push_back({0x8825, 4, 1, tiff.Add({LongText(0x001D, input, &tiff)})});
    const uint32_t at = tiff.Add(first);
    tiff.Put(4, 4, at);
    exif.end = tiff.bytes.size();
    if (place == 2)
        thumbnail = AddThumbnail(input, &tiff);
    tiff.Put(at + 2 + first.size() * 12, 4, thumbnail);
    tiff.AddBytes(input->Fill(input->Below(7)));
    exif.given = std::move(tiff.bytes);
    return exif;
}

// The plainest reader of a directory's numbers.
class PlainTiff {
public:
    explicit PlainTiff(const Bytes &tiff) : bytes(tiff) {}

    uint32_t At(size_t at, size_t count) const {
        uint32_t value = 0;
        for (size_t i = 0; i < count; ++i)
            value = value * 256 + bytes.at(bytes[0] == 'I' ? at + count - 1 - i : at + i);
        return value;
    }
    uint32_t First() const { return At(4, 4); }
    uint32_t Next() const { return First() + 2 + At(First(), 2) * 12; } ///< where that is said
    // Where the entry of a tag is, 0 when there is none.
    size_t Find(uint32_t directory, uint16_t tag) const {
        for (uint32_t i = 0; directory != 0 && i < At(directory, 2); ++i) {
            if (At(directory + 2 + i * 12, 2) == tag)
                return directory + 2 + i * 12;
        }
        return 0;
    }
    uint32_t Value(uint32_t directory, uint16_t tag) const {
        const size_t at = Find(directory, tag);
        return at == 0 ? 0 : At(at + 8, At(at + 2, 2) == 3 ? 2 : 4);
    }

private:
    const Bytes &bytes;
};

// The data as they must become.
Bytes PlainlyFitted(const Exif &exif) {
    Bytes wanted = exif.given;
    const PlainTiff tiff(exif.given);
    TiffWriter writer(exif.given[0] == 'I');
    writer.bytes.swap(wanted);
    const auto set = [&](uint32_t directory, uint16_t tag, uint32_t value) {
        if (const size_t at = tiff.Find(directory, tag)) {
            writer.Put(at + 8, 4, 0);
            writer.Put(at + 8, tiff.At(at + 2, 2) == 3 ? 2 : 4, value);
        }
    };
    const uint32_t directory = tiff.Value(tiff.First(), 0x8769);
    set(tiff.First(), 0x0112, 1);
    set(tiff.First(), 0x0100, exif.fit.width);
    set(tiff.First(), 0x0101, exif.fit.height);
    set(directory, 0xA002, exif.fit.width);
    set(directory, 0xA003, exif.fit.height);
    const uint32_t thumbnail = tiff.At(tiff.Next(), 4);
    if (!exif.fit.keepThumbnail && thumbnail != 0) {
        std::fill_n(writer.bytes.begin() + static_cast<ptrdiff_t>(tiff.Value(thumbnail, 0x0201)),
                    tiff.Value(thumbnail, 0x0202), uint8_t{0});
        writer.Put(tiff.Next(), 4, 0);
    }
    return writer.bytes;
}

void FitWhole(Input *input) {
    const Exif exif = AnyExif(input);
    Bytes given = exif.given;
    if (input->Bool())
        given.insert(given.begin(), {'E', 'x', 'i', 'f', 0, 0});
    const bool known = exif.orientation >= 1 && exif.orientation <= 8;
    Require(kowen::cli::ExifOrientation(given) == (known ? exif.orientation : 1),
            "the orientation that is read");
    const ExifSize named = SizeInExif(given);
    Require(named.width == exif.width && named.height == exif.height, "the size that it names");
    Bytes wanted = PlainlyFitted(exif);
    const Bytes fitted = FitExif(given, exif.fit);
    Require(fitted.size() >= exif.end && fitted.size() <= wanted.size(), "only what is not needed");
    Require(fitted.size() == wanted.size() || !exif.fit.keepThumbnail, "all of it");
    wanted.resize(fitted.size());
    Require(fitted == wanted, "the data as they must become");
}

void FitDamaged(Input *input) {
    Bytes exif = input->Bool() ? AnyExif(input).given : input->Take(input->Below(400));
    for (int i = exif.empty() ? 0 : input->Between(0, 12); i > 0; --i)
        exif[input->Below(static_cast<uint32_t>(exif.size()))] = input->Byte();
    if (input->Bool())
        exif.resize(input->Below(static_cast<uint32_t>(exif.size()) + 1));
    const ExifFit fit = {input->Number<uint16_t>(), input->Number<uint16_t>(), input->Bool(),
                         input->Number<uint16_t>(), input->Number<uint16_t>()};
    const Bytes fitted = FitExif(exif, fit);
    SizeInExif(exif);
    const uint32_t orientation = kowen::cli::ExifOrientation(exif);
    kowen::cli::ExifResolution(exif);
    Require(orientation >= 1 && orientation <= 8, "an orientation");
    Require(fitted.size() <= exif.size(), "no more than there was");
    if (!fitted.empty())
        Require(FitExif(fitted, fit).size() <= fitted.size(), "fitted again");
}

// Takes one segment off the front; what is behind its length word.
Bytes TakeSegment(uint8_t marker, Bytes *segments) {
    Require(segments->size() >= 4 && (*segments)[0] == 0xFF && (*segments)[1] == marker, "marker");
    const size_t length = (*segments)[2] * 256u + (*segments)[3];
    Require(length >= 2 && segments->size() >= length + 2, "a segment's length");
    const auto end = segments->begin() + static_cast<ptrdiff_t>(length + 2);
    const Bytes body(segments->begin() + 4, end);
    segments->erase(segments->begin(), end);
    return body;
}

void Join(Input *input) {
    const Bytes exif = input->Fill(input->Below(input->Seldom(8) ? 65528 : 60));
    const Bytes icc = input->Fill(input->Below(input->Seldom(8) ? 3 * 65519 + 2 : 60));
    const Bytes text = input->Fill(input->Below(input->Seldom(8) ? 65534 : 60));
    Bytes segments;
    AppendExif(exif, &segments);
    AppendIcc(icc, &segments);
    AppendComment(std::string(text.begin(), text.end()), &segments);

    Bytes body = TakeSegment(0xE1, &segments);
    Require(Bytes(body.begin(), body.begin() + 6) == Bytes{'E', 'x', 'i', 'f', 0, 0}, "its name");
    Require(Bytes(body.begin() + 6, body.end()) == exif, "EXIF data");
    Bytes joined;
    const size_t pieces = (icc.size() + 65518) / 65519;
    for (size_t i = 1; i <= pieces; ++i) {
        body = TakeSegment(0xE2, &segments);
        Require(body.size() > 14 && std::equal(body.begin(), body.begin() + 12, "ICC_PROFILE"),
                "a profile's name");
        Require(body[12] == i && body[13] == pieces, "which of how many");
        joined.insert(joined.end(), body.begin() + 14, body.end());
    }
    Require(joined == icc, "a profile in pieces");
    Require(TakeSegment(0xFE, &segments) == text && segments.empty(), "a comment");
}

void AskWhatFits(Input *input) {
    constexpr size_t limits[] = {0, 65527, 65533, size_t{65519} * 255};
    const size_t size = input->Pick(limits) + input->Byte() % 5;
    Require(ExifFits(size) == (size <= 65527), "EXIF data of one segment");
    Require(CommentFits(size) == (size <= 65533), "a comment of one segment");
    Require(IccFits(size) == (size <= size_t{65519} * 255), "a profile of 255");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    while (input.Left() > 0) {
        switch (input.Below(8)) {
        case 0:
            Join(&input);
            break;
        case 1:
            AskWhatFits(&input);
            break;
        case 2:
        case 3:
        case 4:
            FitDamaged(&input);
            break;
        default:
            FitWhole(&input);
            break;
        }
    }
    return 0;
}
