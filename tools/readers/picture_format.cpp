#include "readers/picture_format.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace kowen::cli {
namespace {

using namespace std::string_view_literals;

struct Mark {
    size_t at;
    std::string_view bytes;
    const char *format;
};

constexpr Mark kMarks[] = {
    {0, "\x89PNG\r\n\x1a\n"sv, "PNG"},
    {0, "\xff\xd8\xff"sv, "JPEG"},
    {0, "GIF87a"sv, "GIF"},
    {0, "GIF89a"sv, "GIF"},
    {0, "BM"sv, "BMP"},
    {0, "II*\0"sv, "TIFF"},
    {0, "MM\0*"sv, "TIFF"},
    {0, "II+\0"sv, "TIFF"},
    {0, "MM\0+"sv, "TIFF"},
    {8, "WEBP"sv, "WEBP"},
    {0, "P1"sv, "PNM"},
    {0, "P2"sv, "PNM"},
    {0, "P3"sv, "PNM"},
    {0, "P4"sv, "PNM"},
    {0, "P5"sv, "PNM"},
    {0, "P6"sv, "PNM"},
    {0, "P7"sv, "PAM"},
    {4, "ftypavif"sv, "AVIF"},
    {4, "ftypheic"sv, "HEIF"},
    {4, "ftypheix"sv, "HEIF"},
    {4, "ftypmif1"sv, "HEIF"},
    {0, "\xff\x0a"sv, "JXL"},
    {0, "\0\0\0\x0cJXL \r\n\x87\n"sv, "JXL"},
    {0, "\x8bJNG\r\n\x1a\n"sv, "JNG"},
    {0, "/* XPM */"sv, "XPM"},
    {0, "#define"sv, "XBM"},
    {0, "\x0a\x05\x00"sv, "PCX"},
    {0, "\x0a\x05\x01"sv, "PCX"},
    {0, "\x01\xda"sv, "SGI"},
    {0, "\x59\xa6\x6a\x95"sv, "SUN"},
    {0, "gimp xcf"sv, "XCF"},
    {0, "SDPX"sv, "DPX"},
    {0, "XPDS"sv, "DPX"},
    {0, "SIMPLE  ="sv, "FITS"},
    {0, "id=ImageMagick"sv, "MIFF"},
};

struct Ending {
    std::string_view text;
    const char *format;
};

constexpr Ending kEndings[] = {{".tga", "TGA"}, {".ico", "ICO"}, {".wbmp", "WBMP"},
                               {".icb", "TGA"}, {".vda", "TGA"}, {".vst", "TGA"}};

bool Carries(std::span<const uint8_t> bytes, const Mark &mark) {
    if (bytes.size() < mark.at + mark.bytes.size())
        return false;
    return std::equal(mark.bytes.begin(), mark.bytes.end(), bytes.begin() + mark.at,
                      [](char a, uint8_t b) { return static_cast<uint8_t>(a) == b; });
}

std::string LowerCase(std::string text) {
    for (char &c : text)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return text;
}

} // namespace

std::string PictureFormat(std::span<const uint8_t> bytes, const std::string &path) {
    for (const Mark &mark : kMarks) {
        if (Carries(bytes, mark))
            return mark.format;
    }
    const std::string name = LowerCase(path);
    for (const Ending &ending : kEndings) {
        if (name.ends_with(ending.text))
            return ending.format;
    }
    return "";
}

std::vector<std::string> KnownFormats() {
    std::vector<std::string> names;
    const auto add = [&](const char *name) {
        if (std::find(names.begin(), names.end(), name) == names.end())
            names.emplace_back(name);
    };
    for (const Mark &mark : kMarks)
        add(mark.format);
    for (const Ending &ending : kEndings)
        add(ending.format);
    return names;
}

} // namespace kowen::cli
