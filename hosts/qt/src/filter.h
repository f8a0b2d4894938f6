// Pictures of Qt's to JPEGs, by the host library.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QString>

#include <kowen/host.h>

/// What a program can ask for.
struct JpegOptions {
    int quality = -1; ///< Qt's 0 to 100, what lies outside of the filter's 45 to 100 is its nearest
                      ///< end; negative = the best
    bool progressive = false;
    QByteArray comment; ///< UTF-8; empty = none
};

/// A JPEG in memory.
class Jpeg {
public:
    Jpeg() = default;
    Jpeg(const Jpeg &) = delete;
    Jpeg &operator=(const Jpeg &) = delete;
    ~Jpeg() { KowenFree(output.memory); }

    /// Makes it of the picture. Returns an empty text, or the sentence that says what failed.
    /// Throws std::bad_alloc.
    QString Encode(const QImage &image, const JpegOptions &options);

    const char *Bytes() const { return static_cast<const char *>(output.memory); }
    qint64 Size() const { return static_cast<qint64>(output.memorySize); }

private:
    KowenOutput output{};
};
