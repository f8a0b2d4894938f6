#include "failure.h"
#include "readers/exif.h"
#include "readers/inks.h"
#include "readers/magick_picture.h"

#include <algorithm>
#include <cmath>

namespace kowen::cli {
namespace {

constexpr double kCentimetresPerInch = 2.54;
constexpr unsigned kMostIndexes = 256;

uint8_t Byte(Quantum quantum) {
    return ScaleQuantumToChar(quantum);
}

uint8_t Alpha(Quantum opacity) {
    return Byte(MaxRGB - opacity);
}

double DotsPerInch(double resolution, ResolutionType unit) {
    if (!(resolution > 0) || !std::isfinite(resolution))
        return 0;
    if (unit == PixelsPerInchResolution)
        return resolution;
    return unit == PixelsPerCentimeterResolution ? resolution * kCentimetresPerInch : 0;
}

std::vector<uint8_t> Profile(const Image *image, const char *name) {
    size_t size = 0;
    const unsigned char *bytes = GetImageProfile(image, name, &size);
    return bytes != nullptr ? std::vector<uint8_t>(bytes, bytes + size) : std::vector<uint8_t>();
}

class MagickSource : public Source {
public:
    MagickSource(const std::string &file, MagickImage read, const std::string &format,
                 const MagickHost &host, const std::vector<std::string> &remarks)
        : name(file), picture(std::move(read)), program(host) {
        warnings = remarks;
        facts.kind = format;
        facts.width = static_cast<uint32_t>(picture->columns);
        facts.height = static_cast<uint32_t>(picture->rows);
        TakeMetadata();
        TakeColours();
        ChooseFormat();
    }

    void ReadRow(uint8_t *pixels) override {
        if (program.cancelSignal() != 0)
            throw Cancelled();
        MagickException exception;
        const PixelPacket *colours = AcquireImagePixels(picture.get(), 0, static_cast<long>(row),
                                                        facts.width, 1, exception.Get());
        if (colours == nullptr)
            throw Failure(name + ": " + ReasonOf(*exception.Get()));
        ++row;
        switch (facts.format) {
        case KOWEN_PIXEL_INDEXED:
            return TakeIndexes(AccessImmutableIndexes(picture.get()), pixels);
        case KOWEN_PIXEL_GREY:
            return TakeGreys(colours, pixels);
        case KOWEN_PIXEL_RGBA:
            return TakeTransparent(colours, pixels);
        default:
            return TakeColoursOf(colours, pixels);
        }
    }

private:
    void TakeMetadata() {
        const Image *image = picture.get();
        facts.xDpi = DotsPerInch(image->x_resolution, image->units);
        facts.yDpi = DotsPerInch(image->y_resolution, image->units);
        facts.exif = Profile(image, "EXIF");
        facts.icc = Profile(image, "ICM");
        TakeExif(&facts);
        if (image->orientation != UndefinedOrientation)
            facts.orientation = static_cast<uint32_t>(image->orientation);
        if (const ImageAttribute *comment = GetImageAttribute(image, "comment"))
            facts.comment = comment->value;
    }

    // Inks and other colour spaces become sRGB; a profile that was theirs goes.
    void TakeColours() {
        const ColorspaceType space = picture->colorspace;
        // The library's own conversion of it takes other numbers than the file's for them.
        if (space == LABColorspace)
            throw Failure(name + ": the colours are CIELab, which cannot be read here; save the "
                                 "picture in RGB");
        if (space == CMYKColorspace && !facts.icc.empty()) {
            inks = std::make_unique<Inks>(facts.icc);
            facts.icc.clear();
            warnings.push_back(inks->Note());
            return;
        }
        if (IsRGBCompatibleColorspace(space) || IsGrayColorspace(space))
            return;
        if (!TransformColorspace(picture.get(), RGBColorspace))
            throw Failure(name + ": " + ReasonOf(picture->exception));
        if (space == CMYKColorspace)
            warnings.push_back("the inks have no colour profile; they were converted roughly");
        facts.icc.clear();
    }

    void ChooseFormat() {
        MagickException exception;
        if (inks != nullptr) {
            facts.format = KOWEN_PIXEL_RGB;
        } else if (picture->matte) {
            facts.format = KOWEN_PIXEL_RGBA;
        } else if (picture->storage_class == PseudoClass && picture->colors <= kMostIndexes) {
            facts.format = KOWEN_PIXEL_INDEXED;
            TakePalette();
        } else if (IsGrayImage(picture.get(), exception.Get())) {
            facts.format = KOWEN_PIXEL_GREY;
        }
    }

    void TakePalette() {
        facts.palette.assign(size_t{kMostIndexes} * 3, 0);
        for (unsigned i = 0; i < picture->colors; ++i) {
            const PixelPacket &colour = picture->colormap[i];
            facts.palette[i * 3] = Byte(colour.red);
            facts.palette[i * 3 + 1] = Byte(colour.green);
            facts.palette[i * 3 + 2] = Byte(colour.blue);
        }
    }

    void TakeIndexes(const IndexPacket *indexes, uint8_t *pixels) const {
        if (indexes == nullptr)
            throw Failure(name + ": the picture library has lost the picture's palette");
        for (uint32_t x = 0; x < facts.width; ++x)
            pixels[x] = static_cast<uint8_t>(std::min<unsigned>(indexes[x], kMostIndexes - 1));
    }

    void TakeGreys(const PixelPacket *colours, uint8_t *pixels) const {
        for (uint32_t x = 0; x < facts.width; ++x)
            pixels[x] = Byte(colours[x].green);
    }

    void TakeTransparent(const PixelPacket *colours, uint8_t *pixels) const {
        for (uint32_t x = 0; x < facts.width; ++x, pixels += 4) {
            pixels[0] = Byte(colours[x].red);
            pixels[1] = Byte(colours[x].green);
            pixels[2] = Byte(colours[x].blue);
            pixels[3] = Alpha(colours[x].opacity);
        }
    }

    void TakeColoursOf(const PixelPacket *colours, uint8_t *pixels) {
        if (inks != nullptr)
            return TakeInks(colours, pixels);
        for (uint32_t x = 0; x < facts.width; ++x, pixels += 3) {
            pixels[0] = Byte(colours[x].red);
            pixels[1] = Byte(colours[x].green);
            pixels[2] = Byte(colours[x].blue);
        }
    }

    // The library keeps cyan, magenta and yellow as red, green and blue, black as the opacity, and
    // 0 is none.
    void TakeInks(const PixelPacket *colours, uint8_t *pixels) {
        inkRow.resize(size_t{facts.width} * Inks::kChannels);
        uint8_t *ink = inkRow.data();
        for (uint32_t x = 0; x < facts.width; ++x, ink += Inks::kChannels) {
            ink[0] = Alpha(colours[x].red);
            ink[1] = Alpha(colours[x].green);
            ink[2] = Alpha(colours[x].blue);
            ink[3] = Alpha(colours[x].opacity);
        }
        inks->ToRgb(inkRow.data(), facts.width, pixels);
    }

    std::string name;
    MagickImage picture;
    const MagickHost &program;
    std::unique_ptr<Inks> inks;
    std::vector<uint8_t> inkRow;
    uint32_t row = 0;
};

} // namespace

std::unique_ptr<Source> MakeMagickSource(const std::string &name, MagickImage image,
                                         const std::string &format, const MagickHost &host,
                                         const std::vector<std::string> &remarks) {
    return std::make_unique<MagickSource>(name, std::move(image), format, host, remarks);
}

} // namespace kowen::cli
