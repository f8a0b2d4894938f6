// What a picture says beside its pixels, in the JPEG.
#include "looking.h"

#include <lcms2.h>

namespace kowen::test {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr uint8_t kApp1 = 0xE1, kApp2 = 0xE2, kComment = 0xFE;

// EXIF that says orientation 6 and nothing else.
const Bytes kExif = {'M', 'M', 0, 42, 0, 0, 0, 8, 0, 1, 0x01, 0x12, 0,
                     3,   0,   0, 0,  1, 0, 6, 0, 0, 0, 0,    0,    0};

Bytes ProfileBytes(cmsHPROFILE profile) {
    cmsUInt32Number size = 0;
    cmsSaveProfileToMem(profile, nullptr, &size);
    Bytes bytes(size);
    cmsSaveProfileToMem(profile, bytes.data(), &size);
    cmsCloseProfile(profile);
    return bytes;
}

// sRGB with red and green exchanged.
Bytes SwappedProfile() {
    const cmsCIExyY white = {0.3127, 0.3290, 1};
    const cmsCIExyYTRIPLE primaries = {{0.30, 0.60, 1}, {0.64, 0.33, 1}, {0.15, 0.06, 1}};
    cmsToneCurve *curve = cmsBuildGamma(nullptr, 2.2);
    cmsToneCurve *curves[] = {curve, curve, curve};
    const Bytes bytes = ProfileBytes(cmsCreateRGBProfile(&white, &primaries, curves));
    cmsFreeToneCurve(curve);
    return bytes;
}

Bytes GreyProfile(double gamma) {
    cmsToneCurve *curve = cmsBuildGamma(nullptr, gamma);
    const Bytes bytes = ProfileBytes(cmsCreateGrayProfile(cmsD50_xyY(), curve));
    cmsFreeToneCurve(curve);
    return bytes;
}

KowenPicture WithIcc(KowenPicture picture, const Bytes &icc) {
    picture.icc = icc.data();
    picture.iccSize = icc.size();
    return picture;
}

// What both decoders show of a picture of one colour.
void ExpectColour(const Seen &seen, int red, int green, int blue, int tolerance = 2) {
    ASSERT_EQ(seen.first.components, 3);
    const int wanted[] = {red, green, blue};
    for (int c = 0; c < 3; ++c) {
        EXPECT_NEAR(seen.first.At(3, 3)[c], wanted[c], tolerance);
        EXPECT_NEAR(seen.second.At(3, 3)[c], wanted[c], tolerance);
    }
}

void ExpectGrey(const Seen &seen, int grey, int tolerance) {
    ASSERT_EQ(seen.first.components, 1);
    EXPECT_NEAR(seen.first.At(3, 3)[0], grey, tolerance);
    EXPECT_NEAR(seen.second.At(3, 3)[0], grey, tolerance);
}

TEST(SaveMetadata, CarriesExifUpright) {
    const OpenedModule module;
    const Bytes pixels = Flat(8, 8, 90, 120, 150);
    KowenPicture picture = RgbPicture(pixels, 8, 8);
    picture.orientation = 6;
    picture.exif = kExif.data();
    picture.exifSize = kExif.size();
    const Saved saved = Save(module, picture);
    Bytes expected = {0, 34, 'E', 'x', 'i', 'f', 0, 0}; // 2 + 6 + 26 bytes
    expected.insert(expected.end(), kExif.begin(), kExif.end());
    expected[8 + 19] = 1;
    EXPECT_EQ(Segments(saved.bytes, kApp1), std::vector<Bytes>{expected});
    EXPECT_EQ(saved.bytes[2 + 18 + 1], kApp1); // right behind APP0
    ExpectColour(Look(saved), 90, 120, 150);
    EXPECT_TRUE(saved.Notes(KOWEN_NOTE_EXIF_KEPT));

    const Saved without = Save(module, picture, {{"exif", "drop"}});
    ExpectColour(Look(without), 90, 120, 150);
    EXPECT_TRUE(Segments(without.bytes, kApp1).empty());
    EXPECT_TRUE(without.Notes(KOWEN_NOTE_EXIF_DROPPED));
    const Saved asFilter = Save(module, picture, {{"as-filter", "yes"}});
    Look(asFilter);
    EXPECT_TRUE(Segments(asFilter.bytes, kApp1).empty());
    EXPECT_TRUE(asFilter.Notes(KOWEN_NOTE_EXIF_DROPPED));
}

TEST(SaveMetadata, LeavesOutExifThatIsDamagedOrTooLong) {
    const OpenedModule module;
    const Bytes pixels = Flat(8, 8, 90, 120, 150);
    KowenPicture picture = RgbPicture(pixels, 8, 8);
    const Bytes damaged = {'M', 'M', 0, 42, 9, 9};
    Bytes longer = kExif;
    longer.resize(65528);
    for (const Bytes &exif : {damaged, longer}) {
        picture.exif = exif.data();
        picture.exifSize = exif.size();
        const Saved saved = Save(module, picture);
        ExpectColour(Look(saved), 90, 120, 150);
        EXPECT_TRUE(Segments(saved.bytes, kApp1).empty());
        EXPECT_TRUE(saved.Notes(KOWEN_NOTE_EXIF_DROPPED));
    }
}

TEST(SaveMetadata, CarriesTheProfile) {
    const OpenedModule module;
    const Bytes pixels = Flat(8, 8, 90, 120, 150);
    const Bytes icc = SwappedProfile();
    const Saved saved = Save(module, WithIcc(RgbPicture(pixels, 8, 8), icc));
    const std::vector<Bytes> segments = Segments(saved.bytes, kApp2);
    ASSERT_EQ(segments.size(), 1U);
    EXPECT_EQ(Bytes(segments[0].begin() + 16, segments[0].end()), icc);
    EXPECT_TRUE(saved.Notes(KOWEN_NOTE_ICC_KEPT));
    // The pixels are as they were: their meaning went along.
    ExpectColour(Look(saved), 90, 120, 150);
}

TEST(SaveMetadata, PartsALongProfile) {
    const OpenedModule module;
    const Bytes pixels = Flat(8, 8, 90, 120, 150);
    Bytes icc = SwappedProfile();
    icc.resize(150000, 7);
    const Saved saved = Save(module, WithIcc(RgbPicture(pixels, 8, 8), icc));
    Bytes joined;
    int number = 0;
    for (const Bytes &segment : Segments(saved.bytes, kApp2)) {
        EXPECT_EQ(segment.at(14), ++number);
        EXPECT_EQ(segment.at(15), 3);
        joined.insert(joined.end(), segment.begin() + 16, segment.end());
    }
    EXPECT_EQ(joined, icc);
    ExpectColour(Look(saved), 90, 120, 150);
}

TEST(SaveMetadata, ConvertsToSrgbWhenTheProfileGoes) {
    const OpenedModule module;
    const Bytes pixels = Flat(8, 8, 90, 120, 150);
    const Bytes icc = SwappedProfile();
    const KowenPicture picture = WithIcc(RgbPicture(pixels, 8, 8), icc);
    const Saved saved = Save(module, picture, {{"icc", "drop"}});
    EXPECT_TRUE(Segments(saved.bytes, kApp2).empty());
    EXPECT_TRUE(saved.Notes(KOWEN_NOTE_CONVERTED_TO_SRGB | KOWEN_NOTE_ICC_DROPPED));
    ExpectColour(Look(saved), 120, 90, 150, 4); // red and green change places
    // A grey file cannot have a profile of red, green and blue.
    const Saved grey = Save(module, picture, {{"colour", "grey"}});
    EXPECT_TRUE(Segments(grey.bytes, kApp2).empty());
    EXPECT_TRUE(grey.Notes(KOWEN_NOTE_CONVERTED_TO_SRGB));
    ExpectGrey(Look(grey), 106, 3); // 0.299 * 120 + 0.587 * 90 + 0.114 * 150
}

TEST(SaveMetadata, FitsGreyProfilesToGreyFiles) {
    const OpenedModule module;
    const Bytes pixels(64, 128);
    const Bytes icc = GreyProfile(1.0);
    const KowenPicture picture = WithIcc(PictureOf(KOWEN_PIXEL_GREY, pixels, 8, 8), icc);
    const Saved grey = Save(module, picture, {{"colour", "grey"}});
    EXPECT_EQ(Segments(grey.bytes, kApp2).size(), 1U);
    ExpectGrey(Look(grey), 128, 1);
    const Saved colours = Save(module, picture);
    EXPECT_TRUE(Segments(colours.bytes, kApp2).empty());
    // Half of the light is 188 in sRGB.
    ExpectColour(Look(colours), 188, 188, 188);
    EXPECT_TRUE(colours.Notes(KOWEN_NOTE_CONVERTED_TO_SRGB));
}

TEST(SaveMetadata, LeavesPixelsOfAnUnusableProfile) {
    const OpenedModule module;
    const Bytes pixels = Flat(8, 8, 90, 120, 150);
    const Bytes nonsense(200, 'x');
    const Saved saved = Save(module, WithIcc(RgbPicture(pixels, 8, 8), nonsense));
    EXPECT_TRUE(saved.Notes(KOWEN_NOTE_ICC_DROPPED));
    EXPECT_FALSE(saved.Notes(KOWEN_NOTE_CONVERTED_TO_SRGB));
    ExpectColour(Look(saved), 90, 120, 150);
}

TEST(SaveMetadata, CarriesACommentWhenAsked) {
    const OpenedModule module;
    const Bytes pixels = Flat(8, 8, 90, 120, 150);
    KowenPicture picture = RgbPicture(pixels, 8, 8);
    picture.comment = "Sea";
    EXPECT_TRUE(Segments(Save(module, picture).bytes, kComment).empty());
    EXPECT_TRUE(Save(module, picture).Notes(KOWEN_NOTE_COMMENT_DROPPED));
    const Saved kept = Save(module, picture, {{"comment", "keep"}});
    EXPECT_EQ(Segments(kept.bytes, kComment), (std::vector<Bytes>{{0, 5, 'S', 'e', 'a'}}));
    ExpectColour(Look(kept), 90, 120, 150);
    EXPECT_TRUE(kept.Notes(KOWEN_NOTE_COMMENT_KEPT));
}

} // namespace
} // namespace kowen::test
