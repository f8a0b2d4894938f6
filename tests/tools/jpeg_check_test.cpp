#include "host/jpeg_check.h"

#include <gtest/gtest.h>

#include <vector>

namespace kowen::host {
namespace {

// The smallest file with all that is looked at: header, frame of 17 x 9, one scan, end.
std::vector<uint8_t> SmallFile() {
    return {0xFF, 0xD8, 0xFF, 0xE0, 0,    16,   'J',  'F',  'I',  'F', 0,  1, 2,
            1,    0,    72,   0,    96,   0,    0,    0xFF, 0xC0, 0,   11, 8, 0,
            9,    0,    17,   1,    1,    0x11, 0,    0xFF, 0xDA, 0,   8,  1, 1,
            0,    0,    63,   0,    0x12, 0xFF, 0x00, 0x34, 0xFF, 0xD9};
}

TEST(CheckJpeg, TellsWhatTheFileSays) {
    const JpegFacts facts = CheckJpeg(SmallFile());
    EXPECT_EQ(facts.problem, "");
    EXPECT_EQ(facts.width, 17);
    EXPECT_EQ(facts.height, 9);
    EXPECT_EQ(facts.components, 1);
    EXPECT_FALSE(facts.progressive);
    EXPECT_EQ(facts.xDpi, 72);
    EXPECT_EQ(facts.yDpi, 96);
    EXPECT_EQ(facts.scans, 1);
}

TEST(CheckJpeg, MissesEveryByteThatIsCutOff) {
    const std::vector<uint8_t> file = SmallFile();
    for (size_t size = 0; size < file.size(); ++size)
        EXPECT_NE(CheckJpeg({file.data(), size}).problem, "") << size;
}

TEST(CheckJpeg, WantsPictureData) {
    std::vector<uint8_t> file = SmallFile();
    file.erase(file.begin() + 33, file.end() - 2); // the scan
    EXPECT_EQ(CheckJpeg(file).problem, "it has no picture data");
}

TEST(CheckJpeg, WantsNothingBehindTheEnd) {
    std::vector<uint8_t> file = SmallFile();
    file.push_back(0);
    EXPECT_EQ(CheckJpeg(file).problem, "something follows its end");
}

TEST(CheckJpeg, RefusesOtherFiles) {
    const uint8_t text[] = {'P', '6', '\n', '1'};
    EXPECT_EQ(CheckJpeg(text).problem, "it has no start");
    EXPECT_EQ(CheckJpeg({}).problem, "it has no start");
}

TEST(CheckJpeg, SkipsStuffedZerosAndRestartMarkers) {
    std::vector<uint8_t> file = SmallFile();
    const uint8_t restart[] = {0xFF, 0xD3, 0x55};
    file.insert(file.end() - 2, restart, restart + 3);
    EXPECT_EQ(CheckJpeg(file).problem, "");
}

} // namespace
} // namespace kowen::host
