#include "io/typed_io.h"

#include "io/files.h"
#include "io/struct_io.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

namespace kowen {
namespace {

using namespace std::string_literals;

class TypedIo : public testing::Test {
protected:
    ~TypedIo() override {
        if (file)
            qivClose(file);
    }
    void OpenOver(const std::string &bytes, uint16_t byteOrder = 0, uint16_t numberFormat = 0) {
        file = Open(directory.Write("a", bytes), 0);
        qivSetDataFormat(file, byteOrder, numberFormat);
    }
    void Create(uint16_t byteOrder = 0, uint16_t numberFormat = 0) {
        file = Open(directory.File("a"), kCreateMode);
        qivSetDataFormat(file, byteOrder, numberFormat);
    }
    std::string Written() {
        qivClose(file);
        file = 0;
        return directory.Read("a");
    }

    TempDirectory directory;
    FileHandle file = 0;
};

using QivReadChar = TypedIo;
using QivReadShort = TypedIo;
using QivReadLong = TypedIo;
using QivReadFloat = TypedIo;
using QivReadDouble = TypedIo;
using QivWriteShort = TypedIo;
using QivWriteLong = TypedIo;
using QivWriteFloat = TypedIo;
using QivWriteDouble = TypedIo;
using QivSetDataFormat = TypedIo;

TEST_F(QivReadChar, IsQivRead) {
    OpenOver("abc");
    char bytes[5] = {};
    EXPECT_EQ(qivReadChar(file, bytes, 2), 2);
    EXPECT_EQ(qivReadChar(file, bytes + 2, 2), 1) << "a short read is no failure for chars";
    EXPECT_EQ(qivReadChar(file, bytes, 2), 0);
    EXPECT_STREQ(bytes, "abc");
}

TEST_F(QivReadShort, FollowsTheByteOrder) {
    OpenOver("\x12\x34\x12\x34\xFF\xFE", 1);
    int16_t value = 0;
    EXPECT_EQ(qivReadShort(file, &value, 1), 1);
    EXPECT_EQ(value, 0x1234);
    qivSetDataFormat(file, 0, 0);
    EXPECT_EQ(qivReadShort(file, &value, 1), 1);
    EXPECT_EQ(value, 0x3412);
    qivSetDataFormat(file, 1, 0);
    EXPECT_EQ(qivReadShort(file, &value, 1), 1);
    EXPECT_EQ(value, -2);
}

TEST_F(QivReadShort, LeavesWhatLiesBehindTheValues) {
    OpenOver("\x12\x34\x56\x78", 1);
    int16_t values[2] = {0, 0x0102};
    EXPECT_EQ(qivReadShort(file, values, 1), 1);
    EXPECT_EQ(values[0], 0x1234);
    EXPECT_EQ(values[1], 0x0102);
}

TEST_F(QivReadShort, AnyByteOrderButOneIsLittleEndian) {
    for (const uint16_t byteOrder : {0, 2, 0x100, 0xFFFF}) {
        OpenOver("\x12\x34", byteOrder);
        int16_t value = 0;
        EXPECT_EQ(qivReadShort(file, &value, 1), 1);
        EXPECT_EQ(value, 0x3412) << byteOrder;
        qivClose(file);
        file = 0;
    }
}

TEST_F(QivReadShort, FewerBytesGiveZeroAndStayUnconverted) {
    OpenOver("\x01\x02\x03\x04\x05", 1);
    unsigned char bytes[6] = {9, 9, 9, 9, 9, 9};
    EXPECT_EQ(qivReadShort(file, bytes, 3), 0);
    const unsigned char expected[6] = {1, 2, 3, 4, 5, 9};
    EXPECT_EQ(std::memcmp(bytes, expected, 6), 0);
}

TEST_F(QivReadShort, NeedsNoAlignment) {
    OpenOver("\x12\x34\x56\x78", 1);
    unsigned char bytes[5] = {};
    EXPECT_EQ(qivReadShort(file, bytes + 1, 2), 2);
    const uint16_t expected[2] = {0x1234, 0x5678};
    EXPECT_EQ(std::memcmp(bytes + 1, expected, 4), 0);
}

TEST_F(QivReadLong, FollowsTheByteOrder) {
    OpenOver("\x01\x02\x03\x04\x81\x02\x03\x04"s, 1);
    int32_t values[2] = {};
    EXPECT_EQ(qivReadLong(file, values, 2), 2);
    EXPECT_EQ(values[0], 0x01020304);
    EXPECT_EQ(values[1], -0x7EFDFCFC);
    qivSeek(file, 0, kFromStart);
    qivSetDataFormat(file, 0, 0);
    EXPECT_EQ(qivReadLong(file, values, 2), 2);
    EXPECT_EQ(values[0], 0x04030201);
    EXPECT_EQ(values[1], 0x04030281);
}

TEST_F(QivReadLong, CountsThatCannotBeReadGiveZero) {
    OpenOver("\x01\x02\x03\x04");
    int32_t value = 5;
    EXPECT_EQ(qivReadLong(file, &value, 0), 0);
    EXPECT_EQ(qivReadLong(file, &value, -1), 0);
    EXPECT_EQ(qivReadLong(file, &value, INT32_MIN), 0);
    EXPECT_EQ(qivReadLong(file, &value, 0x40000001), 0) << "four times that wraps to 4 bytes";
    EXPECT_EQ(qivReadShort(file, &value, 0x40000001), 0) << "twice that wraps below 0";
    EXPECT_EQ(qivReadDouble(file, &value, 0x20000000), 0) << "eight times that wraps to 0";
    EXPECT_EQ(value, 5);
    EXPECT_EQ(qivReadLong(file, &value, 1), 1);
}

TEST_F(QivReadLong, AFailedReadGivesZero) {
    OpenOver("\x01\x02\x03\x04");
    FailingDisk disk;
    disk.Fail(FailingDisk::kRead, 1);
    int32_t value;
    EXPECT_EQ(qivReadLong(file, &value, 1), 0);
}

TEST_F(QivReadFloat, ReadsIeeeInBothOrders) {
    OpenOver("\x3F\xC0\x00\x00\x00\x00\xC0\x3F"s, 1); // 1.5 is 0x3FC00000
    float value = 0;
    EXPECT_EQ(qivReadFloat(file, &value, 1), 1);
    EXPECT_EQ(value, 1.5F);
    qivSetDataFormat(file, 0, 0);
    EXPECT_EQ(qivReadFloat(file, &value, 1), 1);
    EXPECT_EQ(value, 1.5F);
}

TEST_F(QivReadFloat, ReadsFixedPointInBothOrders) {
    OpenOver("\x00\x80\x01\x00\x00\x01\x80\x00\xFF\xFE\x80\x00"s, 0, 1);
    float values[2] = {};
    EXPECT_EQ(qivReadFloat(file, values, 1), 1);
    EXPECT_EQ(values[0], 1.5F);
    qivSetDataFormat(file, 1, 1);
    EXPECT_EQ(qivReadFloat(file, values, 2), 2);
    EXPECT_EQ(values[0], 1.5F);
    EXPECT_EQ(values[1], -1.5F) << "0xFFFE8000 is -98304";
}

TEST_F(QivReadFloat, OnlyOneMeansFixedPoint) {
    OpenOver("\x00\x00\xC0\x3F"s, 0, 2);
    float value = 0;
    EXPECT_EQ(qivReadFloat(file, &value, 1), 1);
    EXPECT_EQ(value, 1.5F);
}

TEST_F(QivReadFloat, FewerBytesStayUnconverted) {
    OpenOver("\x00\x80\x01"s, 0, 1);
    unsigned char bytes[4] = {9, 9, 9, 9};
    EXPECT_EQ(qivReadFloat(file, bytes, 1), 0);
    const unsigned char expected[4] = {0, 0x80, 1, 9};
    EXPECT_EQ(std::memcmp(bytes, expected, 4), 0);
}

TEST_F(QivReadDouble, ReadsIeeeInBothOrders) {
    OpenOver("\xBF\xF8\0\0\0\0\0\x01\x01\0\0\0\0\0\xF8\xBF"s, 1, 1);
    double value = 0;
    const double expected = -1.5 - std::numeric_limits<double>::epsilon();
    EXPECT_EQ(qivReadDouble(file, &value, 1), 1);
    EXPECT_EQ(value, expected) << "the number format is for floats only";
    qivSetDataFormat(file, 0, 0);
    EXPECT_EQ(qivReadDouble(file, &value, 1), 1);
    EXPECT_EQ(value, expected);
    EXPECT_EQ(qivReadDouble(file, &value, 1), 0);
}

TEST_F(QivWriteShort, FollowsTheByteOrder) {
    Create(1);
    const int16_t values[2] = {0x1234, -2};
    EXPECT_EQ(qivWriteShort(file, values, 2), 2);
    qivSetDataFormat(file, 0, 0);
    EXPECT_EQ(qivWriteShort(file, values, 2), 2);
    EXPECT_EQ(Written(), "\x12\x34\xFF\xFE\x34\x12\xFE\xFF");
}

TEST_F(QivWriteShort, NeedsNoAlignment) {
    Create(1);
    unsigned char bytes[3];
    const uint16_t value = 0x1234;
    std::memcpy(bytes + 1, &value, 2);
    EXPECT_EQ(qivWriteShort(file, bytes + 1, 1), 1);
    EXPECT_EQ(Written(), "\x12\x34");
}

TEST_F(QivWriteLong, FollowsTheByteOrder) {
    Create(1);
    const int32_t values[2] = {0x01020304, -2};
    EXPECT_EQ(qivWriteLong(file, values, 2), 2);
    qivSetDataFormat(file, 0, 0);
    EXPECT_EQ(qivWriteLong(file, values, 2), 2);
    EXPECT_EQ(Written(), "\x01\x02\x03\x04\xFF\xFF\xFF\xFE\x04\x03\x02\x01\xFE\xFF\xFF\xFF");
}

TEST_F(QivWriteLong, CountsBelowOneWriteNothing) {
    Create();
    const int32_t value = 1;
    EXPECT_EQ(qivWriteLong(file, &value, 0), 0);
    EXPECT_EQ(qivWriteLong(file, &value, -1), 0);
    qivSetDataFormat(file, 0, 1);
    EXPECT_EQ(qivWriteFloat(file, &value, 0), 0);
    EXPECT_EQ(qivWriteFloat(file, &value, -1), 0);
    EXPECT_EQ(Written(), "");
}

TEST_F(QivWriteLong, AFailedWriteIsTheResult) {
    Create();
    WriteText(file, std::string(12280, 'x'));
    const int32_t values[4] = {1, 2, 3, 4};
    FailingDisk disk;
    disk.Fail(FailingDisk::kWrite, 1);
    EXPECT_EQ(qivWriteLong(file, values, 4), -1) << "the second fills the buffer";
    EXPECT_EQ(Record(file).bufPos, 12288) << "and the third is not tried";
    EXPECT_EQ(qivWriteLong(file, values, 4), 0);
    EXPECT_EQ(qivWriteShort(file, values, 4), 0);
    EXPECT_EQ(qivWriteFloat(file, values, 4), 0);
    EXPECT_EQ(qivWriteDouble(file, values, 2), 0);
    qivSetDataFormat(file, 0, 1);
    EXPECT_EQ(qivWriteFloat(file, values, 4), 0);
}

TEST_F(QivWriteFloat, WritesIeeeInBothOrders) {
    Create(1);
    const float value = 1.5F;
    EXPECT_EQ(qivWriteFloat(file, &value, 1), 1);
    qivSetDataFormat(file, 0, 0);
    EXPECT_EQ(qivWriteFloat(file, &value, 1), 1);
    EXPECT_EQ(Written(), "\x3F\xC0\x00\x00\x00\x00\xC0\x3F"s);
}

// The two halves as they stand in the file, in the host's order.
std::vector<int16_t> Halves(const std::string &bytes) {
    std::vector<int16_t> halves(bytes.size() / 2);
    std::memcpy(halves.data(), bytes.data(), bytes.size());
    return halves;
}

TEST_F(QivWriteFloat, FixedPointWritesTheFractionFirstWhateverTheByteOrder) {
    for (const uint16_t byteOrder : {0, 1}) {
        Create(byteOrder, 1);
        const float values[2] = {1.5F, 100.25F};
        EXPECT_EQ(qivWriteFloat(file, values, 2), 2);
        const std::string bytes = Written();
        EXPECT_EQ(Halves(bytes), (std::vector<int16_t>{-32768, 1, 16384, 100}));
        if (std::endian::native == std::endian::little) {
            EXPECT_EQ(bytes, "\x00\x80\x01\x00\x00\x40\x64\x00"s);
        }
    }
}

TEST_F(QivWriteFloat, FixedPointHalvesOfANegativeNumberAreBothTruncated) {
    Create(0, 1);
    const float value = -1.5F;
    EXPECT_EQ(qivWriteFloat(file, &value, 1), 1);
    EXPECT_EQ(Halves(Written()), (std::vector<int16_t>{-32768, -1}));
    if (std::endian::native == std::endian::little) {
        file = Open(directory.File("a"), 0);
        qivSetDataFormat(file, 0, 1);
        float back = 0;
        EXPECT_EQ(qivReadFloat(file, &back, 1), 1);
        EXPECT_EQ(back, -0.5F);
    }
}

TEST_F(QivWriteFloat, FixedPointTruncatesTheFractionTowardZero) {
    Create(0, 1);
    // 65536ths: 0.75 and -0.75 of one, 1.75 of one.
    const float values[3] = {0.75F / 65536, -0.75F / 65536, 1.75F / 65536};
    EXPECT_EQ(qivWriteFloat(file, values, 3), 3);
    EXPECT_EQ(Halves(Written()), (std::vector<int16_t>{0, 0, 0, 0, 1, 0}));
}

TEST_F(QivWriteFloat, FixedPointNarrowsWhatDoesNotFit) {
    Create(0, 1);
    // 65537.25: the integer 65537 narrows to 1; (65537.25 - 1) * 65536 is 0x100004000, which
    // saturates at 0x7FFFFFFF and narrows to -1.
    const float values[3] = {65537.25F, std::numeric_limits<float>::infinity(),
                             std::numeric_limits<float>::quiet_NaN()};
    EXPECT_EQ(qivWriteFloat(file, values, 3), 3);
    EXPECT_EQ(Halves(Written()), (std::vector<int16_t>{-1, 1, -1, -1, 0, 0}));
}

TEST_F(QivWriteDouble, WritesIeeeInBothOrders) {
    Create(1, 1);
    const double value = -1.5;
    EXPECT_EQ(qivWriteDouble(file, &value, 1), 1);
    qivSetDataFormat(file, 0, 1);
    EXPECT_EQ(qivWriteDouble(file, &value, 1), 1);
    EXPECT_EQ(Written(), "\xBF\xF8\0\0\0\0\0\0\0\0\0\0\0\0\xF8\xBF"s);
}

TEST_F(QivSetDataFormat, StoresBothSettings) {
    Create();
    uint16_t byteOrder = 9;
    uint16_t numberFormat = 9;
    EXPECT_EQ(qivGetDataFormat(file, &byteOrder, &numberFormat), 0);
    EXPECT_EQ(byteOrder, 0);
    EXPECT_EQ(numberFormat, 0);
    EXPECT_EQ(qivSetDataFormat(file, 1, 0xFFFF), 0);
    EXPECT_EQ(qivGetDataFormat(file, &byteOrder, &numberFormat), 0);
    EXPECT_EQ(byteOrder, 1);
    EXPECT_EQ(numberFormat, 0xFFFF);
}

TEST(HandleZeroTyped, EveryOperationDoesNothing) {
    double value = 5;
    EXPECT_EQ(qivReadChar(0, &value, 8), 0);
    EXPECT_EQ(qivReadShort(0, &value, 4), 0);
    EXPECT_EQ(qivReadLong(0, &value, 2), 0);
    EXPECT_EQ(qivReadFloat(0, &value, 2), 0);
    EXPECT_EQ(qivReadDouble(0, &value, 1), 0);
    EXPECT_EQ(value, 5);
    EXPECT_EQ(qivWriteChar(0, &value, 8), 0);
    EXPECT_EQ(qivWriteShort(0, &value, 4), 0);
    EXPECT_EQ(qivWriteLong(0, &value, 2), 0);
    EXPECT_EQ(qivWriteFloat(0, &value, 2), 0);
    EXPECT_EQ(qivWriteDouble(0, &value, 1), 0);
    EXPECT_EQ(qivSetDataFormat(0, 1, 1), 0);
    uint16_t byteOrder = 7;
    uint16_t numberFormat = 8;
    EXPECT_EQ(qivGetDataFormat(0, &byteOrder, &numberFormat), 0);
    EXPECT_EQ(byteOrder, 7);
    EXPECT_EQ(numberFormat, 8);
    EXPECT_EQ(qivSetLineFormat(0, 1), 0);
    EXPECT_EQ(qivGetLineFormat(0), -1);
    char text[4] = "abc";
    EXPECT_EQ(qivReadLine(0, text, 4), -1);
    EXPECT_STREQ(text, "");
    EXPECT_EQ(qivWriteLine(0, "abc", 3), 0);
    EXPECT_EQ(qivReadStruct(0, "C", text, 1), 0);
    EXPECT_EQ(qivWriteStruct(0, "C", text, 1), 0);
}

// A host that takes or gives fewer bytes than asked.
intptr_t MeagreHost(uintptr_t, int32_t operation, void *, int32_t) {
    return operation == KOWEN_IO_CLOSE ? 0 : 1;
}

TEST(HostFileTyped, AWriteOfOneByteCountsAsWrittenAndAReadOfOneIsTooShort) {
    QivIODesc descriptor = {};
    descriptor.procedure = MeagreHost;
    const auto file = static_cast<FileHandle>(qivOpen("a", &descriptor, kCreateMode));
    int32_t values[2] = {1, 2};
    EXPECT_EQ(qivWriteLong(file, values, 2), 2);
    EXPECT_EQ(qivReadLong(file, values, 2), 0);
    qivClose(file);
}

TEST(QivNativeToLE, StoresTheLowBytesFirst) {
    unsigned char bytes[6] = {9, 9, 9, 9, 9, 9};
    qivNativeToLE(bytes, 0x01020304, 2);
    EXPECT_EQ(bytes[0], 4);
    EXPECT_EQ(bytes[1], 3);
    EXPECT_EQ(bytes[2], 9);
    qivNativeToLE(bytes, 0x01020304, 4);
    EXPECT_EQ(bytes[2], 2);
    EXPECT_EQ(bytes[3], 1);
    qivNativeToLE(bytes, 0xFFFFFFFF, 5);
    EXPECT_EQ(bytes[4], 0);
    qivNativeToLE(bytes, 0, 0);
    qivNativeToLE(bytes, 0, -1);
    EXPECT_EQ(bytes[0], 0xFF);
}

TEST(QivNativeToBE, StoresTheLowBytesLast) {
    unsigned char bytes[6] = {9, 9, 9, 9, 9, 9};
    qivNativeToBE(bytes, 0x01020304, 2);
    EXPECT_EQ(bytes[0], 3);
    EXPECT_EQ(bytes[1], 4);
    EXPECT_EQ(bytes[2], 9);
    qivNativeToBE(bytes, 0x01020304, 4);
    EXPECT_EQ(bytes[0], 1);
    EXPECT_EQ(bytes[3], 4);
    qivNativeToBE(bytes, 0xFFFFFFFF, 5);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], 0xFF);
    qivNativeToBE(bytes, 0, 0);
    qivNativeToBE(bytes, 0, -1);
    EXPECT_EQ(bytes[1], 0xFF);
}

} // namespace
} // namespace kowen
