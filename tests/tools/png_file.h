// Writes PNG files with stored (uncompressed) data: enough for pictures that a test makes up.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kowen::test {

enum PngColours { kPngGrey = 0, kPngRgb = 2, kPngPalette = 3, kPngGreyAlpha = 4, kPngRgba = 6 };

/// What goes into a file. Rows are packed as PNG packs them, top row first.
struct PngPicture {
    int width = 0;
    int height = 0;
    int bits = 8;
    PngColours colours = kPngRgb;
    std::vector<std::string> rows;
    std::string palette;             ///< red, green, blue
    uint32_t pixelsPerMetre = 0;     ///< across; 0 = not said
    uint32_t pixelsPerMetreDown = 0; ///< 0 = as across
    std::string transparency;        ///< data of tRNS
    std::string exif;                ///< data of eXIf
    std::string text;                ///< data of tEXt
    bool interlaced = false;         ///< `rows` are those of Adam7's passes then, in order
};

namespace png_detail {

inline std::string Long(uint32_t value) {
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(value >> shift & 0xFF);
    return text;
}

inline uint32_t Crc(const std::string &bytes) {
    uint32_t crc = 0xFFFFFFFF;
    for (const char byte : bytes) {
        crc ^= static_cast<uint8_t>(byte);
        for (int i = 0; i < 8; ++i)
            crc = crc >> 1 ^ (crc & 1 ? 0xEDB88320U : 0);
    }
    return ~crc;
}

inline std::string Chunk(const std::string &name, const std::string &data) {
    return Long(static_cast<uint32_t>(data.size())) + name + data + Long(Crc(name + data));
}

inline std::string Stored(const std::string &data) {
    std::string text = "\x78\x01";
    uint32_t a = 1, b = 0;
    for (size_t at = 0; at < data.size() || at == 0; at += 65535) {
        const std::string piece = data.substr(at, 65535);
        const auto size = static_cast<uint16_t>(piece.size());
        text += static_cast<char>(at + 65535 >= data.size());
        for (const unsigned value : {unsigned{size}, unsigned(uint16_t(~size))}) {
            text += static_cast<char>(value & 0xFF);
            text += static_cast<char>(value >> 8);
        }
        text += piece;
        for (const char byte : piece) {
            a = (a + static_cast<uint8_t>(byte)) % 65521;
            b = (b + a) % 65521;
        }
    }
    return text + Long(b << 16 | a);
}

} // namespace png_detail

inline std::string Png(const PngPicture &picture) {
    using namespace png_detail;
    std::string header =
        Long(static_cast<uint32_t>(picture.width)) + Long(static_cast<uint32_t>(picture.height));
    header += static_cast<char>(picture.bits);
    header += static_cast<char>(picture.colours);
    header += std::string(2, '\0');
    header += static_cast<char>(picture.interlaced);
    std::string file = std::string("\x89PNG\r\n\x1a\n", 8) + Chunk("IHDR", header);
    if (picture.pixelsPerMetre != 0) {
        const uint32_t down =
            picture.pixelsPerMetreDown != 0 ? picture.pixelsPerMetreDown : picture.pixelsPerMetre;
        file += Chunk("pHYs", Long(picture.pixelsPerMetre) + Long(down) + '\x01');
    }
    if (!picture.palette.empty())
        file += Chunk("PLTE", picture.palette);
    if (!picture.transparency.empty())
        file += Chunk("tRNS", picture.transparency);
    if (!picture.exif.empty())
        file += Chunk("eXIf", picture.exif);
    if (!picture.text.empty())
        file += Chunk("tEXt", picture.text);
    std::string data;
    for (const std::string &row : picture.rows)
        data += '\0' + row;
    return file + Chunk("IDAT", Stored(data)) + Chunk("IEND", "");
}

} // namespace kowen::test
