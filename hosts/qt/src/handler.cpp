#include "handler.h"

#include <QFileDevice>
#include <QSaveFile>
#include <QVariant>

#include <exception>

namespace {

// Writes the bytes to the device. Returns an empty text, or what failed.
QString WriteAll(QIODevice &device, const char *bytes, qint64 count) {
    while (count > 0) {
        const qint64 written = device.write(bytes, count);
        if (written <= 0)
            return device.errorString();
        bytes += written;
        count -= written;
    }
    auto *file = qobject_cast<QFileDevice *>(&device);
    return file == nullptr || file->flush() ? QString() : file->errorString();
}

// Takes away what was written behind a file's old end, unless it was all: nothing of it could be
// taken for a picture. What stood in the file before is the program's own.
class Growth {
public:
    explicit Growth(QIODevice &device)
        : file(qobject_cast<QFileDevice *>(&device)), end(device.size()) {}
    Growth(const Growth &) = delete;
    Growth &operator=(const Growth &) = delete;
    ~Growth() {
        if (!whole && file != nullptr && !file->isSequential())
            file->resize(end);
    }

    void Keep() { whole = true; }

private:
    QFileDevice *file;
    qint64 end;
    bool whole = false;
};

QString NameOf(const QIODevice &device) {
    const auto *file = qobject_cast<const QFileDevice *>(&device);
    return file == nullptr ? QString("the device") : file->fileName();
}

} // namespace

bool ImageHandler::write(const QImage &image) {
    QString problem;
    try {
        problem = Save(image);
    } catch (const std::bad_alloc &) {
        problem = "there is not enough memory for the picture";
    } catch (const std::exception &error) {
        problem = QString::fromLocal8Bit(error.what());
    }
    if (problem.isEmpty())
        return true;
    if (auto *file = qobject_cast<QSaveFile *>(device()))
        file->cancelWriting();
    qWarning("kowen: %s", qUtf8Printable(problem));
    return false;
}

QString ImageHandler::Save(const QImage &image) {
    Jpeg jpeg;
    const QString problem = jpeg.Encode(image, options);
    if (!problem.isEmpty())
        return problem;
    Growth growth(*device());
    const QString unwritten = WriteAll(*device(), jpeg.Bytes(), jpeg.Size());
    if (!unwritten.isEmpty())
        return NameOf(*device()) + " cannot be written: " + unwritten;
    growth.Keep();
    return {};
}

bool ImageHandler::supportsOption(ImageOption option) const {
    return option == Quality || option == ProgressiveScanWrite || option == Description;
}

QVariant ImageHandler::option(ImageOption option) const {
    switch (option) {
    case Quality:
        return options.quality;
    case ProgressiveScanWrite:
        return options.progressive;
    case Description:
        return QString::fromUtf8(options.comment);
    default:
        return {};
    }
}

void ImageHandler::setOption(ImageOption option, const QVariant &value) {
    switch (option) {
    case Quality:
        options.quality = value.toInt();
        break;
    case ProgressiveScanWrite:
        options.progressive = value.toBool();
        break;
    case Description:
        options.comment = value.toString().toUtf8();
        break;
    default:
        break;
    }
}
