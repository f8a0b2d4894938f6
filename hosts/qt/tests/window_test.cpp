// The example with a window, which draws itself into a picture of the documentation.
#include <QColor>
#include <QImage>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace {

// How many pixels of these columns have the colour, within what a JPEG changes.
int CountOf(const QImage &image, QRgb colour, int left, int right) {
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = left; x < right; ++x) {
            const QRgb seen = image.pixel(x, y);
            const int off = std::max({std::abs(qRed(seen) - qRed(colour)),
                                      std::abs(qGreen(seen) - qGreen(colour)),
                                      std::abs(qBlue(seen) - qBlue(colour))});
            count += off <= 4 ? 1 : 0;
        }
    return count;
}

TEST(Window, ShowsThePictureBesideItsJpeg) {
    const QTemporaryDir folder;
    const QString picture = folder.filePath("picture.png"), shot = folder.filePath("shot.png");
    const QRgb colour = qRgb(90, 130, 160);
    QImage image(300, 200, QImage::Format_RGB32);
    image.fill(colour);
    ASSERT_TRUE(image.save(picture));

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("QT_QPA_PLATFORM", "offscreen");
    environment.insert("QT_PLUGIN_PATH", KOWEN_QT_PLUGINS);
    environment.insert("XDG_RUNTIME_DIR", folder.path());
    QProcess window;
    window.setProcessEnvironment(environment);
    window.setProcessChannelMode(QProcess::ForwardedChannels);
    window.start(KOWEN_QT_WINDOW, {picture, "--screenshot", shot});
    ASSERT_TRUE(window.waitForFinished());
    ASSERT_EQ(window.exitCode(), 0);

    // Both are shown 300 pixels wide: as it is in the left half, as a JPEG in the right one.
    const QImage shown(shot);
    ASSERT_GE(shown.width(), 600);
    EXPECT_GE(CountOf(shown, colour, 0, shown.width() / 2), 300 * 200 * 9 / 10);
    EXPECT_GE(CountOf(shown, colour, shown.width() / 2, shown.width()), 300 * 200 * 9 / 10);
}

} // namespace
