// Every format that an image of Qt's can have.
#include "saving.h"

#include <QVector>

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

using namespace saving;

namespace {

constexpr int kNear = 8; // steps of 255 that quality 100 and chroma of half the columns may be away

// Its colours as 8 bits of red, green, blue and alpha, as Qt makes them.
QImage Plain(const QImage &image) {
    return image.convertToFormat(QImage::Format_ARGB32);
}

QImage Filled(QImage::Format format, QRgb colour) {
    QImage image(32, 16, QImage::Format_ARGB32);
    image.fill(colour);
    return image.convertToFormat(format, Qt::ThresholdDither | Qt::AvoidDither);
}

class EveryFormat : public testing::TestWithParam<int> {
protected:
    QImage::Format Format() const { return static_cast<QImage::Format>(GetParam()); }
};

TEST_P(EveryFormat, GivesTheBytesOfTheCommandLine) {
    const QImage image = Gradient().convertToFormat(Format());
    const QByteArray jpeg = ByQt(image);
    ASSERT_GT(jpeg.size(), 500);
    EXPECT_EQ(jpeg, ByTheProgram(Plain(image)));
}

TEST_P(EveryFormat, LooksLikeThePicture) {
    const QRgb colour = qRgb(200, 120, 60);
    const QImage image = Filled(Format(), colour);
    const QImage found = Decoded(ByQt(image));
    ASSERT_EQ(found.size(), image.size());
    if (image.format() == QImage::Format_Alpha8)
        return; // has no colours
    if (image.isGrayscale() || image.depth() == 1)
        EXPECT_LE(Furthest(found, Plain(image)), 2);
    else
        EXPECT_LE(Furthest(found, Plain(image)), kNear);
}

TEST_P(EveryFormat, ShowsWhiteThroughWhatIsTransparent) {
    const QImage image = Filled(Format(), qRgba(10, 200, 30, 0));
    if (!image.hasAlphaChannel())
        return;
    const QImage found = Decoded(ByQt(image));
    EXPECT_EQ(found.pixel(5, 5), qRgb(255, 255, 255));
    EXPECT_EQ(found.pixel(31, 15), qRgb(255, 255, 255));
}

INSTANTIATE_TEST_SUITE_P(Qt, EveryFormat,
                         testing::Range(int{QImage::Format_Mono}, int{QImage::NImageFormats}),
                         [](const auto &test) { return std::to_string(test.param); });

TEST(Colours, AreInTheirPlaces) {
    QImage image(32, 16, QImage::Format_RGB32);
    image.fill(qRgb(180, 60, 60));
    EXPECT_LE(Furthest(Decoded(ByQt(image)), image), kNear);
    image.fill(qRgb(60, 150, 60));
    EXPECT_LE(Furthest(Decoded(ByQt(image)), image), kNear);
    image.fill(qRgb(60, 60, 170));
    EXPECT_LE(Furthest(Decoded(ByQt(image)), image), kNear);
}

TEST(Colours, OfRgb32DoNotDependOnItsUnusedByte) {
    QImage image = Gradient(), strange = Gradient();
    for (int y = 0; y < strange.height(); ++y)
        for (int x = 0; x < strange.width(); ++x)
            reinterpret_cast<QRgb *>(strange.scanLine(y))[x] &= 0x00FFFFFF;
    EXPECT_EQ(ByQt(strange), ByQt(image));
}

TEST(Colours, OfWideGreyAreTheNearest) {
    QImage image(64, 16, QImage::Format_Grayscale16);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            reinterpret_cast<quint16 *>(image.scanLine(y))[x] = 100 * 257 + (y < 8 ? 128 : 129);
    QImage nearest(64, 16, QImage::Format_Grayscale8);
    for (int y = 0; y < nearest.height(); ++y)
        for (int x = 0; x < nearest.width(); ++x)
            nearest.scanLine(y)[x] = y < 8 ? 100 : 101;
    EXPECT_EQ(Decoded(ByQt(image)).pixel(3, 3), Decoded(ByQt(nearest)).pixel(3, 3));
    EXPECT_EQ(Decoded(ByQt(image)).pixel(3, 12), Decoded(ByQt(nearest)).pixel(3, 12));
}

TEST(Palette, OfTwoColoursIsTaken) {
    for (const auto format : {QImage::Format_Mono, QImage::Format_MonoLSB}) {
        QImage image(32, 16, format);
        image.setColorTable({qRgb(90, 110, 140), qRgb(160, 140, 120)});
        image.fill(0);
        for (int y = 0; y < 16; ++y)
            for (int x = 16; x < 32; ++x)
                image.setPixel(x, y, 1);
        for (const QRect half : {QRect(0, 0, 14, 16), QRect(18, 0, 14, 16)})
            EXPECT_LE(Furthest(Decoded(ByQt(image)).copy(half), Plain(image).copy(half)), 2);
        EXPECT_EQ(ByQt(image), ByTheProgram(Plain(image)));
    }
}

TEST(Palette, OfATransparentColourShowsWhite) {
    QImage image(32, 16, QImage::Format_Indexed8);
    image.setColorTable({qRgb(1, 2, 3), qRgba(40, 90, 160, 0), qRgb(90, 90, 90)});
    image.fill(1);
    EXPECT_EQ(Decoded(ByQt(image)).pixel(9, 9), qRgb(255, 255, 255));
}

TEST(Palette, ThatIsMissingOrTooShortIsWhatQtMakesOfIt) {
    for (const auto format : {QImage::Format_Mono, QImage::Format_MonoLSB, QImage::Format_Indexed8})
        for (const int colours : {0, 1}) {
            QImage image(32, 16, format);
            image.setColorTable(QVector<QRgb>(colours, qRgb(10, 20, 30)));
            image.fill(0);
            EXPECT_EQ(ByQt(image), ByTheProgram(Plain(image))) << format << " " << colours;
        }
}

TEST(Pictures, ThatArePartOfALargerOneHaveTheirOwnPixels) {
    QImage whole = Gradient(80, 60);
    const QImage part(whole.constScanLine(7) + 4 * 20, 48, 33, whole.bytesPerLine(),
                      whole.format());
    QImage copied = whole.copy(20, 7, 48, 33);
    copied.setDotsPerMeterX(part.dotsPerMeterX());
    copied.setDotsPerMeterY(part.dotsPerMeterY());
    EXPECT_EQ(ByQt(part), ByQt(copied));
}

TEST(Threads, GetTheirOwnPictures) {
    std::vector<QImage> pictures;
    std::vector<QByteArray> expected;
    for (int i = 0; i < 4; ++i) {
        pictures.push_back(Gradient(48 + i, 33));
        expected.push_back(ByQt(pictures.back()));
    }
    std::vector<int> wrong(pictures.size());
    std::vector<std::thread> threads;
    for (size_t i = 0; i < pictures.size(); ++i)
        threads.emplace_back([&, i] {
            for (int n = 0; n < 20; ++n)
                wrong[i] += ByQt(pictures[i]) != expected[i];
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, std::vector<int>(4));
}

} // namespace
