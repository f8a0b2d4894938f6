// What fails, what is said, and what is left.
#include "saving.h"

#include <QBuffer>
#include <QFile>
#include <QImageWriter>
#include <QSaveFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <random>

#include <sys/resource.h>

using namespace saving;

namespace {

QStringList warnings;

void Collect(QtMsgType type, const QMessageLogContext &, const QString &message) {
    if (type == QtWarningMsg)
        warnings << message;
}

class Errors : public testing::Test {
protected:
    Errors() {
        warnings.clear();
        previous = qInstallMessageHandler(Collect);
    }
    ~Errors() override { qInstallMessageHandler(previous); }

    QtMessageHandler previous;
};

// Takes so many bytes and then no more.
class FullDevice final : public QIODevice {
public:
    explicit FullDevice(qint64 room) : left(room) { open(WriteOnly); }
    bool isSequential() const override { return true; }

protected:
    qint64 readData(char *, qint64) override { return -1; }
    qint64 writeData(const char *, qint64 count) override {
        setErrorString("it is full");
        const qint64 taken = std::min(count, left);
        left -= taken;
        return taken > 0 ? taken : -1;
    }

private:
    qint64 left;
};

// No file grows beyond so many bytes.
class SmallDisk {
public:
    explicit SmallDisk(rlim_t bytes) {
        getrlimit(RLIMIT_FSIZE, &before);
        const rlimit small = {bytes, before.rlim_max};
        handler = std::signal(SIGXFSZ, SIG_IGN);
        setrlimit(RLIMIT_FSIZE, &small);
    }
    SmallDisk(const SmallDisk &) = delete;
    SmallDisk &operator=(const SmallDisk &) = delete;
    ~SmallDisk() {
        setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }

private:
    rlimit before{};
    void (*handler)(int);
};

QByteArray BytesOf(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("it cannot be read");
}

// Its JPEG has some 100 kB.
QImage Noise() {
    QImage image(256, 256, QImage::Format_RGB32);
    std::minstd_rand chance(1);
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            image.setPixel(x, y, static_cast<QRgb>(chance()));
    return image;
}

TEST_F(Errors, AFullDiskIsToldByName) {
    QFile file("/dev/full");
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(QImageWriter(&file, "kjpg").write(Gradient()));
    EXPECT_EQ(warnings, QStringList("kowen: /dev/full cannot be written: No space left on device"));
}

TEST_F(Errors, ADeviceThatTakesAPartIsAskedForMore) {
    FullDevice device(1 << 20);
    EXPECT_TRUE(QImageWriter(&device, "kjpg").write(Gradient()));
    FullDevice full(100);
    EXPECT_FALSE(QImageWriter(&full, "kjpg").write(Gradient()));
    EXPECT_EQ(warnings, QStringList("kowen: the device cannot be written: it is full"));
}

TEST_F(Errors, APictureThatIsTooWideLeavesNothingOfAFile) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("a.kjpg");
    EXPECT_FALSE(QImage(65536, 1, QImage::Format_Grayscale8).save(path));
    EXPECT_EQ(QFile(path).size(), 0);
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_TRUE(warnings[0].contains("65536 x 1")) << qPrintable(warnings[0]);
}

TEST_F(Errors, LeaveWhatStoodInTheFileBeforeAndAfter) {
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.bin"));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.write("before-and-after");
    ASSERT_TRUE(file.seek(7));
    EXPECT_FALSE(QImageWriter(&file, "kjpg").write(QImage(65536, 1, QImage::Format_Grayscale8)));
    EXPECT_EQ(BytesOf(file.fileName()), "before-and-after");
}

TEST_F(Errors, AFullDiskLeavesAFileItsLength) {
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.bin"));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.write(QByteArray(10'000, 'x'));
    ASSERT_TRUE(file.seek(7));
    {
        const SmallDisk disk(30'000);
        EXPECT_FALSE(QImageWriter(&file, "kjpg").write(Noise()));
    }
    file.close();
    const QByteArray left = BytesOf(file.fileName());
    EXPECT_EQ(left.size(), 10'000);
    EXPECT_EQ(left.left(9), "xxxxxxx\xFF\xD8");
}

// So small that all of it would wait in the buffer of a file.
TEST_F(Errors, AFullDiskLeavesNothingOfASmallPicture) {
    const QTemporaryDir folder;
    ASSERT_GT(ByQt(Gradient()).size(), 900);
    ASSERT_LT(ByQt(Gradient()).size(), 16'384);
    for (const int before : {0, 200, 899, 900}) {
        const QString path = folder.filePath(QString::number(before));
        const SmallDisk disk(900);
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(QByteArray(before, 'x'));
        EXPECT_FALSE(QImageWriter(&file, "kjpg").write(Gradient()));
        file.close();
        EXPECT_EQ(BytesOf(path), QByteArray(before, 'x'));
        EXPECT_EQ(warnings.takeLast(), "kowen: " + path + " cannot be written: File too large");
    }
}

TEST_F(Errors, AFullDiskLeavesNothingOfASmallPictureThatIsSavedByName) {
    const QTemporaryDir folder;
    const SmallDisk disk(300);
    EXPECT_FALSE(Gradient().save(folder.filePath("a.kjpg")));
    EXPECT_EQ(BytesOf(folder.filePath("a.kjpg")), "");
}

TEST_F(Errors, AFullDiskThatHasRoomAgainGetsNothingOfThePicture) {
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.bin"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write("before");
    {
        const SmallDisk disk(300);
        EXPECT_FALSE(QImageWriter(&file, "kjpg").write(Gradient()));
    }
    file.write("after");
    file.close();
    EXPECT_EQ(BytesOf(file.fileName()), "beforeafter");
}

TEST_F(Errors, AFullDiskLeavesAFileWhereItStood) {
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.bin"));
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    file.write(QByteArray(500, 'x'));
    ASSERT_TRUE(file.seek(7));
    {
        const SmallDisk disk(300);
        EXPECT_FALSE(QImageWriter(&file, "kjpg").write(Gradient()));
    }
    file.write("after");
    file.close();
    const QByteArray left = BytesOf(file.fileName());
    EXPECT_EQ(left.size(), 500);
    EXPECT_EQ(left.left(12), "xxxxxxxafter");
}

TEST_F(Errors, AFullDiskForWhatTheProgramWroteBeforeIsTold) {
    const QTemporaryDir folder;
    QFile file(folder.filePath("a.bin"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(QByteArray(400, 'x'));
    {
        const SmallDisk disk(300);
        EXPECT_FALSE(QImageWriter(&file, "kjpg").write(Gradient()));
    }
    file.close();
    EXPECT_EQ(BytesOf(file.fileName()), QByteArray(400, 'x'));
    ASSERT_EQ(warnings.size(), 1);
    EXPECT_EQ(warnings[0], "kowen: " + file.fileName() + " cannot be written: File too large");
}

TEST_F(Errors, KeepTheOldFileWhenItIsSavedInOneStep) {
    const QTemporaryDir folder;
    QFile old(folder.filePath("a.jpg"));
    ASSERT_TRUE(old.open(QIODevice::ReadWrite));
    old.write("the old one");
    old.close();
    QSaveFile file(old.fileName());
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    EXPECT_FALSE(QImageWriter(&file, "kjpg").write(QImage(65536, 1, QImage::Format_Grayscale8)));
    EXPECT_FALSE(file.commit());
    ASSERT_TRUE(old.open(QIODevice::ReadOnly));
    EXPECT_EQ(old.readAll(), "the old one");
}

TEST_F(Errors, APictureWithoutPixelsIsQtsToRefuse) {
    QBuffer buffer;
    QImageWriter writer(&buffer, "kjpg");
    EXPECT_FALSE(writer.write(QImage()));
    EXPECT_EQ(writer.error(), QImageWriter::InvalidImageError);
}

// In a process of its own, which has not opened the module yet.
void SaveWithout(const char *module) {
    qputenv("KOWEN_MODULE", module);
    std::exit(ByQt(Gradient()).isEmpty() ? 3 : 0);
}

TEST(MissingModuleDeathTest, IsNamed) {
    EXPECT_EXIT(SaveWithout("/nowhere/kowen.so"), testing::ExitedWithCode(3),
                "kowen: .*/nowhere/kowen.so");
    EXPECT_EXIT(SaveWithout("/bin/true"), testing::ExitedWithCode(3), "kowen: .*/bin/true");
}

} // namespace
