#include "host/picture.h"

#include "host/cancel.h"
#include "host/error.h"
#include "host/file.h"
#include "host/picture_format.h"

#include <Magick++.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <span>

namespace kowen::host {
namespace {

constexpr int kLongestSide = 65535; // of the filter's bitmap record
constexpr double kCentimetresPerInch = 2.54;
constexpr size_t kRowAlignment = 4;

uint8_t Byte(MagickLib::Quantum quantum) {
    return ScaleQuantumToChar(quantum);
}

// The reader's messages: its program's name, the reason, an internal name of what was read, the
// place in its own sources. The reason is what a user wants.
std::string Reason(const Magick::Exception &exception) {
    std::string text = exception.what();
    if (const size_t start = text.find(": "); start != std::string::npos)
        text.erase(0, start + 2);
    text.resize(std::min(text.size(), text.find(" reported by ")));
    text.resize(std::min(text.size(), text.find(" (")));
    if (!text.empty())
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

double DotsPerInch(double resolution, MagickLib::ResolutionType unit) {
    if (!(resolution > 0) || !std::isfinite(resolution))
        return 0;
    if (unit == MagickLib::PixelsPerInchResolution)
        return resolution;
    if (unit == MagickLib::PixelsPerCentimeterResolution)
        return resolution * kCentimetresPerInch;
    return 0;
}

MagickLib::Quantum OverWhite(MagickLib::Quantum colour, MagickLib::Quantum opacity) {
    const uint64_t seen = MaxRGB - opacity;
    return static_cast<MagickLib::Quantum>((colour * seen + uint64_t{opacity} * MaxRGB) / MaxRGB);
}

void LayOverWhite(Magick::Image *image) {
    image->classType(Magick::DirectClass);
    image->modifyImage();
    for (unsigned y = 0; y < image->rows(); ++y) {
        StopIfCancelled();
        Magick::PixelPacket *pixels = image->getPixels(0, static_cast<int>(y), image->columns(), 1);
        for (unsigned x = 0; x < image->columns(); ++x) {
            Magick::PixelPacket &pixel = pixels[x];
            pixel.red = OverWhite(pixel.red, pixel.opacity);
            pixel.green = OverWhite(pixel.green, pixel.opacity);
            pixel.blue = OverWhite(pixel.blue, pixel.opacity);
            pixel.opacity = 0;
        }
        image->syncPixels();
    }
    image->matte(false);
}

// The macro names the library's constants bare.
bool HoldsRgb(MagickLib::ColorspaceType colourSpace) {
    using namespace MagickLib;
    return IsRGBCompatibleColorspace(colourSpace);
}

int BitsForColours(unsigned colours) {
    return colours <= 2 ? 1 : colours <= 16 ? 4 : 8;
}

// Pixels of a row of fewer than 8 bits each, the leftmost in the highest bits.
void PackBits(uint8_t *row, size_t x, int bits, unsigned value) {
    const size_t perByte = 8 / static_cast<size_t>(bits);
    const auto shift = static_cast<int>(8 - (x % perByte + 1) * static_cast<size_t>(bits));
    row[x / perByte] = static_cast<uint8_t>(row[x / perByte] | value << shift);
}

} // namespace

struct Picture::Image {
    Magick::Image value;
};

Picture::Picture(const std::string &path, int wantedDepth) : image(std::make_unique<Image>()) {
    const std::string name = path == "-" ? "standard input" : path;
    try {
        Read(path);
        Normalise();
        ChooseDepth(wantedDepth);
    } catch (const Magick::Exception &exception) {
        throw HostError(name + ": " + Reason(exception));
    }
    if (width > kLongestSide || height > kLongestSide)
        throw HostError(name + ": " + std::to_string(width) + " x " + std::to_string(height) +
                        " pixels are too many; the longest side is " +
                        std::to_string(kLongestSide));
}

Picture::~Picture() = default;

void Picture::Read(const std::string &path) {
    const std::string name = path == "-" ? "standard input" : path;
    std::vector<uint8_t> bytes = ReadFile(path);
    if (bytes.empty())
        throw HostError(name + ": the file is empty");
    const std::string format = PictureFormat(bytes, path);
    if (format.empty())
        throw HostError(name + ": not a picture in a format that is known here");
    const Magick::Blob blob(bytes.data(), bytes.size());
    bytes = {};
    Magick::Image &read = image->value;
    read.magick(format);
    try {
        read.read(blob);
    } catch (const Magick::Warning &warning) {
        warnings.push_back(Reason(warning));
    }
    StopIfCancelled();
    if (read.columns() == 0 || read.rows() == 0)
        throw HostError(name + ": there is no picture in it" +
                        (warnings.empty() ? "" : " (" + warnings[0] + ")"));
}

void Picture::Normalise() {
    Magick::Image &read = image->value;
    const MagickLib::Image *raw = read.constImage();
    xDpi = DotsPerInch(raw->x_resolution, raw->units);
    yDpi = DotsPerInch(raw->y_resolution, raw->units);
    if (xDpi == 0 || yDpi == 0)
        xDpi = yDpi = 0;
    if (!HoldsRgb(raw->colorspace))
        read.colorSpace(Magick::RGBColorspace);
    const Magick::OrientationType orientation = read.orientation();
    if (orientation > MagickLib::TopLeftOrientation)
        read.autoOrient();
    if (orientation >= MagickLib::LeftTopOrientation)
        std::swap(xDpi, yDpi);
    if (read.matte())
        LayOverWhite(&read);
    width = static_cast<int>(read.columns());
    height = static_cast<int>(read.rows());
}

void Picture::ChooseDepth(int wanted) {
    Magick::Image &read = image->value;
    depth = wanted;
    if (wanted == 24 || wanted == 32)
        return;
    if (wanted == 1) {
        read.type(Magick::BilevelType);
    } else if (wanted != 0) {
        read.quantizeColors(1U << wanted);
        read.quantize();
    }
    const unsigned colours = read.constImage()->colors;
    if (read.classType() == Magick::PseudoClass && colours <= 256) {
        UsePalette(wanted != 0 ? wanted : BitsForColours(colours));
        return;
    }
    const Magick::ImageType type = read.type();
    if (type == Magick::BilevelType || type == Magick::GrayscaleType)
        UseGreyPalette();
    else
        depth = 24;
}

void Picture::UsePalette(int bits) {
    const MagickLib::Image *raw = image->value.constImage();
    depth = bits;
    palette.assign((size_t{1} << bits) * 3, 0);
    for (unsigned i = 0; i < raw->colors; ++i) {
        const MagickLib::PixelPacket &colour = raw->colormap[i];
        palette[i * 3] = Byte(colour.red);
        palette[i * 3 + 1] = Byte(colour.green);
        palette[i * 3 + 2] = Byte(colour.blue);
    }
}

void Picture::UseGreyPalette() {
    depth = image->value.type() == Magick::BilevelType ? 1 : 8;
    greyRamp = true;
    const unsigned entries = 1U << depth;
    for (unsigned i = 0; i < entries; ++i)
        palette.insert(palette.end(), 3, static_cast<uint8_t>(i * 255 / (entries - 1)));
}

size_t Picture::RowBytes() const {
    const size_t bits = static_cast<size_t>(width) * static_cast<size_t>(depth);
    const size_t bytes = (bits + 7) / 8;
    return (bytes + kRowAlignment - 1) / kRowAlignment * kRowAlignment;
}

void Picture::TakeRows(uint8_t *rows) {
    Magick::Image &read = image->value;
    const auto columns = static_cast<size_t>(width);
    for (int y = 0; y < height; ++y) {
        StopIfCancelled();
        uint8_t *row = rows + RowBytes() * static_cast<size_t>(height - 1 - y);
        const Magick::PixelPacket *pixels =
            read.getConstPixels(0, y, static_cast<unsigned>(width), 1);
        const Magick::IndexPacket *indexes = greyRamp ? nullptr : read.getConstIndexes();
        if (depth >= 24) {
            for (size_t x = 0; x < columns; ++x, row += depth / 8) {
                row[0] = Byte(pixels[x].red);
                row[1] = Byte(pixels[x].green);
                row[2] = Byte(pixels[x].blue);
            }
            continue;
        }
        for (size_t x = 0; x < columns; ++x) {
            const unsigned grey = Byte(pixels[x].green);
            const unsigned value = !greyRamp ? indexes[x] : depth == 1 ? grey >> 7 : grey;
            PackBits(row, x, depth, value);
        }
    }
    image.reset();
}

void StartPictureLibrary() {
    MagickLib::ExceptionInfo exception;
    MagickLib::GetExceptionInfo(&exception);
    MagickLib::InitializeMagickEx(nullptr, MAGICK_OPT_NO_SIGNAL_HANDER, &exception);
    MagickLib::DestroyExceptionInfo(&exception);
}

} // namespace kowen::host
