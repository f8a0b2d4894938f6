// The pictures that the export benchmarks save.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A 24-bit picture as a host keeps it: the bottom row first, pixels red, green, blue.
struct Picture {
    uint32_t width;
    uint32_t height;
    std::vector<uint8_t> pixels; ///< height rows of RowBytes()

    /// A row's bytes, a multiple of 4.
    size_t RowBytes() const { return (size_t{width} * 3 + 3) / 4 * 4; }
    double Megapixels() const { return width * double{1} * height / 1e6; }
};

/// Draws a picture that compresses like a photograph: shaded areas with edges between them, a
/// texture whose contrast falls with its size, and a sensor's noise. The same on every machine.
Picture DrawPhotograph(uint32_t width, uint32_t height);

/// Reads a binary PPM of 8 bits. Ends the program with a message when it cannot.
Picture ReadPpm(const std::string &path);

/// Cuts a picture of the given size out of another, whose lower left corner is column, row.
Picture Cut(const Picture &from, uint32_t column, uint32_t row, uint32_t width, uint32_t height);
