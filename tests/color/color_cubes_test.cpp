#include "color/color_cubes.h"

#include "color/bitmaps.h"
#include "color/each_form.h"
#include "support/failing_memory.h"

namespace kowen {
namespace {

class Cubes {
public:
    explicit Cubes(const Bytes &table) {
        OpenColorCubes(&cubes, {table.data(), static_cast<uint32_t>(table.size() / 3)},
                       kFineSearches);
    }
    Cubes(const Cubes &) = delete;
    Cubes &operator=(const Cubes &) = delete;
    ~Cubes() { CloseColorCubes(&cubes); }

    bool Serve() const { return ServesPixels(cubes); }
    Bytes Find(const Bytes &pixels) {
        Bytes indices(pixels.size() / 3);
        FindInCubes(&cubes, pixels.data(), static_cast<uint32_t>(indices.size()), indices.data());
        return indices;
    }

private:
    ColorCubes cubes;
};

Bytes PlainlyFound(const Bytes &pixels, const Bytes &table) {
    Bytes indices(pixels.size() / 3);
    for (size_t i = 0; i < indices.size(); ++i)
        indices[i] = static_cast<uint8_t>(reference::NearestRGBIndex(
            pixels[3 * i], pixels[3 * i + 1], pixels[3 * i + 2], table, 65535));
    return indices;
}

TEST(FindInCubes, EveryFormAnswersAsThePlainSearch) {
    Random random(51);
    for (uint32_t entries : {0u, 1u, 2u, 3u, 4u, 8u, 16u, 41u, 130u, 255u, 256u}) {
        for (const Bytes &table : TableKinds(random, entries)) {
            const Bytes pixels = RandomBitmap(random, 1200, 1, 24);
            const Bytes expected = PlainlyFound(pixels, table);
            WithEachColorForm([&] {
                Cubes cubes(table);
                ASSERT_TRUE(cubes.Serve());
                ASSERT_EQ(cubes.Find(pixels), expected) << entries << " entries";
                ASSERT_EQ(cubes.Find(pixels), expected) << "again, with all cubes filled";
            });
        }
    }
}

TEST(FindInCubes, EveryFormAnswersAsThePlainSearchForEveryNumberOfPixels) {
    Random random(52);
    const Bytes table = RandomTable(random, 100);
    WithEachColorForm([&] {
        for (uint32_t count = 0; count <= 300; ++count) {
            Cubes cubes(table);
            const Bytes pixels = RandomBytes(random, size_t{count} * 3);
            ASSERT_EQ(cubes.Find(pixels), PlainlyFound(pixels, table)) << count;
        }
    });
}

// Every colour with one blue, in an order in which neighbours are in different cubes.
Bytes ColorsOfBlue(uint32_t blue) {
    Bytes pixels(size_t{65536} * 3);
    for (uint32_t i = 0; i < 65536; ++i) {
        pixels[3 * i] = static_cast<uint8_t>(i >> 8);
        pixels[3 * i + 1] = static_cast<uint8_t>(i * 5);
        pixels[3 * i + 2] = static_cast<uint8_t>(blue);
    }
    return pixels;
}

TEST(FindInCubes, EveryFormAnswersAsThePlainSearchForEveryColour) {
    Random random(53);
    const Bytes table = RandomTable(random, 12);
    std::vector<Bytes> expected;
    for (uint32_t blue = 0; blue < 256; ++blue)
        expected.push_back(PlainlyFound(ColorsOfBlue(blue), table));
    WithEachColorForm([&] {
        Cubes cubes(table);
        for (uint32_t blue = 0; blue < 256; ++blue)
            ASSERT_TRUE(cubes.Find(ColorsOfBlue(blue)) == expected[blue]) << blue;
    });
}

// A pixel of every cube, with a table of which hardly any cube has one nearest entry only.
class AllCubes : public testing::Test {
protected:
    AllCubes() {
        for (uint32_t i = 0; i < 256; ++i)
            table.insert(table.end(), {static_cast<uint8_t>((i & 7) * 36),
                                       static_cast<uint8_t>((i >> 3 & 7) * 36 + 1),
                                       static_cast<uint8_t>((i >> 6) * 85)});
        for (uint32_t cube = 0; cube < kCubes; ++cube)
            pixels.insert(pixels.end(),
                          {static_cast<uint8_t>(cube << 2), static_cast<uint8_t>(cube >> 6 << 2),
                           static_cast<uint8_t>(cube >> 12 << 2)});
    }

    void ExpectFound(const Bytes &found) const {
        for (uint32_t cube = 0; cube < kCubes; cube += 101) {
            const uint8_t *pixel = &pixels[size_t{cube} * 3];
            ASSERT_EQ(found[cube],
                      reference::NearestRGBIndex(pixel[0], pixel[1], pixel[2], table, 65535))
                << cube;
        }
    }

    Bytes table, pixels;
};

TEST_F(AllCubes, HaveRoom) {
    WithEachColorForm([&] {
        Cubes cubes(table);
        ExpectFound(cubes.Find(pixels));
    });
}

TEST_F(AllCubes, BeginAnewWhenThereIsNoMemoryForMoreRoom) {
    testing::internal::CaptureStdout();
    WithEachColorForm([&] {
        FailingMemory memory(4, FailingMemory::kThatAndAllLater);
        Cubes cubes(table);
        ASSERT_TRUE(cubes.Serve());
        ExpectFound(cubes.Find(pixels));
        EXPECT_TRUE(memory.Failed());
    });
    testing::internal::GetCapturedStdout();
}

TEST(OpenColorCubes, DoNotServeFewSearchesLargeTablesOrWithoutMemory) {
    testing::internal::CaptureStdout();
    const Bytes small(6), large(size_t{257} * 3);
    ColorCubes cubes;
    OpenColorCubes(&cubes, {small.data(), 2}, kFineSearches - 1);
    EXPECT_FALSE(ServesPixels(cubes));
    OpenColorCubes(&cubes, {large.data(), 257}, kFineSearches);
    EXPECT_FALSE(ServesPixels(cubes));
    for (int k = 1; k <= 3; ++k) {
        FailingMemory memory(k);
        EXPECT_FALSE(Cubes(small).Serve());
        EXPECT_TRUE(memory.Failed());
    }
    EXPECT_TRUE(Cubes(small).Serve());
    testing::internal::GetCapturedStdout();
}

} // namespace
} // namespace kowen
