// What a picture's file has that the JPEG does not get: it is said, in words and in --json.
#include "readers/left_out.h"
#include "readers/several_pictures.h"
#include "tools/export_fixture.h"
#include "tools/png_file.h"
#include "tools/tiff_file.h"

#include <nlohmann/json.hpp>

#include <string_view>

namespace kowen::test {
namespace {

using namespace kowen::cli;
using namespace std::string_view_literals;
using std::string;

class LeftOutOfFiles : public ExportFixture {
protected:
    /// Exports bytes under a name; the notes of --json.
    std::vector<string> Notes(const string &bytes, const string &name = "in") {
        directory.Write(name, bytes);
        Export({name, "-o", "out.jpg", "--json"});
        EXPECT_EQ(result.exitCode, 0) << result.errors;
        return nlohmann::json::parse(result.output)["notes"];
    }

    /// A JPEG with segments behind its JFIF one.
    string JpegWith(const string &segments) {
        Decode(Ppm(MakeSoftPicture(24, 16)));
        string jpeg(file.begin(), file.end());
        jpeg.insert(20, segments); // SOI has 2 bytes, APP0 18
        return jpeg;
    }
};

string Segment(char marker, const string &data) {
    const size_t length = data.size() + 2;
    return string("\xFF") + marker + static_cast<char>(length >> 8) + static_cast<char>(length) +
           data;
}

const string kXmp = Segment('\xE1', string("http://ns.adobe.com/xap/1.0/\0<x/>", 33));
const string kIptc = Segment('\xED', string("Photoshop 3.0\0"
                                            "8BIM\x04\x04\0\0\0\0\0\x07\x1C\x02\x78\0\x02hi\0",
                                            34));

TEST_F(LeftOutOfFiles, JpegsTellOfXmpAndIptc) {
    using Lines = std::vector<string>;
    EXPECT_EQ(Notes(JpegWith(kXmp + kIptc)), Lines{"the XMP and IPTC data were left out"});
    EXPECT_EQ(Notes(JpegWith(kXmp)), Lines{"the XMP data was left out"});
    EXPECT_EQ(Notes(JpegWith(kIptc)), Lines{"the IPTC data was left out"});
    // Another resource, and an APP1 segment of another name.
    const string others = Segment('\xED', string("Photoshop 3.0\0"
                                                 "8BIM\x03\xED\0\0\0\0\0\0",
                                                 26)) +
                          Segment('\xE1', "other");
    EXPECT_EQ(Notes(JpegWith(others)), Lines{});
    directory.Write("in", JpegWith(kXmp + kIptc));
    Export({"in", "-o", "out.jpg"});
    EXPECT_EQ(result.errors, "kowen: note: in: the XMP and IPTC data were left out\n");
    EXPECT_EQ(Notes(JpegWith(kXmp), "in.png"), Lines{"the XMP data was left out"})
        << "by its bytes";
}

TEST_F(LeftOutOfFiles, ResizedPicturesTellAsWell) {
    directory.Write("in", JpegWith(kXmp));
    Export({"in", "-o", "out.jpg", "--resize", "12x"});
    EXPECT_EQ(result.errors, "kowen: note: in: the XMP data was left out\n");
}

TEST_F(LeftOutOfFiles, PngsTellOfTheirTexts) {
    PngPicture png;
    png.width = png.height = 16;
    png.colours = kPngGrey;
    png.rows.assign(16, string(16, 'x'));
    png.text = string("Author\0Ann", 10);
    string bytes = Png(png);
    EXPECT_EQ(Notes(bytes), std::vector<string>{"the text \"Author\" was left out"});
    const size_t end = bytes.size() - 12; // IEND
    using png_detail::Chunk;
    bytes.insert(end, Chunk("tEXt", string("Ti\x1Btle\0a", 8)) +
                          Chunk("tEXt", string("Software\0b", 10)) +
                          Chunk("tEXt", string("date:create\0c", 13)) +
                          Chunk("iTXt", string("XML:com.adobe.xmp\0\0\0\0\0<x/>", 26)));
    EXPECT_EQ(Notes(bytes),
              (std::vector<string>{"the XMP data was left out",
                                   "the texts \"Author\", \"Ti?tle\" were left out"}));
}

TEST_F(LeftOutOfFiles, PngsTellOfExifBehindThePixels) {
    PngPicture png;
    png.width = png.height = 16;
    png.colours = kPngGrey;
    png.rows.assign(16, string(16, 'x'));
    string bytes = Png(png);
    bytes.insert(bytes.size() - 12,
                 png_detail::Chunk("eXIf", string("MM\0*\0\0\0\x08\0\0\0\0\0\0", 14)));
    EXPECT_EQ(Notes(bytes),
              std::vector<string>{"the EXIF data stands behind the pixels and was left out"});
}

TEST(LeftOut, NamesFiveTextsAndCountsTheRest) {
    LeftOut leftOut;
    for (const char *key : {"a", "b", "c", "d", "e", "f", "g"})
        leftOut.AddText(key);
    std::vector<string> notes;
    leftOut.Tell(&notes);
    EXPECT_EQ(notes,
              std::vector<string>{R"(the texts "a", "b", "c", "d", "e", 7 in all, were left out)"});
}

TEST_F(LeftOutOfFiles, TiffsTellOfXmpIptcAndFurtherPages) {
    const std::vector<TiffEntry> more = {{700, 1, 4, "<x/>"},
                                         {33723, 4, 2, string("\x1C\x02\x78\0\x02hi\0", 8)}};
    EXPECT_EQ(Notes(Tiff({{"\x60\x70\x80", 2, more}})),
              std::vector<string>{"the XMP and IPTC data were left out"});
    const TiffPage preview = {"\x60\x70\x80", 2, {TiffLong(254, 1)}};
    EXPECT_EQ(Notes(Tiff({{}, preview, {"\x90\x80\x70", 2, {}}, {}})),
              std::vector<string>{"this is the first of 3 pictures in the file; the others were "
                                  "left out"});
    EXPECT_EQ(Notes(Tiff({{}, preview})), std::vector<string>{});
    const DecodedJpeg jpeg = DecodeFile("out.jpg");
    EXPECT_NEAR(jpeg.At(8, 8)[0], 0x60, 3);
}

TEST_F(LeftOutOfFiles, TiffsTellOfIptcAmongResources) {
    const string iptc("8BIM\x04\x04\0\0\0\0\0\x00", 12);
    const string other("8BIM\x03\xED\0\0\0\0\0\0", 12);
    const auto fileOf = [](const string &data) {
        return Tiff({{"\x60\x70\x80", 2, {{34377, 1, 12, data}}}});
    };
    EXPECT_EQ(Notes(fileOf(iptc)), std::vector<string>{"the IPTC data was left out"});
    EXPECT_EQ(Notes(fileOf(other)), std::vector<string>{});
}

TEST_F(LeftOutOfFiles, NothingOfWhatATiffSaysOfMakerAndArtist) {
    const string picture =
        Tiff({{"\x60\x70\x80", 2, {TiffText(271, "Maker"), TiffText(315, "Artist Name")}}});
    EXPECT_EQ(Notes(picture), std::vector<string>{});
    file = ReadJpegFile(directory.File("out.jpg"));
    const string bytes(file.begin(), file.end());
    EXPECT_TRUE(Has(bytes, string("Exif\0\0II*\0\x08\0\0\0\x02\0\x0F\x01", 18)));
    EXPECT_TRUE(Has(bytes, "Maker") && Has(bytes, "Artist Name"));
}

TEST_F(LeftOutOfFiles, CielabIsRefusedByItsName) {
    directory.Write("in", Tiff({{"\x80\x10\x10", 8, {}}}));
    EXPECT_EQ(Export({"in", "-o", "no.jpg"}).exitCode, 1);
    EXPECT_EQ(result.errors, "kowen: in: the colours are CIELab, which cannot be read here; save "
                             "the picture in RGB\n");
    EXPECT_FALSE(directory.Has("no.jpg"));
}

// A black pixel; its frame has an extension in front of it.
const string kGifHead("GIF89a\1\0\1\0\x80\0\0\0\0\0\xFF\xFF\xFF", 19);
const string kGifFrame("\x21\xF9\x04\0\0\0\0\0\x2C\0\0\0\0\1\0\1\0\0\2\2\x44\1\0", 23);

TEST_F(LeftOutOfFiles, GifsTellOfFurtherFrames) {
    EXPECT_EQ(Notes(kGifHead + kGifFrame + ";"), std::vector<string>{});
    EXPECT_EQ(Notes(kGifHead + kGifFrame + kGifFrame + ";"),
              std::vector<string>{"this is the first of 2 pictures in the file; the others were "
                                  "left out"});
}

string IconEntry(int side, size_t bytes, size_t at) {
    const string sides(2, static_cast<char>(side));
    return sides + string("\0\0\1\0\x18\0", 6) + TiffNumber(static_cast<uint32_t>(bytes), 4) +
           TiffNumber(static_cast<uint32_t>(at), 4);
}

string Square(int side) {
    PngPicture png;
    png.width = png.height = side;
    string row;
    for (int x = 0; x < side; ++x)
        row += "\x60\x70\x80";
    png.rows.assign(static_cast<size_t>(side), row);
    return Png(png);
}

TEST_F(LeftOutOfFiles, TheLargestIconIsTaken) {
    const string pictures[] = {Square(16), Square(48), Square(32)};
    const size_t first = 6 + 3 * 16;
    const size_t second = first + pictures[0].size();
    const string icons = string("\0\0\1\0\3\0", 6) + IconEntry(16, pictures[0].size(), first) +
                         IconEntry(48, pictures[1].size(), second) +
                         IconEntry(32, pictures[2].size(), second + pictures[1].size()) +
                         pictures[0] + pictures[1] + pictures[2];
    EXPECT_EQ(Notes(icons, "a.ico"),
              std::vector<string>{"this is the largest of 3 pictures in the file; the others were "
                                  "left out"});
    const DecodedJpeg jpeg = DecodeFile("out.jpg");
    EXPECT_EQ(jpeg.width, 48);
    EXPECT_NEAR(jpeg.At(20, 20)[1], 0x70, 3);
}

TEST_F(LeftOutOfFiles, AnAnimatedWebpIsRefusedByItsName) {
    directory.Write("in", string("RIFF\x16\0\0\0WEBPVP8X\x0A\0\0\0\x02\0\0\0\0\0\0\0\0\0", 30));
    EXPECT_EQ(Export({"in", "-o", "no.jpg"}).exitCode, 1);
    EXPECT_EQ(result.errors, "kowen: in: an animated WebP, which cannot be read here; save one of "
                             "its pictures as a file of its own\n");
}

TEST(CountPictures, ReadsBothByteOrdersOfTiff) {
    // Directories without entries at 8 and 14.
    const string big("MM\0*\0\0\0\x08\0\0\0\0\0\x0E\0\0\0\0\0\0", 20);
    const auto *bytes = reinterpret_cast<const uint8_t *>(big.data());
    EXPECT_EQ(CountPictures({bytes, big.size()}, "TIFF").count, 2u);
}

TEST(CountPictures, EndsForDamagedFiles) {
    string circle("II*\0\x08\0\0\0\0\0\x08\0\0\0", 14); // its directory follows itself
    const auto *bytes = reinterpret_cast<const uint8_t *>(circle.data());
    EXPECT_EQ(CountPictures({bytes, circle.size()}, "TIFF").count, 10000u);
    for (const char *format : {"TIFF", "GIF", "ICO", "BMP"}) {
        for (size_t size = 0; size < circle.size(); ++size)
            EXPECT_LE(CountPictures({bytes, size}, format).count, 10000u);
    }
    const string gif = kGifHead + kGifFrame;
    bytes = reinterpret_cast<const uint8_t *>(gif.data());
    EXPECT_EQ(CountPictures({bytes, gif.size()}, "GIF").count, 1u);
    EXPECT_EQ(CountPictures({bytes, kGifHead.size() + 8}, "GIF").count, 0u);
}

TEST(HasWebpXmp, IsAFlagOfTheExtendedHead) {
    string file("RIFF\x16\0\0\0WEBPVP8X\x0A\0\0\0\x04", 21);
    const auto look = [&] {
        return HasWebpXmp({reinterpret_cast<const uint8_t *>(file.data()), file.size()});
    };
    EXPECT_TRUE(look());
    file[15] = 'L';
    EXPECT_FALSE(look());
}

} // namespace
} // namespace kowen::test
