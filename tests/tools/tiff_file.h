// Writes TIFF files of 8-bit RGB samples, uncompressed, least significant byte first.
#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace kowen::test {

inline std::string TiffNumber(uint32_t value, int bytes) {
    std::string text;
    for (int i = 0; i < bytes; ++i)
        text += static_cast<char>(value >> (8 * i));
    return text;
}

/// An entry of a directory; the value's bytes are put where they belong.
struct TiffEntry {
    uint16_t tag = 0;
    uint16_t type = 0;
    uint32_t count = 0;
    std::string value;
};

inline TiffEntry TiffShort(uint16_t tag, uint32_t value) {
    return {tag, 3, 1, TiffNumber(value, 2)};
}
inline TiffEntry TiffLong(uint16_t tag, uint32_t value) {
    return {tag, 4, 1, TiffNumber(value, 4)};
}
/// With the zero at its end.
inline TiffEntry TiffText(uint16_t tag, const std::string &text) {
    return {tag, 2, static_cast<uint32_t>(text.size() + 1), text + '\0'};
}

/// A directory for the end of `file`, with its long values behind it, and no next one.
inline std::string TiffDirectory(size_t at, std::vector<TiffEntry> entries) {
    std::sort(entries.begin(), entries.end(),
              [](const TiffEntry &a, const TiffEntry &b) { return a.tag < b.tag; });
    std::string directory = TiffNumber(static_cast<uint32_t>(entries.size()), 2);
    const size_t behind = at + 2 + entries.size() * 12 + 4;
    std::string values;
    for (const TiffEntry &entry : entries) {
        directory += TiffNumber(entry.tag, 2) + TiffNumber(entry.type, 2);
        directory += TiffNumber(entry.count, 4);
        if (entry.value.size() <= 4) {
            directory += entry.value + std::string(4 - entry.value.size(), '\0');
        } else {
            directory += TiffNumber(static_cast<uint32_t>(behind + values.size()), 4);
            values += entry.value + std::string(entry.value.size() % 2, '\0');
        }
    }
    return directory + TiffNumber(0, 4) + values;
}

/// Adds a page of 16 x 16 pixels of one colour to a file, which is empty before the first one.
struct TiffPage {
    std::string colour = "\x60\x70\x80"; ///< three samples
    uint32_t photometric = 2;            ///< RGB
    std::vector<TiffEntry> more;
};

inline std::string Tiff(const std::vector<TiffPage> &pages) {
    std::string file("II*\0\0\0\0\0", 8);
    size_t link = 4;
    for (const TiffPage &page : pages) {
        const auto pixels = static_cast<uint32_t>(file.size());
        for (int i = 0; i < 256; ++i)
            file += page.colour;
        file.replace(link, 4, TiffNumber(static_cast<uint32_t>(file.size()), 4));
        std::vector<TiffEntry> entries = {TiffShort(256, 16),
                                          TiffShort(257, 16),
                                          {258, 3, 3, std::string("\x08\0\x08\0\x08\0", 6)},
                                          TiffShort(259, 1),
                                          TiffShort(262, page.photometric),
                                          TiffLong(273, pixels),
                                          TiffShort(277, 3),
                                          TiffShort(278, 16),
                                          TiffLong(279, 768)};
        entries.insert(entries.end(), page.more.begin(), page.more.end());
        link = file.size() + 2 + entries.size() * 12;
        file += TiffDirectory(file.size(), entries);
    }
    return file;
}

} // namespace kowen::test
