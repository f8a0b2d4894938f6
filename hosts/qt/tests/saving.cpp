#include "saving.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QImageWriter>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdlib>

namespace saving {

Abilities withoutPlugin;

QImage Gradient(int width, int height) {
    QImage image(width, height, QImage::Format_RGB32);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const int red = 60 + 120 * x / width, green = 60 + 120 * y / height;
            image.setPixel(x, y, qRgb(red, green, 240 - red / 2 - green / 3));
        }
    image.setDotsPerMeterX(11811);
    image.setDotsPerMeterY(11811);
    return image;
}

QByteArray ByQt(const QImage &image, const Choice &choice) {
    QBuffer buffer;
    QImageWriter writer(&buffer, "kjpg");
    writer.setQuality(choice.quality);
    writer.setProgressiveScanWrite(choice.progressive);
    return writer.write(image) ? buffer.data() : QByteArray();
}

QByteArray ByQtsOwn() {
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    Gradient().save(&buffer, "jpg", 90);
    return buffer.data();
}

QByteArray ByTheProgram(const QImage &image, const QStringList &options) {
    const QTemporaryDir folder;
    const QString from = folder.filePath("in.png"), to = folder.filePath("out.jpg");
    if (!image.save(from, "png"))
        return {};
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove("KOWEN_MODULE"); // it has the filter itself, whatever the plug-in has
    QProcess program;
    program.setProcessEnvironment(environment);
    program.setWorkingDirectory(folder.path());
    program.setProcessChannelMode(QProcess::ForwardedChannels);
    program.start(KOWEN_PROGRAM, QStringList{"export", from, to, "-q"} + options);
    program.waitForFinished();
    QFile file(to);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QImage Decoded(const QByteArray &jpeg) {
    return QImage::fromData(jpeg, "jpeg");
}

int Furthest(const QImage &one, const QImage &other) {
    int most = one.size() == other.size() ? 0 : 256;
    for (int y = 0; most < 256 && y < one.height(); ++y)
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y), b = other.pixel(x, y);
            most = std::max({most, std::abs(qRed(a) - qRed(b)), std::abs(qGreen(a) - qGreen(b)),
                             std::abs(qBlue(a) - qBlue(b))});
        }
    return most;
}

Abilities AbilitiesNow() {
    return {QImageReader::supportedImageFormats(), QImageReader::supportedMimeTypes(),
            QImageWriter::supportedImageFormats(), ByQtsOwn()};
}

} // namespace saving
