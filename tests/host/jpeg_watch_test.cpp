#include "stream/jpeg_watch.h"

#include <gtest/gtest.h>

#include <vector>

namespace kowen::host {
namespace {

using Bytes = std::vector<uint8_t>;

// 5 x 3 pixels, 3 components, 300 x 150 dpi; two scans, of which the first has a stuffed zero and
// a restart marker.
const Bytes kFile = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J',  'F',  'I',  'F',  0,    1,    2,    1,
                     1,    44,   0,    150,  0, 0,  0xFF, 0xC2, 0,    17,   8,    0,    3,    0,
                     5,    3,    1,    0x21, 0, 2,  0x11, 1,    3,    0x11, 1,    0xFF, 0xDA, 0,
                     8,    1,    1,    0,    0, 0,  0,    0x12, 0xFF, 0,    0xFF, 0xD0, 0x34, 0xFF,
                     0xDA, 0,    8,    1,    2, 0,  0,    0,    0,    0x56, 0xFF, 0xD9};

JpegWatch Watched(const Bytes &bytes) {
    JpegWatch watch;
    watch.Take(bytes.data(), bytes.size());
    return watch;
}

TEST(JpegWatch, TellsWhatAFileSays) {
    const JpegWatch watch = Watched(kFile);
    EXPECT_EQ(watch.Problem(), nullptr);
    EXPECT_EQ(watch.Facts().bytes, kFile.size());
    EXPECT_EQ(watch.Facts().width, 5U);
    EXPECT_EQ(watch.Facts().height, 3U);
    EXPECT_EQ(watch.Facts().components, 3U);
    EXPECT_EQ(watch.Facts().xDpi, 300U);
    EXPECT_EQ(watch.Facts().yDpi, 150U);
    EXPECT_EQ(watch.Facts().scans, 2U);
}

TEST(JpegWatch, TakesPiecesOfAnySize) {
    for (size_t cut = 0; cut <= kFile.size(); ++cut) {
        JpegWatch watch;
        watch.Take(kFile.data(), cut);
        watch.Take(kFile.data() + cut, kFile.size() - cut);
        EXPECT_EQ(watch.Problem(), nullptr) << cut;
        EXPECT_EQ(watch.Facts().scans, 2U) << cut;
        EXPECT_EQ(watch.Facts().width, 5U) << cut;
    }
    JpegWatch watch;
    for (const uint8_t byte : kFile)
        watch.Take(&byte, 1);
    EXPECT_EQ(watch.Problem(), nullptr);
}

TEST(JpegWatch, MissesEachEndThatIsCutOff) {
    for (size_t size = 0; size < kFile.size(); ++size)
        EXPECT_NE(Watched(Bytes(kFile.begin(), kFile.begin() + ptrdiff_t(size))).Problem(), nullptr)
            << size;
}

TEST(JpegWatch, RefusesWhatFollowsTheEnd) {
    Bytes longer = kFile;
    longer.push_back(0);
    EXPECT_STREQ(Watched(longer).Problem(), "it is damaged");
}

TEST(JpegWatch, WantsPictureData) {
    EXPECT_STREQ(Watched({0xFF, 0xD8, 0xFF, 0xD9}).Problem(), "it has no picture data");
    // A scan header with nothing behind it.
    EXPECT_STREQ(Watched({0xFF, 0xD8, 0xFF, 0xC0, 0, 11, 8, 0, 1, 0,  1, 1,    1,   0x11,
                          0,    0xFF, 0xDA, 0,    8, 1,  1, 0, 0, 63, 0, 0xFF, 0xD9})
                     .Problem(),
                 "it has no picture data");
}

} // namespace
} // namespace kowen::host
