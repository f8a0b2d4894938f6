// Picture files made of an input: Netpbm pictures with what they show, PNG files of whole chunks,
// JPEG files of a size that is quick to read.
#pragma once

#include "fuzz/input.h"

#include <algorithm>
#include <string>
#include <zlib.h>

namespace kowen::fuzz {

inline void AddText(const std::string &text, Bytes *bytes) {
    bytes->insert(bytes->end(), text.begin(), text.end());
}

/// A Netpbm picture and its rows as they are to be read, 8 bits a sample or packed bits.
class PnmFile {
public:
    explicit PnmFile(Input *input) {
        type = input->Between(1, 7);
        width = input->Between(1, 20);
        height = input->Between(1, 12);
        bits = type == 1 || type == 4;
        channels = type == 7 ? input->Between(1, 4) : type == 3 || type == 6 ? 3 : 1;
        maximum = bits ? 1 : input->Seldom(2) ? input->Between(1, 65535) : 255;
        AddHeader(input);
        headerBytes = bytes.size();
        for (int y = 0; y < height; ++y)
            AddRow(input);
    }

    Bytes bytes;
    size_t headerBytes = 0;
    std::vector<Bytes> rows;
    int type;
    int width;
    int height;
    int channels;
    bool bits;
    int maximum;

private:
    // A space, or more of it, or a remark.
    static std::string Gap(Input *input) {
        constexpr const char *gaps[] = {" ", "\n", " \t\r\n ", " # seven 7\n", "\n#\n"};
        return input->Pick(gaps);
    }

    void AddHeader(Input *input) {
        const std::string w = std::to_string(width);
        const std::string h = std::to_string(height);
        const std::string m = std::to_string(maximum);
        std::string text = "P" + std::to_string(type);
        if (type == 7)
            text += "\nWIDTH " + w + "\nHEIGHT " + h + "\n# a\nDEPTH " + std::to_string(channels) +
                    "\nMAXVAL " + m + "\nENDHDR\n";
        else
            text += Gap(input) + w + Gap(input) + h + (bits ? "" : Gap(input) + m) + "\n";
        AddText(text, &bytes);
    }

    void AddRow(Input *input) {
        Bytes row(static_cast<size_t>(bits ? (width + 7) / 8 : width * channels), 0);
        for (size_t i = 0; i < static_cast<size_t>(width * channels); ++i) {
            const uint32_t sample = input->Below(static_cast<uint32_t>(maximum) + 1);
            if (bits)
                row[i / 8] |= static_cast<uint8_t>(sample << (7 - i % 8));
            else
                row[i] = static_cast<uint8_t>((sample * 510 + maximum) / (2u * maximum));
            if (type <= 3)
                AddText(std::to_string(sample) + (input->Bool() ? " " : "\n"), &bytes);
            else if (!bits && maximum > 255)
                bytes.push_back(static_cast<uint8_t>(sample / 256));
            if (type > 3 && !bits)
                bytes.push_back(static_cast<uint8_t>(sample));
        }
        if (type == 4)
            bytes.insert(bytes.end(), row.begin(), row.end());
        rows.push_back(row);
    }
};

inline void AddChunk(const std::string &name, const Bytes &data, Bytes *png) {
    const auto number = [png](size_t value) {
        for (int shift = 24; shift >= 0; shift -= 8)
            png->push_back(static_cast<uint8_t>(value >> shift));
    };
    number(data.size());
    const size_t start = png->size();
    AddText(name, png);
    png->insert(png->end(), data.begin(), data.end());
    number(crc32(0, png->data() + start, static_cast<uInt>(png->size() - start)));
}

inline Bytes Deflated(const Bytes &bytes) {
    uLongf size = compressBound(bytes.size());
    Bytes packed(size);
    compress2(packed.data(), &size, bytes.data(), bytes.size(), 1);
    packed.resize(size);
    return packed;
}

/// A PNG of whole chunks, whose contents may be anything; small.
inline Bytes PngFile(Input *input) {
    constexpr uint8_t colourTypes[] = {0, 2, 3, 4, 6, 5};
    constexpr uint8_t depths[] = {8, 1, 2, 4, 16, 3};
    Bytes png = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    const uint8_t colours = input->Pick(colourTypes);
    const uint8_t width = input->Byte() % 40;
    const uint8_t height = input->Byte() % 24;
    AddChunk("IHDR",
             {0, 0, 0, width, 0, 0, 0, height, input->Pick(depths), colours, 0, 0,
              static_cast<uint8_t>(input->Seldom(4))},
             &png);
    if (colours == 3 || input->Seldom(16))
        AddChunk("PLTE", input->Fill(3 * input->Below(20)), &png);
    constexpr const char *names[] = {"tRNS", "pHYs", "eXIf", "tEXt", "zTXt", "iTXt",
                                     "gAMA", "sRGB", "bKGD", "sBIT", "abCd"};
    constexpr uint8_t sizes[] = {6, 9, 60, 30, 30, 40, 4, 1, 6, 4, 10};
    for (int i = input->Between(0, 5); i > 0; --i) {
        const size_t at = input->Below(std::size(names));
        const uint32_t most = sizes[at];
        AddChunk(names[at], input->Fill(input->Bool() ? most : input->Below(most + 1)), &png);
    }
    if (input->Seldom(4)) {
        Bytes profile = {'i', 'c', 'c', 0, 0};
        const Bytes packed = Deflated(input->Fill(input->Below(400)));
        profile.insert(profile.end(), packed.begin(), packed.end());
        AddChunk("iCCP", profile, &png);
    }
    const Bytes pixels = Deflated(input->Fill(input->Below(40 * 24 * 8)));
    const size_t half = input->Below(static_cast<uint32_t>(pixels.size()) + 1);
    const auto middle = pixels.begin() + static_cast<ptrdiff_t>(half);
    AddChunk("IDAT", Bytes(pixels.begin(), middle), &png);
    AddChunk("IDAT", Bytes(middle, pixels.end()), &png);
    if (!input->Seldom(8))
        AddChunk("IEND", {}, &png);
    return png;
}

/// What is left of the input, as a JPEG of at most 255 x 255 pixels.
inline Bytes JpegFile(Input *input) {
    Bytes bytes = {0xFF, 0xD8, 0xFF};
    const Bytes rest = input->Take(input->Left());
    bytes.insert(bytes.end(), rest.begin(), rest.end());
    for (size_t i = 2; i + 8 < bytes.size(); ++i) {
        if (bytes[i] == 0xFF && bytes[i + 1] >= 0xC0 && bytes[i + 1] <= 0xCF)
            bytes[i + 5] = bytes[i + 7] = 0;
    }
    return bytes;
}

} // namespace kowen::fuzz
