// A picture that delivers its rows from the top, once.
#pragma once

#include "kowen/host.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kowen::cli {

/// What a picture's file says about it.
struct PictureFacts {
    uint32_t width = 0;
    uint32_t height = 0;
    KowenPixelFormat format = KOWEN_PIXEL_RGB;
    std::vector<uint8_t> palette;      ///< red, green, blue; of the formats with indexes
    std::vector<uint8_t> paletteAlpha; ///< a byte for each colour; empty = opaque
    uint32_t orientation = 1;          ///< EXIF's 1 to 8
    double xDpi = 0;                   ///< 0 = the file does not say
    double yDpi = 0;
    std::vector<uint8_t> exif; ///< with or without the six bytes before the TIFF header
    std::vector<uint8_t> icc;
    std::string comment;
    std::string kind; ///< the file's format, such as PNG
};

/// Bytes of a row in a pixel format, without gaps. Throws as BytesOf.
size_t RowBytes(const PictureFacts &facts);

class Source {
public:
    virtual ~Source() = default;
    Source(const Source &) = delete;
    Source &operator=(const Source &) = delete;

    const PictureFacts &Facts() const { return facts; }

    /// Writes the next row, RowBytes() of it. Throws Failure or Cancelled.
    virtual void ReadRow(uint8_t *pixels) = 0;

    /// After the last row: reads what the file has behind it, which must be whole as well.
    virtual void Finish() {}

    /// What the user should know about the file: remarks of the reader, and that it is cut.
    /// Without the file's name.
    const std::vector<std::string> &Warnings() const { return warnings; }

protected:
    Source() = default;

    PictureFacts facts;
    std::vector<std::string> warnings;
};

/// How pictures are opened.
struct ReadOptions {
    bool acceptTruncated = false; ///< a cut file gives its rows, and white ones for the rest
    void (*progress)(void *context, double fraction) = nullptr; ///< of work before the first row
    void *progressContext = nullptr;
};

/// Opens a picture: PNG, PNM and JPEG row by row, everything else by the picture library, which is
/// loaded then. Animations and files of many pages give their first picture.
///
/// path  "-" is the standard input.
///
/// Throws Failure naming the file and the reason, or Cancelled.
std::unique_ptr<Source> OpenPicture(const std::string &path, const ReadOptions &options);

/// A path as messages name it.
std::string NameOf(const std::string &path);

} // namespace kowen::cli
