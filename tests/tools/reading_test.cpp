// Pictures in every form of the formats that are read row by row, looked at in the JPEG.
#include "tools/bmp_file.h"
#include "tools/export_fixture.h"
#include "tools/png_file.h"

#include <map>

namespace kowen::test {
namespace {

using std::string;

class Reading : public ExportFixture {
protected:
    /// Exports and looks at one pixel, which the JPEG may miss by a little.
    void ExpectPixel(const string &picture, int x, int y, const Rgb &colour,
                     const std::vector<string> &options = {}) {
        const DecodedJpeg jpeg = Decode(picture, options);
        ASSERT_TRUE(jpeg.Clean()) << jpeg.error;
        for (int c = 0; c < 3; ++c)
            EXPECT_NEAR(jpeg.At(x, y)[jpeg.channels == 3 ? c : 0], colour[static_cast<size_t>(c)],
                        3)
                << "channel " << c << " at " << x << ", " << y;
    }
};

string Repeat(const string &text, int count) {
    string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

std::vector<string> Rows(const string &row, int count = 16) {
    return std::vector<string>(static_cast<size_t>(count), row);
}

// A picture of 16 x 16 pixels whose left half is one thing and whose right half another.
string Halves(const string &left, const string &right) {
    return Repeat(left, 8) + Repeat(right, 8);
}

TEST_F(Reading, PngOfEveryColourType) {
    const string black(1, '\0');
    PngPicture png = {16, 16, 8,  kPngGrey, Rows(Halves("\x32", "\xC8")), "", 0, 0,
                      "", "", "", false};
    ExpectPixel(Png(png), 2, 8, {50, 50, 50});
    ExpectPixel(Png(png), 13, 8, {200, 200, 200});
    png.bits = 1;
    png.rows = Rows(string("\x00\xFF", 2));
    ExpectPixel(Png(png), 2, 8, {0, 0, 0});
    ExpectPixel(Png(png), 13, 8, {255, 255, 255});
    png.bits = 4;
    png.rows = Rows(Repeat("\x33", 4) + Repeat("\xCC", 4));
    ExpectPixel(Png(png), 2, 8, {51, 51, 51});
    ExpectPixel(Png(png), 13, 8, {204, 204, 204});
    png.bits = 16;
    png.rows = Rows(Halves(string("\x32\x10", 2), string("\xC8\x10", 2)));
    ExpectPixel(Png(png), 2, 8, {50, 50, 50});
    png.colours = kPngRgb;
    png.rows =
        Rows(Halves(string("\x60\x00\x70\x00\x80\x00", 6), string("\x90\x00\x80\x00\x70\x00", 6)));
    ExpectPixel(Png(png), 2, 8, {96, 112, 128});
    ExpectPixel(Png(png), 13, 8, {144, 128, 112});
    png.bits = 8;
    png.rows = Rows(Halves("\x60\x70\x80", "\x90\x80\x70"));
    ExpectPixel(Png(png), 13, 8, {144, 128, 112});
}

TEST_F(Reading, PngPalettes) {
    PngPicture png = {16,
                      16,
                      2,
                      kPngPalette,
                      Rows(Repeat("\x55", 2) + Repeat("\xAA", 2)),
                      string("\0\0\0\x60\x70\x80\x90\x80\x70", 9),
                      0,
                      0,
                      "",
                      "",
                      "",
                      false};
    ExpectPixel(Png(png), 2, 8, {96, 112, 128});
    ExpectPixel(Png(png), 13, 8, {144, 128, 112});
    png.bits = 1;
    png.rows = Rows(string("\x00\xFF", 2));
    png.palette = "\x60\x70\x80\x90\x80\x70";
    ExpectPixel(Png(png), 13, 8, {144, 128, 112});
    png.bits = 8;
    png.rows = Rows(Halves(string("\0", 1), "\x01"));
    ExpectPixel(Png(png), 2, 8, {96, 112, 128});
}

TEST_F(Reading, PngTransparencyShowsTheBackground) {
    // Half opaque over white: (96 + 255) / 2.
    PngPicture png = {
        16, 16,   8, kPngRgba, Rows(Halves("\x60\x70\x80\x80", string("\x60\x70\x80\0", 4))),
        "", 0,    0, "",       "",
        "", false};
    ExpectPixel(Png(png), 2, 8, {175, 183, 191});
    ExpectPixel(Png(png), 13, 8, {255, 255, 255});
    ExpectPixel(Png(png), 13, 8, {112, 128, 144}, {"--background", "#708090"});
    png.colours = kPngGreyAlpha;
    png.rows = Rows(Halves("\x40\xFF", string("\x40\0", 2)));
    ExpectPixel(Png(png), 2, 8, {64, 64, 64});
    ExpectPixel(Png(png), 13, 8, {255, 255, 255});
    png.colours = kPngPalette;
    png.rows = Rows(Halves(string("\0", 1), "\x01"));
    png.palette = "\x60\x70\x80\x90\x80\x70";
    png.transparency = string("\xFF\0", 2);
    ExpectPixel(Png(png), 2, 8, {96, 112, 128});
    ExpectPixel(Png(png), 13, 8, {255, 255, 255});
    png.colours = kPngGrey; // the value 1 is transparent
    png.palette.clear();
    png.transparency = string("\0\x01", 2);
    ExpectPixel(Png(png), 2, 8, {0, 0, 0});
    ExpectPixel(Png(png), 13, 8, {255, 255, 255});
}

// Which of Adam7's passes a pixel belongs to.
int PassOf(int x, int y) {
    constexpr int kPasses[8][8] = {{1, 6, 4, 6, 2, 6, 4, 6}, {7, 7, 7, 7, 7, 7, 7, 7},
                                   {5, 6, 5, 6, 5, 6, 5, 6}, {7, 7, 7, 7, 7, 7, 7, 7},
                                   {3, 6, 4, 6, 3, 6, 4, 6}, {7, 7, 7, 7, 7, 7, 7, 7},
                                   {5, 6, 5, 6, 5, 6, 5, 6}, {7, 7, 7, 7, 7, 7, 7, 7}};
    return kPasses[y % 8][x % 8];
}

TEST_F(Reading, InterlacedPngIsPutTogether) {
    const TestPicture picture = MakeSoftPicture(37, 23);
    PngPicture png = {37, 23, 8, kPngRgb, {}, "", 0, 0, "", "", "", true};
    for (int pass = 1; pass <= 7; ++pass) {
        for (int y = 0; y < 23; ++y) {
            string row;
            for (int x = 0; x < 37; ++x) {
                if (PassOf(x, y) == pass)
                    row.append(picture.At(x, y).begin(), picture.At(x, y).end());
            }
            if (!row.empty())
                png.rows.push_back(row);
        }
    }
    const DecodedJpeg jpeg = Decode(Png(png));
    EXPECT_EQ(jpeg.height, 23);
    EXPECT_GT(Psnr(jpeg, picture), 38);
}

string OrientationExif(int orientation) {
    string exif("MM\0*\0\0\0\x08\0\x01\x01\x12\0\x03\0\0\0\x01\0\x06\0\0\0\0\0\0", 26);
    exif[19] = static_cast<char>(orientation);
    return exif;
}

// Left half dark; 6 is turned by a quarter to the right: the top is dark.
TEST_F(Reading, PngTurnedAsItsExifSays) {
    PngPicture png = {32, 16,   8, kPngGrey, Rows(Repeat("\x1E", 16) + Repeat("\xDC", 16)),
                      "", 0,    0, "",       OrientationExif(6),
                      "", false};
    const DecodedJpeg jpeg = Decode(Png(png));
    EXPECT_EQ(jpeg.width, 16);
    EXPECT_EQ(jpeg.height, 32);
    EXPECT_NEAR(jpeg.At(8, 4)[0], 30, 6);
    EXPECT_NEAR(jpeg.At(8, 28)[0], 220, 6);
    png.exif = OrientationExif(8);
    EXPECT_NEAR(Decode(Png(png)).At(8, 4)[0], 220, 6);
}

TEST_F(Reading, MetadataArrives) {
    PngPicture png = {16,    16, 8,  kPngGrey,           Rows(string(16, 'x')),          "",
                      11811, 0,  "", OrientationExif(1), string("Comment\0by hand", 15), false};
    const DecodedJpeg jpeg = Decode(Png(png), {"--comment", "keep"});
    EXPECT_EQ(jpeg.xDensity, 300);
    const string bytes(file.begin(), file.end());
    EXPECT_TRUE(Has(bytes, string("Exif\0\0MM\0*", 10)));
    EXPECT_TRUE(Has(bytes, "by hand"));
    Decode(Png(png), {"--exif", "drop"});
    const string dropped(file.begin(), file.end());
    EXPECT_FALSE(Has(dropped, "Exif"));
    EXPECT_FALSE(Has(dropped, "by hand"));
}

// 250 dots per inch, both in one fraction at 50; the unit is the inch.
const string kResolvedExif("MM\0*\0\0\0\x08\0\x03"
                           "\x01\x1A\0\x05\0\0\0\x01\0\0\0\x32"
                           "\x01\x1B\0\x05\0\0\0\x01\0\0\0\x32"
                           "\x01\x28\0\x03\0\0\0\x01\0\x02\0\0"
                           "\0\0\0\0\0\0\0\xFA\0\0\0\x01",
                           58);

TEST_F(Reading, ResolutionThatOnlyExifHas) {
    PngPicture png = {16, 16,   8, kPngGrey, Rows(string(16, 'x')), "", 0, 0, "", kResolvedExif,
                      "", false};
    EXPECT_EQ(Decode(Png(png)).xDensity, 250);
    EXPECT_TRUE(Has(string(file.begin(), file.end()), string("\0\0\0\xFA\0\0\0\x01", 8)));
    EXPECT_EQ(Decode(Png(png), {"--dpi", "144"}).xDensity, 144);
    const string bytes(file.begin(), file.end());
    EXPECT_TRUE(Has(bytes, string("\0\0\0\x90\0\0\0\x01", 8)));
    EXPECT_FALSE(Has(bytes, string("\0\0\0\xFA\0\0\0\x01", 8)));
    png.pixelsPerMetre = 11811; // 300, the file's own, counts more
    EXPECT_EQ(Decode(Png(png)).xDensity, 300);
    // A JPEG that has no JFIF segment, and the EXIF data that it had.
    png.pixelsPerMetre = 0;
    Decode(Png(png));
    string jpeg(file.begin(), file.end());
    jpeg.erase(2, 18);
    EXPECT_EQ(Decode(jpeg).xDensity, 250);
}

string WithGamma(const PngPicture &png, uint32_t gamma) {
    string bytes = Png(png);
    return bytes.insert(33, png_detail::Chunk("gAMA", png_detail::Long(gamma))); // behind IHDR
}

// 0.125, 0.2152 and 0.375 of the light to the power of 1 / 2.2: 99.1, 126.8 and 163.3.
TEST_F(Reading, PngsOfAnotherGamma) {
    const string linear("\x20\x00\x37\x15\x60\x00", 6);
    PngPicture png = {16, 16, 16, kPngRgb, Rows(Repeat(linear, 16)), "", 0, 0, "", "", "", false};
    ExpectPixel(WithGamma(png, 100000), 8, 8, {99, 127, 163});
    EXPECT_TRUE(Has(result.errors, "the brightness was converted from the file's gamma, 1\n"))
        << result.errors;
    ExpectPixel(WithGamma(png, 45455), 8, 8, {32, 55, 96});
    EXPECT_FALSE(Has(result.errors, "gamma")) << result.errors;
    ExpectPixel(WithGamma(png, 47000), 8, 8, {32, 55, 96});
    ExpectPixel(WithGamma(png, 0), 8, 8, {32, 55, 96});
    ExpectPixel(WithGamma(png, 1), 8, 8, {32, 55, 96});
    string marked = WithGamma(png, 100000);
    marked.insert(33, png_detail::Chunk("sRGB", string(1, '\0')));
    ExpectPixel(marked, 8, 8, {32, 55, 96});
    png.bits = 8;
    png.colours = kPngPalette;
    png.rows = Rows(Repeat("\x01", 16));
    png.palette = string("\0\0\0\x20\x37\x60", 6);
    ExpectPixel(WithGamma(png, 100000), 8, 8, {99, 127, 164});
    png.colours = kPngGreyAlpha; // opacity is none of the light
    png.palette.clear();
    png.rows = Rows(Repeat("\x37\x80", 16));
    ExpectPixel(WithGamma(png, 100000), 8, 8, {191, 191, 191});
}

TEST_F(Reading, NetpbmOfEveryKind) {
    const std::map<string, string> pictures = {
        {"P1", "P1\n# ink on the left\n16 1\n1111111100000000"},
        {"P1 spaced", "P1 16 1 1 1 1 1 1 1 1 1 0 0 0 0 0 0 0 0\n"},
        {"P4", string("P4\n16 1\n\xFF\x00", 10)},
        {"P2", "P2\n16 1\n3\n0 0 0 0 0 0 0 0 3 3 3 3 3 3 3 3\n"},
        {"P3", "P3\n16 1\n9\n" + Repeat("0 0 0 ", 8) + Repeat("9 9 9\n", 8)},
        {"P5", "P5\n16 1\n255\n" + Halves(string(1, '\0'), "\xFF")},
        {"P5 small", "P5\n16 1\n7\n" + Halves(string(1, '\0'), "\x07")},
        {"P5 wide", "P5\n16 1\n65535\n" + Halves(string(2, '\0'), "\xFF\xFF")},
        {"P6", "P6 16 1 255 " + Halves(string(3, '\0'), "\xFF\xFF\xFF")},
        {"P6 wide", "P6\n16 1\n1000\n" + Halves(string(6, '\0'), "\x03\xE8\x03\xE8\x03\xE8")},
        {"P7 bits", "P7\nWIDTH 16\nHEIGHT 1\nDEPTH 1\nMAXVAL 1\nTUPLTYPE BLACKANDWHITE\nENDHDR\n" +
                        Halves(string(1, '\0'), "\x01")},
        {"P7 colour",
         "P7\n# said\nWIDTH 16\nHEIGHT 1\nDEPTH 3\nMAXVAL 255\nTUPLTYPE RGB\nENDHDR\n" +
             Halves(string(3, '\0'), "\xFF\xFF\xFF")},
        {"P7 alpha", "P7\nWIDTH 16\nHEIGHT 1\nDEPTH 4\nMAXVAL 255\nTUPLTYPE RGB_ALPHA\nENDHDR\n" +
                         Halves(string("\0\0\0\xFF", 4), string("\0\0\0\0", 4))},
        {"P7 grey alpha",
         "P7\nWIDTH 16\nHEIGHT 1\nDEPTH 2\nMAXVAL 255\nTUPLTYPE GRAYSCALE_ALPHA\nENDHDR\n" +
             Halves(string("\0\xFF", 2), string("\0\0", 2))}};
    for (const auto &[name, picture] : pictures) {
        SCOPED_TRACE(name);
        const DecodedJpeg jpeg = Decode(picture);
        ASSERT_TRUE(jpeg.Clean()) << result.errors;
        EXPECT_EQ(jpeg.width, 16);
        EXPECT_EQ(jpeg.height, 1);
        EXPECT_NEAR(jpeg.At(2, 0)[0], 0, 3);
        EXPECT_NEAR(jpeg.At(13, 0)[0], 255, 3);
    }
}

TEST_F(Reading, NetpbmThatIsNone) {
    for (const char *text : {"P6", "P6\n0 1\n255\n", "P6\nx 1\n255\n", "P6\n1 1\n0\nabc",
                             "P6\n1 1\n70000\nabc", "P2\n1 1\n255\nx", "P1\n1 1\n2",
                             "P7\nWIDTH 1\nHEIGHT 1\nDEPTH 5\nMAXVAL 255\nENDHDR\nabcde",
                             "P7\nWIDTH 1\n", "P6\n99999999999999999999 1\n255\n"}) {
        directory.Write("in", text);
        EXPECT_EQ(Export({"in", "-o", "no.jpg"}).exitCode, 1) << text;
        EXPECT_TRUE(Has(result.errors, "kowen: in: ")) << result.errors;
        EXPECT_FALSE(directory.Has("no.jpg"));
    }
}

TEST_F(Reading, OtherFormatsByThePictureLibrary) {
    ExpectPixel(Bmp(30, 20), 4, 10, {96, 112, 128});
    ExpectPixel(Bmp(30, 20), 25, 10, {144, 128, 112});
    EXPECT_EQ(Decode(Bmp(30, 20)).xDensity, 100); // 3937 pixels a metre
}

TEST_F(Reading, JpegOfAJpeg) {
    Decode(Ppm(MakeSoftPicture(50, 30)));
    const string jpeg(file.begin(), file.end());
    const DecodedJpeg again = Decode(jpeg);
    EXPECT_GT(Psnr(again, MakeSoftPicture(50, 30)), 35);
}

} // namespace
} // namespace kowen::test
