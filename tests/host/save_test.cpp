// Pictures in, JPEGs out, seen by two decoders.
#include "looking.h"

#include <cmath>

namespace kowen::test {
namespace {

// Whether both show the pixels that went in, each channel within a tolerance.
void ExpectPixels(const Seen &seen, const std::vector<uint8_t> &pixels, int tolerance) {
    ASSERT_EQ(seen.first.pixels.size(), pixels.size());
    ASSERT_EQ(seen.second.pixels.size(), pixels.size());
    int worstFirst = 0, worstSecond = 0;
    for (size_t i = 0; i < pixels.size(); ++i) {
        worstFirst = std::max(worstFirst, std::abs(seen.first.pixels[i] - pixels[i]));
        worstSecond = std::max(worstSecond, std::abs(seen.second.pixels[i] - pixels[i]));
    }
    EXPECT_LE(worstFirst, tolerance);
    EXPECT_LE(worstSecond, tolerance);
}

TEST(KowenSave, GivesThePicturesOwnPixels) {
    const OpenedModule module;
    for (const char *progressive : {"no", "yes"}) {
        const std::vector<uint8_t> pixels = Gradient(64, 48);
        const Saved saved =
            Save(module, RgbPicture(pixels, 64, 48), {{"progressive", progressive}});
        ExpectPixels(Look(saved), pixels, 5);
        EXPECT_EQ(saved.result.scans, std::string(progressive) == "yes" ? 4U : 1U);
        EXPECT_EQ(saved.result.notes, 0U) << saved.result.notesText;
        EXPECT_STREQ(saved.result.notesText, "");
        EXPECT_EQ(saved.result.quality, 100);
    }
}

TEST(KowenSave, GivesColoursAsTheyAre) {
    const OpenedModule module;
    const uint8_t kColours[][3] = {{90, 120, 150},  {200, 60, 80},   {40, 160, 60}, {0, 0, 0},
                                   {255, 255, 255}, {128, 128, 128}, {60, 70, 190}};
    for (const auto &colour : kColours) {
        const std::vector<uint8_t> pixels = Flat(16, 16, colour[0], colour[1], colour[2]);
        const Saved saved = Save(module, RgbPicture(pixels, 16, 16));
        ExpectPixels(Look(saved), pixels, 2);
        EXPECT_EQ(saved.result.clippedPercent, 0);
    }
}

// What stays: a colour at the edge of the gamut, and how it is told.
TEST(KowenSave, GivesPureRedPalerAndSaysSo) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Flat(16, 16, 255, 0, 0);
    const Saved saved = Save(module, RgbPicture(pixels, 16, 16));
    const Seen seen = Look(saved);
    EXPECT_NEAR(seen.first.At(5, 5)[0], 232, 2);
    EXPECT_NEAR(seen.first.At(5, 5)[1], 10, 2);
    EXPECT_NEAR(seen.first.At(5, 5)[2], 9, 2);
    EXPECT_DOUBLE_EQ(saved.result.clippedPercent, 100);
    EXPECT_TRUE(saved.Notes(KOWEN_NOTE_COLOURS_CLIPPED));
}

TEST(KowenSave, GivesPalerColoursAsTheFilterHasThem) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Flat(16, 16, 200, 60, 80);
    const Seen seen = Look(Save(module, RgbPicture(pixels, 16, 16), {{"as-filter", "yes"}}));
    EXPECT_LT(seen.first.At(5, 5)[0], 190);
}

TEST(KowenSave, KeepsEverySmallAndOddSize) {
    const OpenedModule module;
    for (uint32_t width = 1; width <= 18; ++width) {
        for (uint32_t height = 1; height <= 18; ++height) {
            const std::vector<uint8_t> pixels = Flat(width, height, 90, 120, 150);
            for (const char *progressive : {"no", "yes"}) {
                const Seen seen = Look(Save(module, RgbPicture(pixels, width, height),
                                            {{"progressive", progressive}}));
                ASSERT_EQ(seen.first.width, static_cast<int>(width));
                ASSERT_EQ(seen.first.height, static_cast<int>(height));
                ExpectPixels(seen, pixels, 2);
            }
        }
    }
}

TEST(KowenSave, TakesTheLongestSides) {
    const OpenedModule module;
    for (const auto &[width, height] : {std::pair{65535U, 3U}, std::pair{3U, 65535U}}) {
        const std::vector<uint8_t> pixels = Flat(width, height, 90, 120, 150);
        const Saved saved = Save(module, RgbPicture(pixels, width, height));
        ASSERT_EQ(saved.code, KOWEN_HOST_OK) << saved.result.message;
        // libjpeg stops at 65500.
        const SecondDecoded decoded = DecodeOtherwise(saved.bytes);
        EXPECT_EQ(decoded.error, "");
        EXPECT_EQ(decoded.width, static_cast<int>(width));
        EXPECT_EQ(decoded.height, static_cast<int>(height));
        EXPECT_NEAR(decoded.At(int(width) - 1, int(height) - 1)[0], 90, 2);
    }
}

TEST(KowenSave, MakesGreyFilesThatOpenEverywhere) {
    const OpenedModule module;
    std::vector<uint8_t> pixels;
    for (int i = 0; i < 16; ++i)
        for (int x = 0; x < 16; ++x)
            pixels.insert(pixels.end(), {static_cast<uint8_t>(x < 8 ? 255 : 0),
                                         static_cast<uint8_t>(x < 8 ? 0 : 255), 0});
    const Saved saved = Save(module, RgbPicture(pixels, 16, 15), {{"colour", "grey"}});
    const Seen seen = Look(saved);
    ASSERT_EQ(seen.first.components, 1);
    EXPECT_EQ(seen.first.height, 15);
    EXPECT_NEAR(seen.first.At(2, 2)[0], 76, 1);   // 0.299 of red
    EXPECT_NEAR(seen.first.At(12, 2)[0], 150, 1); // 0.587 of green
    EXPECT_NEAR(seen.second.At(2, 2)[0], 76, 1);
    EXPECT_NEAR(seen.second.At(12, 2)[0], 150, 1);
}

TEST(KowenSave, TakesEveryFormat) {
    const OpenedModule module;
    const auto expect = [&](const KowenPicture &picture, int red, int green, int blue) {
        const Seen seen = Look(Save(module, picture));
        EXPECT_NEAR(seen.first.At(3, 3)[0], red, 2) << picture.format;
        EXPECT_NEAR(seen.first.At(3, 3)[1], green, 2) << picture.format;
        EXPECT_NEAR(seen.first.At(3, 3)[2], blue, 2) << picture.format;
    };
    std::vector<uint8_t> rgba, bgra, greyAlpha;
    for (int i = 0; i < 64; ++i) {
        rgba.insert(rgba.end(), {90, 120, 150, 255});
        bgra.insert(bgra.end(), {150, 120, 90, 255});
        greyAlpha.insert(greyAlpha.end(), {77, 255});
    }
    const std::vector<uint8_t> palette = {0, 0, 0, 90, 120, 150, 5, 5, 5};
    const std::vector<uint8_t> ones(64, 1), grey(64, 77), bits(8, 0xFF);
    expect(PictureOf(KOWEN_PIXEL_RGBA, rgba, 8, 8), 90, 120, 150);
    expect(PictureOf(KOWEN_PIXEL_BGRA, bgra, 8, 8), 90, 120, 150);
    expect(PictureOf(KOWEN_PIXEL_GREY_ALPHA, greyAlpha, 8, 8), 77, 77, 77);
    expect(PictureOf(KOWEN_PIXEL_GREY, grey, 8, 8), 77, 77, 77);
    expect(PictureOf(KOWEN_PIXEL_BILEVEL, bits, 8, 8), 255, 255, 255);
    KowenPicture indexed = PictureOf(KOWEN_PIXEL_INDEXED, ones, 8, 8);
    indexed.palette = palette.data();
    indexed.paletteSize = 3;
    expect(indexed, 90, 120, 150);
    KowenPicture two = PictureOf(KOWEN_PIXEL_BILEVEL, bits, 8, 8);
    two.palette = palette.data();
    two.paletteSize = 2;
    expect(two, 90, 120, 150);
}

TEST(KowenSave, FlattensAndSaysSo) {
    const OpenedModule module;
    std::vector<uint8_t> rgba;
    for (int i = 0; i < 64; ++i)
        rgba.insert(rgba.end(), {0, 0, 0, 0});
    const Saved saved =
        Save(module, PictureOf(KOWEN_PIXEL_RGBA, rgba, 8, 8), {{"background", "#5a7896"}});
    EXPECT_NEAR(Look(saved).first.At(3, 3)[0], 90, 2);
    EXPECT_TRUE(saved.Notes(KOWEN_NOTE_FLATTENED));
}

TEST(KowenSave, TurnsAndSaysSo) {
    const OpenedModule module;
    std::vector<uint8_t> pixels = Flat(16, 8, 0, 0, 0);
    std::fill_n(pixels.begin(), 16 * 8 * 3 / 2, uint8_t{255}); // the upper half
    KowenPicture picture = RgbPicture(pixels, 16, 8);
    picture.orientation = 6;
    picture.xDpi = 100;
    picture.yDpi = 200;
    const Saved saved = Save(module, picture);
    const Seen seen = Look(saved);
    ASSERT_EQ(seen.first.width, 8);
    ASSERT_EQ(seen.first.height, 16);
    EXPECT_GT(seen.first.At(7, 8)[0], 250); // the stored top is at the right
    EXPECT_LT(seen.first.At(0, 8)[0], 5);
    EXPECT_EQ(saved.result.xDpi, 200U);
    EXPECT_EQ(saved.result.yDpi, 100U);
    EXPECT_TRUE(saved.Notes(KOWEN_NOTE_TURNED));
}

TEST(KowenSave, StatesTheResolutionThatThePictureHas) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Flat(55, 55, 9, 9, 9);
    KowenPicture picture = RgbPicture(pixels, 55, 55);
    struct Case {
        double xDpi, yDpi;
        std::vector<uint8_t> stated; // X and Y density
    };
    for (const auto &[x, y, stated] :
         {Case{75, 75, {0, 75, 0, 75}}, Case{1200, 600, {4, 176, 2, 88}}, // 4 * 256 + 176
          Case{71.98, 72.02, {0, 72, 0, 72}}, Case{20, 20, {0, 20, 0, 20}}}) {
        picture.xDpi = x;
        picture.yDpi = y;
        const Saved saved = Save(module, picture);
        const Seen seen = Look(saved);
        EXPECT_EQ(seen.first.densityUnit, 1);
        EXPECT_EQ(seen.first.xDensity, std::lround(x));
        EXPECT_EQ(seen.first.yDensity, std::lround(y));
        // The second decoder reads no resolution: the header's own bytes stand for it.
        std::vector<uint8_t> header = {0, 16, 'J', 'F', 'I', 'F', 0, 1, 2, 1};
        header.insert(header.end(), stated.begin(), stated.end());
        header.insert(header.end(), {0, 0}); // no thumbnail
        EXPECT_EQ(Segments(saved.bytes, 0xE0), std::vector<std::vector<uint8_t>>{header});
        EXPECT_EQ(seen.first.width, 55);
        EXPECT_EQ(seen.first.height, 55);
    }
}

TEST(KowenSave, ResizesAndSaysSo) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(60, 41);
    const Saved smaller = Save(module, RgbPicture(pixels, 60, 41), {{"size", "31x31px"}});
    EXPECT_EQ(Look(smaller).first.width, 31);
    EXPECT_EQ(Look(smaller).first.height, 21);
    EXPECT_TRUE(smaller.Notes(KOWEN_NOTE_REDUCED));
    const Saved larger =
        Save(module, RgbPicture(pixels, 60, 41), {{"size", "2x2in"}, {"dpi", "75"}});
    EXPECT_EQ(Look(larger).first.width, 150);
    EXPECT_EQ(Look(larger).first.height, 103); // 102.5
    EXPECT_TRUE(larger.Notes(KOWEN_NOTE_ENLARGED));
    EXPECT_NEAR(Look(larger).first.At(75, 51)[1], 128, 6);
}

TEST(KowenSave, LeavesThePictureItself) {
    const OpenedModule module;
    std::vector<uint8_t> pixels = Gradient(40, 30);
    const std::vector<uint8_t> before = pixels;
    EXPECT_EQ(Save(module, RgbPicture(pixels, 40, 30)).code, KOWEN_HOST_OK);
    EXPECT_EQ(pixels, before);
}

TEST(KowenSave, GivesTheFiltersOwnFileWhenAsked) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(301, 201);
    const Saved saved = Save(module, RgbPicture(pixels, 301, 201), {{"as-filter", "yes"}});
    EXPECT_EQ(Look(saved).first.height, 202); // an odd height gains a row
    EXPECT_FALSE(saved.Notes(KOWEN_NOTE_UNCOMMON_FILE));
    const Saved plainGrey = Save(module, RgbPicture(pixels, 301, 201), {{"colour", "grey"}});
    EXPECT_FALSE(plainGrey.Notes(KOWEN_NOTE_UNCOMMON_FILE));
    const Saved grey =
        Save(module, RgbPicture(pixels, 301, 201), {{"as-filter", "yes"}, {"colour", "grey"}});
    EXPECT_EQ(Segments(grey.bytes, 0xC0).at(0).at(2), 24); // bits a sample
    EXPECT_TRUE(grey.Notes(KOWEN_NOTE_UNCOMMON_FILE));
    const Saved low =
        Save(module, RgbPicture(pixels, 301, 201), {{"as-filter", "yes"}, {"quality", "10"}});
    EXPECT_EQ(low.result.quality, 10);
    EXPECT_TRUE(low.Notes(KOWEN_NOTE_UNCOMMON_FILE));
}

TEST(KowenSave, GivesTheSameBytesByEveryWay) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(301, 201);
    const KowenPicture picture = RgbPicture(pixels, 301, 201);
    const Saved memory = Save(module, picture);
    std::vector<uint8_t> written;
    SaveOptions options;
    options.writeContext = &written;
    options.write = [](void *context, const void *bytes, size_t count) {
        const auto *first = static_cast<const uint8_t *>(bytes);
        auto *all = static_cast<std::vector<uint8_t> *>(context);
        all->insert(all->end(), first, first + count);
        return 0;
    };
    EXPECT_EQ(Save(module, picture, {}, options).code, KOWEN_HOST_OK);
    EXPECT_EQ(written, memory.bytes);
    // Rows that a function delivers are the same picture.
    struct Reader {
        const std::vector<uint8_t> &pixels;
    } reader = {pixels};
    KowenPicture read = picture;
    read.pixels = nullptr;
    read.rowContext = &reader;
    read.readRow = [](void *context, uint32_t row, void *out) {
        std::memcpy(out, static_cast<Reader *>(context)->pixels.data() + row * 301 * 3, 301 * 3);
        return 0;
    };
    EXPECT_EQ(Save(module, read).bytes, memory.bytes);
}

TEST(KowenSave, RefusesQualitiesWhoseTablesDoNotFit) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Flat(8, 8, 1, 2, 3);
    const Saved saved = Save(module, RgbPicture(pixels, 8, 8), {{"quality", "44"}});
    EXPECT_EQ(saved.code, KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_STREQ(saved.result.message,
                 "the quality is from 45 to 100, not 44: below 45 some of the file's tables do not "
                 "fit their bytes, which shows as patterns in the picture");
}

TEST(KowenSave, FindsTheHighestQualityThatFits) {
    const OpenedModule module;
    std::vector<uint8_t> pixels(200 * 150 * 3);
    uint32_t random = 1;
    for (uint8_t &byte : pixels) {
        random = random * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(100 + (random >> 26));
    }
    const KowenPicture picture = RgbPicture(pixels, 200, 150);
    const Saved fitted = Save(module, picture, {{"max-bytes", "20000"}});
    ASSERT_EQ(fitted.code, KOWEN_HOST_OK) << fitted.result.message;
    EXPECT_LE(fitted.bytes.size(), 20000U);
    EXPECT_TRUE(fitted.Notes(KOWEN_NOTE_QUALITY_LOWERED));
    const std::string quality = std::to_string(fitted.result.quality);
    EXPECT_EQ(Save(module, picture, {{"quality", quality}}).bytes, fitted.bytes);
    const std::string next = std::to_string(fitted.result.quality + 1);
    EXPECT_GT(Save(module, picture, {{"quality", next}}).bytes.size(), 20000U);

    const Saved all = Save(module, picture, {{"max-bytes", "1M"}, {"quality", "90"}});
    EXPECT_EQ(all.result.quality, 90);
    EXPECT_FALSE(all.Notes(KOWEN_NOTE_QUALITY_LOWERED));
    const std::string least =
        std::to_string(Save(module, picture, {{"quality", "45"}}).bytes.size());
    const Saved none = Save(module, picture, {{"max-bytes", "700"}, {"quality", "80"}});
    EXPECT_EQ(none.code, KOWEN_HOST_ERR_LIMIT);
    EXPECT_EQ(none.result.message,
              "no quality gives a file of at most 700 bytes: the smallest, at quality 45, has " +
                  least + "; allow more, or make the picture smaller");
}

TEST(KowenExportPrepared, ExportsAnyNumberOfTimes) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(301, 201);
    const KowenPicture picture = RgbPicture(pixels, 301, 201);
    const SomeSettings settings;
    KowenResult result = {};
    result.size = sizeof result;
    KowenPrepared *prepared = KowenPrepare(module, &picture, settings, nullptr, &result);
    ASSERT_NE(prepared, nullptr) << result.message;
    for (const char *quality : {"100", "50", "100"}) {
        const SomeSettings one(SettingList{{"quality", quality}});
        KowenOutput output = {};
        output.size = sizeof output;
        ASSERT_EQ(KowenExportPrepared(prepared, one, &output, nullptr, &result), KOWEN_HOST_OK);
        const auto *bytes = static_cast<const uint8_t *>(output.memory);
        EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + output.memorySize),
                  Save(module, picture, {{"quality", quality}}).bytes);
        KowenFree(output.memory);
    }
    KowenFreePrepared(prepared);
    KowenFreePrepared(nullptr);
}

TEST(KowenExportPrepared, KeepsWhatDecidedAboutThePixels) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(40, 30);
    const KowenPicture picture = RgbPicture(pixels, 40, 30);
    const SomeSettings grey(SettingList{{"colour", "grey"}}),
        colour(SettingList{{"colour", "ycc422"}});
    KowenPrepared *prepared = KowenPrepare(module, &picture, grey, nullptr, nullptr);
    ASSERT_NE(prepared, nullptr);
    KowenOutput output = {};
    output.size = sizeof output;
    KowenResult result = {};
    result.size = sizeof result;
    ASSERT_EQ(KowenExportPrepared(prepared, colour, &output, nullptr, &result), KOWEN_HOST_OK);
    EXPECT_EQ(result.components, 1U);
    KowenFree(output.memory);
    KowenFreePrepared(prepared);
}

TEST(KowenSave, FitsTheFiltersOwnFileIntoThePage) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(20, 20);
    const Saved saved =
        Save(module, RgbPicture(pixels, 20, 20),
             {{"as-filter", "yes"}, {"size", "page"}, {"dpi", "page"}, {"page", "30x60px@72"}});
    EXPECT_EQ(Look(saved).first.width, 30);
    EXPECT_EQ(Look(saved).first.height, 30);
}

// Neighbours that differ share their colour in a file of 4:2:2, so each gives way to the other,
// unless the filter makes two columns of each.
TEST(KowenSave, AdjustsEachPixelByItselfWhenItIsResized) {
    const OpenedModule module;
    constexpr uint8_t kLeft[] = {150, 110, 110}, kRight[] = {110, 110, 150};
    std::vector<uint8_t> pixels;
    for (int i = 0; i < 16 * 16; ++i)
        pixels.insert(pixels.end(), i % 2 == 0 ? kLeft : kRight, (i % 2 == 0 ? kLeft : kRight) + 3);
    const Seen seen = Look(Save(module, RgbPicture(pixels, 16, 16), {{"size", "32x32px"}}));
    for (int i = 0; i < 3; ++i) {
        EXPECT_NEAR(seen.first.At(16, 8)[i], kLeft[i], 6) << i;
        EXPECT_NEAR(seen.first.At(18, 8)[i], kRight[i], 6) << i;
    }
}

TEST(KowenPrepare, CopiesAllOfThePicture) {
    const OpenedModule module;
    std::vector<uint8_t> indexes(64, 1), palette = {0, 0, 0, 90, 120, 150}, opaque = {255, 255};
    std::string comment = "Sea";
    KowenPicture picture = PictureOf(KOWEN_PIXEL_INDEXED, indexes, 8, 8);
    picture.palette = palette.data();
    picture.paletteAlpha = opaque.data();
    picture.paletteSize = 2;
    picture.comment = comment.c_str();
    const SettingList list = {{"comment", "keep"}};
    const std::vector<uint8_t> expected = Save(module, picture, list).bytes;
    KowenPrepared *prepared = nullptr;
    {
        const SomeSettings settings(list);
        prepared = KowenPrepare(module, &picture, settings, nullptr, nullptr);
    }
    ASSERT_NE(prepared, nullptr);
    for (std::vector<uint8_t> *bytes : {&indexes, &palette, &opaque})
        std::fill(bytes->begin(), bytes->end(), uint8_t{0});
    comment.assign("---");
    picture = {};
    const SomeSettings settings(list);
    KowenOutput output = {};
    output.size = sizeof output;
    ASSERT_EQ(KowenExportPrepared(prepared, settings, &output, nullptr, nullptr), KOWEN_HOST_OK);
    const auto *bytes = static_cast<const uint8_t *>(output.memory);
    EXPECT_EQ(std::vector<uint8_t>(bytes, bytes + output.memorySize), expected);
    KowenFree(output.memory);
    KowenFreePrepared(prepared);
}

} // namespace
} // namespace kowen::test
