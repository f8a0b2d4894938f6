// Saving pictures through Qt and through the command line, side by side.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QList>
#include <QStringList>

namespace saving {

/// Smooth colours: a JPEG of quality 100 is within a few steps of them.
QImage Gradient(int width = 48, int height = 33);

/// What QImageWriter is told.
struct Choice {
    int quality = -1;
    bool progressive = false;
};

/// The picture as "kjpg", in memory; empty when it was not written.
QByteArray ByQt(const QImage &image, const Choice &choice = {});

/// The gradient as Qt's own JPEG, of quality 90.
QByteArray ByQtsOwn();

/// The picture as the command line saves it, by way of a PNG file.
QByteArray ByTheProgram(const QImage &image, const QStringList &options = {});

/// The picture that a JPEG shows, by Qt's own reader.
QImage Decoded(const QByteArray &jpeg);

/// The largest difference of red, green or blue between two pictures of one size.
int Furthest(const QImage &one, const QImage &other);

/// What Qt says that it can read and write, and a picture that it saved as "jpg".
struct Abilities {
    QList<QByteArray> reading, readingTypes, writing;
    QByteArray jpeg;
};
Abilities AbilitiesNow();

/// As they were before Qt knew of the plug-in.
extern Abilities withoutPlugin;

} // namespace saving
