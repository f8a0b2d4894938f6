// The picture to export: read from a file and laid out in rows as the filter takes them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kowen::host {

/// A picture as the filter's bitmap record describes it.
class Picture {
public:
    /// Reads a file; "-" is the standard input. Animations and many-page files give their first
    /// picture. A picture that says how it was held is turned upright; transparency is laid over
    /// white.
    ///
    /// depth  bits per pixel to hand over: 1, 4, 8, 24 or 32; 0 keeps the picture's own: grey,
    ///        two-coloured and palette pictures 1, 4 or 8 bits with their colour table, else 24.
    ///
    /// Throws HostError naming the file and the reason, or Cancelled.
    Picture(const std::string &path, int depth);
    ~Picture();
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;

    int Width() const { return width; }
    int Height() const { return height; }
    int Depth() const { return depth; }

    /// Dots per inch; 0 when the file does not say.
    double XDpi() const { return xDpi; }
    double YDpi() const { return yDpi; }

    /// 2^Depth entries of red, green and blue; empty at 24 and 32 bits.
    const std::vector<uint8_t> &Palette() const { return palette; }

    /// Remarks of the reader about a file that it could still read.
    const std::vector<std::string> &Warnings() const { return warnings; }

    size_t RowBytes() const;
    size_t PixelBytes() const { return RowBytes() * static_cast<size_t>(height); }

    /// Writes all rows, the bottom one first, and lets go of the reader's memory: once only.
    /// rows  PixelBytes() zero bytes.
    void TakeRows(uint8_t *rows);

private:
    struct Image;

    void Read(const std::string &path);
    void Normalise();
    void ChooseDepth(int wanted);
    void UsePalette(int bits);
    void UseGreyPalette();

    std::unique_ptr<Image> image;
    int width = 0;
    int height = 0;
    int depth = 24;
    double xDpi = 0;
    double yDpi = 0;
    bool greyRamp = false; ///< pixels are grey values, not the reader's colour numbers
    std::vector<uint8_t> palette;
    std::vector<std::string> warnings;
};

/// Starts the picture library. Once, before the first Picture and before the signal handlers.
void StartPictureLibrary();

} // namespace kowen::host
