// A picture in, a JPEG out, through the C interface.
#include "saving.h"

#include "support/jpeg_decode.h"

namespace kowen::test {
namespace {

TEST(KowenSave, GivesThePicturesOwnPixelsInMemory) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Flat(13, 7, 90, 120, 150);
    const Saved saved = SaveToMemory(module, RgbPicture(pixels, 13, 7));
    ASSERT_EQ(saved.code, KOWEN_HOST_OK) << saved.result.message;
    EXPECT_EQ(saved.result.bytes, saved.bytes.size());
    EXPECT_EQ(saved.result.width, 13U);
    EXPECT_EQ(saved.result.height, 7U);
    const DecodedJpeg decoded = DecodeJpeg(saved.bytes);
    ASSERT_TRUE(decoded.Clean()) << decoded.error;
    EXPECT_EQ(decoded.width, 13);
    EXPECT_EQ(decoded.height, 7);
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 13; ++x) {
            EXPECT_NEAR(decoded.At(x, y)[0], 90, 2);
            EXPECT_NEAR(decoded.At(x, y)[1], 120, 2);
            EXPECT_NEAR(decoded.At(x, y)[2], 150, 2);
        }
    }
}

} // namespace
} // namespace kowen::test
