// Device requests, byte for byte as a host sends them.
#pragma once

#include "kowen/records.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace kowen::test {

/// Opcodes of the requests that the tests send.
enum Opcode : uint32_t {
    kOpenDevice = 1,
    kCloseDevice = 2,
    kBeginPicture = 3,
    kBeginBody = 4,
    kEndPicture = 5,
    kSetWindow = 518,
    kSetBackground = 519,
    kSetViewport = 520,
    kSetViewportMode = 521,
    kQueryViewport = 765,
    kQueryWindow = 767,
    kDrawCells = 1033,
    kPrimitive = 1034,
    kSetColors = 1314,
    kPopErrors = 3842,
    kEmptyErrors = 3843,
};

/// A request with exactly the bytes that were put into it, at an odd address.
class Request {
public:
    explicit Request(uint32_t opcode, uint32_t arguments = 0) : bytes(1) {
        Put(0, opcode).Put(4, arguments).Put(8, uint64_t{0});
    }

    Request &PutBytes(size_t offset, const void *data, size_t count) {
        if (bytes.size() < 1 + offset + count)
            bytes.resize(1 + offset + count);
        if (count != 0)
            std::memcpy(bytes.data() + 1 + offset, data, count);
        return *this;
    }
    template <typename T> Request &Put(size_t offset, T value) {
        return PutBytes(offset, &value, sizeof value);
    }
    Request &PutDoubles(size_t offset, const std::vector<double> &values) {
        return PutBytes(offset, values.data(), values.size() * sizeof(double));
    }

    /// A block of just the size, so that a sanitizer sees every byte read beyond it.
    DdRequest *Data() {
        bytes.shrink_to_fit();
        return reinterpret_cast<DdRequest *>(bytes.data() + 1);
    }
    bool IsPrimitive(int32_t primitive) const {
        uint32_t opcode;
        int32_t found;
        if (bytes.size() < 1 + 20)
            return false;
        std::memcpy(&opcode, bytes.data() + 1, sizeof opcode);
        std::memcpy(&found, bytes.data() + 1 + 16, sizeof found);
        return opcode == kPrimitive && found == primitive;
    }
    uint8_t *At(size_t offset) { return bytes.data() + 1 + offset; }

private:
    std::vector<uint8_t> bytes;
};

inline Request WindowRequest(double x1, double y1, double x2, double y2) {
    Request request(kSetWindow);
    request.PutDoubles(16, {x1, y1, 0, x2, y2, 0});
    return request;
}

/// Mode 1: a device unit is so many millimetres.
inline Request MillimetresRequest(double unit) {
    Request request(kSetViewportMode);
    request.Put(16, int16_t{1}).Put(24, unit);
    return request;
}

inline Request ResolutionRequest(int dotsPerInch) {
    return MillimetresRequest(25.4 / dotsPerInch);
}

inline Request ColorsRequest(uint32_t start, const std::vector<uint8_t> &colors) {
    Request request(kSetColors, 2 + static_cast<uint32_t>(colors.size()));
    request.Put(16, start).PutBytes(20, colors.data(), colors.size());
    return request;
}

/// A cell array with its cells in the request. Rows run top-down when pY equals qY.
inline Request CellsRequest(uint32_t columns, uint32_t rows, int32_t precision,
                            const std::vector<uint8_t> &cells, double pY = 0, double qY = 0) {
    Request request(kDrawCells);
    request.PutDoubles(16, {0, pY, 0, 0, qY, 0, 0, 0, 0});
    request.Put(88, columns).Put(92, rows).Put(96, precision).Put(100, uint16_t{0});
    request.PutBytes(102, cells.data(), cells.size());
    return request;
}

/// The same with the cells elsewhere; precision is negative.
inline Request FarCellsRequest(uint32_t columns, uint32_t rows, int32_t precision,
                               const void *cells) {
    Request request = CellsRequest(columns, rows, precision, {});
    request.Put(102, cells);
    return request;
}

inline Request OpenPictureRequest(uint32_t width, uint32_t height, int32_t precision,
                                  uint16_t flags = 0, uint32_t points = 0) {
    Request request(kPrimitive);
    const size_t length = 24 + size_t{points} * 24;
    request.Put(16, int32_t{-5}).Put(20, points).Put(length, uint32_t{28});
    request.Put(length + 4, width).Put(length + 8, height).Put(length + 12, precision);
    request.Put(length + 16, uint16_t{0}).Put(length + 18, flags);
    request.PutBytes(length + 20, "\0\0\0\0\0\0\0\0\0\0\0", 12);
    return request;
}

inline Request PrimitiveRequest(int32_t primitive) {
    Request request(kPrimitive);
    request.Put(16, primitive).Put(20, uint32_t{0}).Put(24, uint32_t{0});
    return request;
}

/// Asks for at most one entry.
inline Request PopErrorsRequest() {
    Request request(kPopErrors);
    request.Put(16, int32_t{1});
    return request;
}

inline Request WritePictureRequest() {
    return PrimitiveRequest(-6);
}

} // namespace kowen::test
