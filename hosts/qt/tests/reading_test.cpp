// The plug-in writes. What Qt reads, and how, is as it was without it.
#include "saving.h"

#include <QBuffer>
#include <QFile>
#include <QImageReader>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace saving;

namespace {

TEST(Reading, HasTheFormatsThatItHadBefore) {
    ASSERT_TRUE(withoutPlugin.reading.contains("jpg"));
    EXPECT_EQ(AbilitiesNow().reading, withoutPlugin.reading);
    EXPECT_EQ(AbilitiesNow().readingTypes, withoutPlugin.readingTypes);
}

TEST(Writing, HasOneFormatMore) {
    QList<QByteArray> added = AbilitiesNow().writing;
    for (const QByteArray &format : withoutPlugin.writing)
        EXPECT_TRUE(added.removeOne(format)) << format.constData();
    EXPECT_EQ(added, QList<QByteArray>{"kjpg"});
}

TEST(Reading, OfJpegsIsQtsOwn) {
    const QTemporaryDir folder;
    for (const QString name : {"a.jpg", "a.jpeg", "a.kjpg", "a"}) {
        const QString path = folder.filePath(name);
        ASSERT_TRUE(Gradient().save(path, "jpg", 90));
        QImageReader reader(path);
        EXPECT_EQ(reader.format(), "jpeg") << qPrintable(name);
        EXPECT_EQ(reader.read(), Decoded(withoutPlugin.jpeg)) << qPrintable(name);
    }
}

TEST(Reading, OfTheFormatByNameFindsOutWhatItIs) {
    QByteArray jpeg = ByQt(Gradient());
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::ReadOnly);
    EXPECT_EQ(QImageReader(&buffer, "kjpg").read(), Decoded(jpeg));
}

TEST(Reading, OfTheFormatByNameAloneIsRefused) {
    QByteArray jpeg = ByQt(Gradient());
    QBuffer buffer(&jpeg);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, "kjpg");
    reader.setAutoDetectImageFormat(false);
    EXPECT_FALSE(reader.canRead());
}

TEST(Writing, OfJpegsIsQtsOwn) {
    EXPECT_GT(withoutPlugin.jpeg.size(), 500);
    EXPECT_EQ(AbilitiesNow().jpeg, withoutPlugin.jpeg);
    EXPECT_NE(ByQt(Gradient(), {90}), withoutPlugin.jpeg);
}

} // namespace
