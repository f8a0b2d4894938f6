// Writes one picture to a device of Qt's.
#pragma once

#include "filter.h"

#include <QImageIOHandler>

class ImageHandler final : public QImageIOHandler {
public:
    bool canRead() const override { return false; }
    bool read(QImage *) override { return false; }

    /// Saves the picture to the device. False when that failed: a sentence that says why is printed
    /// by qWarning, since Qt takes none from a handler. Of a picture that cannot be encoded nothing
    /// is written; what could not be written whole is taken away behind the file's old end. A
    /// QSaveFile cannot be committed. In a file of a class that a program made of Qt's, up to
    /// 16 kB of the picture can be left, since it may change what it is given.
    bool write(const QImage &image) override;

    /// Quality, ProgressiveScanWrite and Description.
    bool supportsOption(ImageOption option) const override;
    QVariant option(ImageOption option) const override;
    void setOption(ImageOption option, const QVariant &value) override;

private:
    QString Save(const QImage &image);

    JpegOptions options;
};
