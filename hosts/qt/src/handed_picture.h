// A picture of Qt's as the host library takes it.
#pragma once

#include <QByteArray>
#include <QImage>

#include <kowen/host.h>

/// Says where the pixels of a QImage lie. Layouts that the library does not know are converted to
/// 8 bits of red, green, blue and, where they can be transparent, alpha.
class HandedPicture {
public:
    /// comment is UTF-8; empty = none. Throws std::bad_alloc.
    HandedPicture(const QImage &image, const QByteArray &comment);
    HandedPicture(const HandedPicture &) = delete;
    HandedPicture &operator=(const HandedPicture &) = delete;

    /// Valid as long as this object.
    const KowenPicture *Record() const { return &record; }

private:
    void TakePixels();
    void TakePalette();
    void TakeMetadata();

    QImage picture;
    QByteArray text;
    QByteArray profile;
    QByteArray palette; ///< red, green and blue of each colour
    QByteArray opacity; ///< a byte for each colour
    KowenPicture record{};
};
