// The pictures that the export benchmarks save.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// A picture as a host keeps it: the bottom row first, pixels red, green, blue or indices.
struct Picture {
    uint32_t width;
    uint32_t height;
    std::vector<uint8_t> pixels;       ///< height rows of RowBytes()
    uint16_t depth = 24;               ///< bits per pixel
    std::vector<uint8_t> palette = {}; ///< 2^depth entries of 3 bytes; empty with 24 bits

    /// A row's bytes, a multiple of 4.
    size_t RowBytes() const { return (size_t{width} * depth + 31) / 32 * 4; }
    double Megapixels() const { return width * double{1} * height / 1e6; }
};

/// Draws a picture that compresses like a photograph: shaded areas with edges between them, a
/// texture whose contrast falls with its size, and a sensor's noise. The same on every machine.
Picture DrawPhotograph(uint32_t width, uint32_t height);

/// Reads a binary PPM of 8 bits. Ends the program with a message when it cannot.
Picture ReadPpm(const std::string &path);

/// Makes a palette picture of depth 1, 4 or 8 out of a 24-bit one: its greens, in a ramp of greys.
Picture Indexed(const Picture &from, uint16_t depth);

/// Cuts a 24-bit picture of the given size out of another, whose lower left corner is column, row.
Picture Cut(const Picture &from, uint32_t column, uint32_t row, uint32_t width, uint32_t height);
