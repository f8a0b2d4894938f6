// Large pictures pass through in little more memory than their pixels take.
#include "tools/export_fixture.h"
#include "tools/png_file.h"

#include <zlib.h>

namespace kowen::test {
namespace {

constexpr int kSide = 10000;

// The deflated form of a row, ended so that it can be repeated.
std::string Deflated(const std::string &row) {
    z_stream stream = {};
    deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY);
    std::string packed(row.size() + 1024, '\0');
    stream.next_in = reinterpret_cast<Bytef *>(const_cast<char *>(row.data()));
    stream.avail_in = static_cast<uInt>(row.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FULL_FLUSH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

// A PNG of one colour, kSide pixels each way.
std::string LargePng() {
    std::string row(1, '\0');
    for (int x = 0; x < kSide; ++x)
        row += "\x28\x50\x78";
    const std::string packed = Deflated(row);
    const uLong checkOfRow =
        adler32(1, reinterpret_cast<const Bytef *>(row.data()), static_cast<uInt>(row.size()));
    uLong check = 1;
    std::string data = "\x78\x01";
    for (int y = 0; y < kSide; ++y) {
        data += packed;
        check = adler32_combine(check, checkOfRow, static_cast<z_off_t>(row.size()));
    }
    data += std::string("\x03\x00", 2); // an empty last block
    data += png_detail::Long(static_cast<uint32_t>(check));
    std::string file = Png({kSide, kSide, 8, kPngRgb, {}, "", 0, 0, "", "", "", false});
    const std::string header = file.substr(0, 8 + 25);
    return header + png_detail::Chunk("IDAT", data) + png_detail::Chunk("IEND", "");
}

class Memory : public ExportFixture {};

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kPlainMemory = false;
#else
constexpr bool kPlainMemory = true;
#endif

TEST_F(Memory, AHundredMegapixelsTakeLittleMoreThanTheirPixels) {
    if (!kPlainMemory)
        GTEST_SKIP() << "the sanitizer's memory counts as the program's";
    directory.Write("large.png", LargePng());
    Export({"large.png", "large.jpg"});
    ASSERT_EQ(result.exitCode, 0) << result.errors;
    EXPECT_TRUE(Has(result.output, "large.jpg: 10000 x 10000 pixels"));
    constexpr long kPixelKilobytes = long{kSide} * kSide * 3 / 1024;
    EXPECT_LE(result.peakKilobytes, kPixelKilobytes * 12 / 10);
    EXPECT_GT(result.peakKilobytes, kPixelKilobytes / 2) << "this is not the picture's memory";
}

} // namespace
} // namespace kowen::test
