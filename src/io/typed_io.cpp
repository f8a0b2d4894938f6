#include "io/typed_io.h"

#include "io/file_record.h"
#include "platform/text.h"

#include <cstring>

namespace kowen {
namespace {

struct DataFormat {
    uint16_t byteOrder;
    uint16_t numberFormat;
};

DataFormat FormatOf(FileHandle file) {
    LockedFile record(file);
    return record ? DataFormat{record->byteOrder, record->numberFormat}
                  : DataFormat{kLittleEndian, kIeeeNumbers};
}

template <typename Bits> Bits Assemble(const unsigned char *bytes, uint16_t byteOrder) {
    Bits bits = 0;
    for (std::size_t i = 0; i < sizeof bits; ++i) {
        const std::size_t significance = byteOrder == kBigEndian ? sizeof bits - 1 - i : i;
        bits = static_cast<Bits>(bits | static_cast<Bits>(bytes[i]) << 8 * significance);
    }
    return bits;
}

template <typename Bits> void Disassemble(unsigned char *bytes, Bits bits, uint16_t byteOrder) {
    for (std::size_t i = 0; i < sizeof bits; ++i) {
        const std::size_t significance = byteOrder == kBigEndian ? sizeof bits - 1 - i : i;
        bytes[i] = static_cast<unsigned char>(bits >> 8 * significance);
    }
}

// Bits is the unsigned integer of the element's size; floats and doubles move as their bits.
template <typename Bits> int32_t ReadValues(FileHandle file, void *buffer, int32_t count) {
    if (count <= 0 || count > INT32_MAX / static_cast<int32_t>(sizeof(Bits)))
        return 0;
    const int32_t size = count * static_cast<int32_t>(sizeof(Bits));
    if (qivRead(file, buffer, size) < size)
        return 0;
    const uint16_t byteOrder = FormatOf(file).byteOrder;
    auto *bytes = static_cast<unsigned char *>(buffer);
    for (int32_t i = 0; i < count; ++i, bytes += sizeof(Bits)) {
        const Bits value = Assemble<Bits>(bytes, byteOrder);
        std::memcpy(bytes, &value, sizeof value);
    }
    return count;
}

template <typename Bits> int32_t WriteValues(FileHandle file, const void *buffer, int32_t count) {
    const uint16_t byteOrder = FormatOf(file).byteOrder;
    const auto *source = static_cast<const unsigned char *>(buffer);
    for (int32_t i = 0; i < count; ++i, source += sizeof(Bits)) {
        Bits value;
        std::memcpy(&value, source, sizeof value);
        unsigned char bytes[sizeof value];
        Disassemble(bytes, value, byteOrder);
        const int32_t written = qivWrite(file, bytes, sizeof bytes);
        if (written < 1)
            return written;
    }
    return count > 0 ? count : 0;
}

constexpr float kFixedOne = 65536.0F;

void FixedToFloat(unsigned char *bytes) {
    int32_t fixed;
    std::memcpy(&fixed, bytes, sizeof fixed);
    const auto value = static_cast<float>(static_cast<double>(fixed) / 65536.0);
    std::memcpy(bytes, &value, sizeof value);
}

struct FixedHalves {
    int16_t fraction;
    int16_t integer;
};
static_assert(sizeof(FixedHalves) == sizeof(float));

// All in single precision.
FixedHalves FloatToFixed(float value) {
    const auto integer = static_cast<int16_t>(TruncateToInt32(value));
    const float fraction = (value - static_cast<float>(integer)) * kFixedOne;
    return {static_cast<int16_t>(TruncateToInt32(fraction)), integer};
}

int32_t WriteFixed(FileHandle file, const void *buffer, int32_t count) {
    const auto *source = static_cast<const unsigned char *>(buffer);
    for (int32_t i = 0; i < count; ++i, source += sizeof(float)) {
        float value;
        std::memcpy(&value, source, sizeof value);
        const FixedHalves halves = FloatToFixed(value);
        const int32_t written = qivWrite(file, &halves, sizeof halves);
        if (written < 1)
            return written;
    }
    return count > 0 ? count : 0;
}

} // namespace

int32_t qivReadChar(FileHandle file, void *buffer, int32_t count) noexcept {
    return qivRead(file, buffer, count);
}

int32_t qivReadShort(FileHandle file, void *buffer, int32_t count) noexcept {
    return ReadValues<uint16_t>(file, buffer, count);
}

int32_t qivReadLong(FileHandle file, void *buffer, int32_t count) noexcept {
    return ReadValues<uint32_t>(file, buffer, count);
}

int32_t qivReadFloat(FileHandle file, void *buffer, int32_t count) noexcept {
    const int32_t got = ReadValues<uint32_t>(file, buffer, count);
    if (FormatOf(file).numberFormat != kFixedPoint)
        return got;
    auto *bytes = static_cast<unsigned char *>(buffer);
    for (int32_t i = 0; i < got; ++i, bytes += sizeof(float))
        FixedToFloat(bytes);
    return got;
}

int32_t qivReadDouble(FileHandle file, void *buffer, int32_t count) noexcept {
    return ReadValues<uint64_t>(file, buffer, count);
}

int32_t qivWriteChar(FileHandle file, const void *buffer, int32_t count) noexcept {
    return qivWrite(file, buffer, count);
}

int32_t qivWriteShort(FileHandle file, const void *buffer, int32_t count) noexcept {
    return WriteValues<uint16_t>(file, buffer, count);
}

int32_t qivWriteLong(FileHandle file, const void *buffer, int32_t count) noexcept {
    return WriteValues<uint32_t>(file, buffer, count);
}

int32_t qivWriteFloat(FileHandle file, const void *buffer, int32_t count) noexcept {
    if (FormatOf(file).numberFormat == kFixedPoint)
        return WriteFixed(file, buffer, count);
    return WriteValues<uint32_t>(file, buffer, count);
}

int32_t qivWriteDouble(FileHandle file, const void *buffer, int32_t count) noexcept {
    return WriteValues<uint64_t>(file, buffer, count);
}

int32_t qivSetDataFormat(FileHandle file, uint16_t byteOrder, uint16_t numberFormat) noexcept {
    LockedFile record(file);
    if (record) {
        record->byteOrder = byteOrder;
        record->numberFormat = numberFormat;
    }
    return 0;
}

int32_t qivGetDataFormat(FileHandle file, uint16_t *byteOrder, uint16_t *numberFormat) noexcept {
    LockedFile record(file);
    if (record) {
        *byteOrder = record->byteOrder;
        *numberFormat = record->numberFormat;
    }
    return 0;
}

void qivNativeToLE(void *destination, uint32_t value, int32_t count) noexcept {
    auto *bytes = static_cast<unsigned char *>(destination);
    for (int32_t i = 0; i < count; ++i, value >>= 8)
        bytes[i] = static_cast<unsigned char>(value);
}

void qivNativeToBE(void *destination, uint32_t value, int32_t count) noexcept {
    auto *bytes = static_cast<unsigned char *>(destination);
    for (int32_t i = count - 1; i >= 0; --i, value >>= 8)
        bytes[i] = static_cast<unsigned char>(value);
}

} // namespace kowen
