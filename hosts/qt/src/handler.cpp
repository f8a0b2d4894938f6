#include "handler.h"

#include <QFile>
#include <QSaveFile>
#include <QTemporaryFile>
#include <QVariant>

#include <exception>
#include <typeinfo>

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

// Whether its bytes go to its descriptor as they are: a class made from Qt's may change them.
bool IsPlain(const QFileDevice &file) {
    const bool isQts = typeid(file) == typeid(QFile) || typeid(file) == typeid(QTemporaryFile);
    return isQts && file.handle() >= 0;
}

// Writes the bytes to the file's descriptor, where the file stands. Its own buffer would keep what
// a full disk does not take, write as much of that as fits when it is closed, and let nothing be
// taken away before.
QString WriteBesideTheBuffer(QFileDevice &file, const char *bytes, qint64 count) {
    QFile direct;
    if (!direct.open(file.handle(), QIODevice::WriteOnly | QIODevice::Unbuffered))
        return direct.errorString();
    if (file.isSequential())
        return WriteAll(direct, bytes, count);
    const qint64 start = file.pos();
    if (!direct.seek(start))
        return direct.errorString();
    const QString unwritten = WriteAll(direct, bytes, count);
    const bool stands = file.seek(unwritten.isEmpty() ? start + count : start);
    return stands || !unwritten.isEmpty() ? unwritten : file.errorString();
}

// What did not become a whole picture is taken away behind the file's old end: nothing of it could
// be taken for one. What stood in the file before is the program's own.
QString WriteToFile(QFileDevice &file, const char *bytes, qint64 count) {
    // A flush that writes a part fails without a reason, which the next one has.
    if (!file.flush() && !file.flush())
        return file.errorString();
    const qint64 end = file.size();
    QString unwritten =
        IsPlain(file) ? WriteBesideTheBuffer(file, bytes, count) : WriteAll(file, bytes, count);
    if (!unwritten.isEmpty() && !file.isSequential())
        file.resize(end);
    return unwritten;
}

QString Write(QIODevice &device, const char *bytes, qint64 count) {
    auto *file = qobject_cast<QFileDevice *>(&device);
    return file != nullptr ? WriteToFile(*file, bytes, count) : WriteAll(device, bytes, count);
}

QString NameOf(const QIODevice &device) {
    const auto *file = qobject_cast<const QFileDevice *>(&device);
    return file == nullptr || file->fileName().isEmpty() ? QString("the device") : file->fileName();
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
    const QString unwritten = Write(*device(), jpeg.Bytes(), jpeg.Size());
    return unwritten.isEmpty() ? unwritten : NameOf(*device()) + " cannot be written: " + unwritten;
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
