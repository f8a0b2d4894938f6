#include "export/metafile.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

TEST(InitPlatformMetafileFilter, ClearsItsCellsAndAnswersItsFirstArgument) {
    ExportRecord record = {};
    uintptr_t word1 = 1;
    uintptr_t word2 = 2;
    MemoryHandle setup = 3;
    CapabilityCallback callback = [](MemoryHandle, int32_t, int32_t, void *, int32_t, int32_t) {};
    EXPECT_EQ(InitPlatformMetafileFilter(77, 88, &record, &word1, &setup, &word2, &callback), 77u);
    EXPECT_EQ(word1, 0u);
    EXPECT_EQ(word2, 0u);
    EXPECT_EQ(setup, 0u);
    EXPECT_EQ(callback, nullptr);
}

TEST(MetafileLayer, HasNothingToDraw) {
    EXPECT_EQ(GetMetaFileHandle(), 0u);
    EXPECT_EQ(DeleteMetaFileHandle(5), 0);
    EXPECT_EQ(TermPlatformMetafileFilter(5), 0);
    EXPECT_EQ(AltFontsAvailable(), 0);
}

PictureQuery Query(int32_t left, int32_t top, int32_t right, int32_t bottom, int32_t unitsPerInch) {
    MetafilePicture picture = {};
    picture.left = left;
    picture.top = top;
    picture.right = right;
    picture.bottom = bottom;
    picture.unitsPerInch = unitsPerInch;
    PictureQuery query = {};
    EXPECT_EQ(DrawPlatformMetafile(kDrawQuery, &picture, reinterpret_cast<uintptr_t>(&query), 0),
              0u);
    return query;
}

TEST(DrawPlatformMetafile, TellsItsSizeInInches) {
    const PictureQuery query = Query(100, 3000, 2100, 500, 1000);
    EXPECT_EQ(query.width, 2.0);
    EXPECT_EQ(query.height, 2.5);
    EXPECT_EQ(query.resolution, 1000);
    EXPECT_EQ(query.pixelOrder, 4);
}

TEST(DrawPlatformMetafile, TellsItsSizeInUnitsWhenTheyAreNotKnown) {
    const PictureQuery query = Query(10, 20, 5, 50, 0);
    EXPECT_EQ(query.width, -5.0);
    EXPECT_EQ(query.height, -30.0);
    EXPECT_EQ(query.resolution, 0);
}

TEST(DrawPlatformMetafile, TakesTheUnitsAsUnsigned) {
    const PictureQuery query = Query(0, 0, 0x40000000, 0, -1);
    EXPECT_EQ(query.width, 1073741824.0 / 4294967295.0);
    EXPECT_EQ(query.resolution, -1);
}

TEST(DrawPlatformMetafile, DifferencesAreThirtyTwoBitWords) {
    const PictureQuery query = Query(INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX, 0);
    EXPECT_EQ(query.width, -1.0);
    EXPECT_EQ(query.height, 1.0);
}

TEST(DrawPlatformMetafile, DrawsNothing) {
    for (int32_t operation : {kDrawOpen, kDrawClose, kDrawBand})
        EXPECT_EQ(DrawPlatformMetafile(operation, nullptr, 5, 6), 0u);
    EXPECT_EQ(DrawPlatformMetafile(9, nullptr, 5, 6), 0u);
}

} // namespace
} // namespace kowen
