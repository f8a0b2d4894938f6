// What a program can ask for, and where it can write.
#include "saving.h"

#include <QBuffer>
#include <QColorSpace>
#include <QFile>
#include <QImageWriter>
#include <QSaveFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

#include <cstdio>

#include <unistd.h>

using namespace saving;

namespace {

QByteArray ReadAll(const QString &path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("not there");
}

TEST(Quality, IsThatOfTheCommandLine) {
    for (const int quality : {45, 75, 100})
        EXPECT_EQ(ByQt(Gradient(), {quality}),
                  ByTheProgram(Gradient(), {"--quality", QString::number(quality)}));
}

TEST(Quality, ThatNobodySetIsTheBest) {
    EXPECT_EQ(ByQt(Gradient()), ByQt(Gradient(), {100}));
    EXPECT_NE(ByQt(Gradient()), ByQt(Gradient(), {99}));
}

TEST(Quality, BeyondTheEndsIsTheNearestThatThereIs) {
    EXPECT_EQ(ByQt(Gradient(), {0}), ByQt(Gradient(), {45}));
    EXPECT_EQ(ByQt(Gradient(), {44}), ByQt(Gradient(), {45}));
    EXPECT_NE(ByQt(Gradient(), {44}), ByQt(Gradient(), {46}));
    EXPECT_EQ(ByQt(Gradient(), {101}), ByQt(Gradient(), {100}));
}

TEST(Progressive, IsThatOfTheCommandLine) {
    const QByteArray jpeg = ByQt(Gradient(), {60, true});
    EXPECT_EQ(jpeg, ByTheProgram(Gradient(), {"--quality", "60", "--progressive"}));
    EXPECT_EQ(jpeg.count("\xFF\xC2"), 1); // the frame header of a progressive picture
}

TEST(Resolution, IsThatOfTheImage) {
    QImage image = Gradient();
    image.setDotsPerMeterX(11811); // 299.9994 dpi
    image.setDotsPerMeterY(2835);  // 72.009
    // Dots per inch, 300 across, 72 down.
    EXPECT_EQ(ByQt(image).mid(13, 5), QByteArray("\x01\x01\x2C\x00\x48", 5));
}

TEST(Description, IsTheComment) {
    QBuffer buffer;
    QImageWriter writer(&buffer, "kjpg");
    writer.setText("Title", QString::fromUtf8("M\u00F6we"));
    ASSERT_TRUE(writer.write(Gradient()));
    // 2 bytes of length and 12 of text.
    EXPECT_EQ(buffer.data().count(QByteArray("\xFF\xFE\x00\x0ETitle: M\xC3\xB6we", 16)), 1);
}

TEST(Description, OfTheImageItselfIsLeftOut) {
    QImage image = Gradient();
    image.setText("Comment", "private");
    EXPECT_EQ(ByQt(image), ByQt(Gradient()));
}

TEST(ColourSpace, GoesAlong) {
    QImage image = Gradient();
    image.setColorSpace(QColorSpace::AdobeRgb);
    const QByteArray jpeg = ByQt(image);
    EXPECT_EQ(Decoded(jpeg).colorSpace(), QColorSpace(QColorSpace::AdobeRgb));
    EXPECT_EQ(jpeg, ByTheProgram(image));
}

TEST(Transformation, IsQts) {
    QBuffer buffer;
    QImageWriter writer(&buffer, "kjpg");
    writer.setTransformation(QImageIOHandler::TransformationRotate90);
    ASSERT_TRUE(writer.write(Gradient()));
    EXPECT_LE(Furthest(Decoded(buffer.data()), Gradient().transformed(QTransform().rotate(90))), 8);
}

TEST(Files, AreKnownByTheirNames) {
    const QTemporaryDir folder;
    for (const QString name : {"a.kjpg", "B.KJPG"}) {
        const QString path = folder.filePath(name);
        ASSERT_TRUE(Gradient().save(path));
        EXPECT_EQ(ReadAll(path), ByQt(Gradient()));
    }
}

TEST(Files, OfAnyNameCanHaveTheFormat) {
    const QTemporaryDir folder;
    const QString path = folder.filePath("a.jpg");
    ASSERT_TRUE(Gradient().save(path, "kjpg", 80));
    EXPECT_EQ(ReadAll(path), ByQt(Gradient(), {80}));
}

TEST(Files, ThatAreSavedInOneStepAreWhole) {
    const QTemporaryDir folder;
    QSaveFile file(folder.filePath("a.jpg"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(QImageWriter(&file, "kjpg").write(Gradient()));
    ASSERT_TRUE(file.commit());
    EXPECT_EQ(ReadAll(file.fileName()), ByQt(Gradient()));
}

TEST(Devices, AreWrittenFromWhereTheyStand) {
    QBuffer buffer;
    buffer.setData("before-and-after");
    buffer.open(QIODevice::ReadWrite);
    buffer.seek(7);
    ASSERT_TRUE(QImageWriter(&buffer, "kjpg").write(Gradient()));
    EXPECT_EQ(buffer.data(), "before-" + ByQt(Gradient()));
}

class OpenFiles : public testing::Test {
protected:
    OpenFiles() {
        file.setFileName(path);
        file.open(QIODevice::WriteOnly);
        file.write("before-and-after");
        file.close();
    }

    // Saves the picture, writes a word behind it, and closes the file.
    void Save() {
        EXPECT_TRUE(QImageWriter(&file, "kjpg").write(Gradient()));
        EXPECT_EQ(file.write("!"), 1);
        file.close();
    }

    const QByteArray picture = ByQt(Gradient());
    const QTemporaryDir folder;
    const QString path = folder.filePath("a.bin");
    QFile file;
};

TEST_F(OpenFiles, AreWrittenFromWhereTheyStand) {
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    ASSERT_EQ(file.read(7), "before-"); // Qt has read the rest as well
    Save();
    EXPECT_EQ(ReadAll(path), "before-" + picture + "!");
}

TEST_F(OpenFiles, ThatAreAppendedToGetItAtTheirEnd) {
    ASSERT_TRUE(file.open(QIODevice::Append));
    file.write("-");
    Save();
    EXPECT_EQ(ReadAll(path), "before-and-after-" + picture + "!");
}

TEST_F(OpenFiles, OfTheLanguageCKeepTheOrder) {
    std::FILE *stream = std::fopen(path.toLocal8Bit().constData(), "w");
    ASSERT_NE(stream, nullptr);
    std::fputs("before", stream);
    ASSERT_TRUE(file.open(stream, QIODevice::WriteOnly));
    file.write("-");
    Save();
    std::fclose(stream);
    EXPECT_EQ(ReadAll(path), "before-" + picture + "!");
}

TEST_F(OpenFiles, ThatArePipesTakeIt) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    ASSERT_TRUE(file.open(ends[1], QIODevice::WriteOnly, QFileDevice::AutoCloseHandle));
    file.write("before-");
    Save();
    QFile other;
    ASSERT_TRUE(other.open(ends[0], QIODevice::ReadOnly, QFileDevice::AutoCloseHandle));
    EXPECT_EQ(other.readAll(), "before-" + picture + "!");
}

TEST(Devices, OfAProgramsOwnClassGetEveryByte) {
    class Turned final : public QFile {
        qint64 writeData(const char *bytes, qint64 count) override {
            QByteArray turned(bytes, static_cast<int>(count));
            for (char &byte : turned)
                byte = static_cast<char>(~byte);
            return QFile::writeData(turned.constData(), count);
        }
    };
    const QTemporaryDir folder;
    Turned file;
    file.setFileName(folder.filePath("a.bin"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    ASSERT_TRUE(QImageWriter(&file, "kjpg").write(Gradient()));
    file.close();
    QByteArray bytes = ReadAll(file.fileName());
    for (char &byte : bytes)
        byte = static_cast<char>(~byte);
    EXPECT_EQ(bytes, ByQt(Gradient()));
}

} // namespace
