#include "readers/png_reader.h"

#include "failure.h"
#include "readers/exif.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <cstring>

namespace kowen::cli {
namespace {

constexpr double kMetresPerInch = 0.0254;
constexpr double kScreenGamma = 2.2;
constexpr double kGammaTolerance = 0.05; // what nobody sees
constexpr double kLeastGamma = 0.1;      // outside of these it is no picture's
constexpr double kMostGamma = 10;
constexpr const char *kCutShort = "the file ends early";

} // namespace

PngReader::PngReader(std::unique_ptr<ByteInput> bytes) : input(std::move(bytes)) {
    png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
    if (png != nullptr)
        info = png_create_info_struct(png);
    if (info == nullptr) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        throw Failure(NameOf(input->Path()) + ": not enough memory");
    }
    png_set_read_fn(png, this, OnRead);
}

PngReader::~PngReader() {
    png_destroy_read_struct(&png, &info, nullptr);
}

void PngReader::OnError(png_structp png, png_const_charp message) {
    auto *self = static_cast<PngReader *>(png_get_error_ptr(png));
    if (self->problem.empty())
        self->problem = message;
    png_longjmp(png, 1);
}

void PngReader::OnWarning(png_structp, png_const_charp) {}

// No exception may pass through the library.
void PngReader::OnRead(png_structp png, png_bytep bytes, size_t count) {
    auto *self = static_cast<PngReader *>(png_get_io_ptr(png));
    bool whole = false;
    try {
        whole = self->input->Read(bytes, count) == count;
    } catch (...) {
        self->failure = std::current_exception();
    }
    if (!whole)
        png_error(png, kCutShort);
}

void PngReader::Rethrow() {
    if (failure)
        std::rethrow_exception(failure);
}

bool PngReader::ReadInfo() {
    if (setjmp(png_jmpbuf(png)))
        return false;
    png_read_info(png, info);
    return true;
}

bool PngReader::UpdateInfo() {
    if (setjmp(png_jmpbuf(png)))
        return false;
    if (fileGamma != 0)
        png_set_gamma(png, kScreenGamma, fileGamma);
    png_read_update_info(png, info);
    return true;
}

bool PngReader::ReadRow(uint8_t *row) {
    if (setjmp(png_jmpbuf(png))) {
        Rethrow();
        return false;
    }
    if (passes == 1)
        png_read_row(png, row, nullptr);
    else
        png_read_row(png, nullptr, row);
    return true;
}

bool PngReader::ReadEnd() {
    if (setjmp(png_jmpbuf(png))) {
        Rethrow();
        return false;
    }
    png_read_end(png, info);
    return true;
}

void PngReader::ReadHeader(PictureFacts *facts) {
    if (!ReadInfo()) {
        Rethrow();
        throw Failure(NameOf(input->Path()) + ": not a whole PNG: " + problem);
    }
    facts->kind = "PNG";
    facts->width = png_get_image_width(png, info);
    facts->height = png_get_image_height(png, info);
    ChooseFormat(facts);
    TakeMetadata(facts);
    ChooseGamma();
    passes = png_set_interlace_handling(png);
    if (!UpdateInfo())
        throw Failure(NameOf(input->Path()) + ": " + problem);
    if (!facts->palette.empty())
        TakeColours(facts);
    if (png_get_rowbytes(png, info) != RowBytes(*facts))
        throw Failure(NameOf(input->Path()) + ": this kind of PNG cannot be read here");
}

// Samples of 16 bits are rounded to 8; a colour that stands for transparency becomes alpha.
void PngReader::ChooseFormat(PictureFacts *facts) {
    const int colours = png_get_color_type(png, info);
    const int bits = png_get_bit_depth(png, info);
    if (bits == 16)
        png_set_scale_16(png);
    if (colours == PNG_COLOR_TYPE_PALETTE) {
        TakePalette(facts);
        return;
    }
    const bool keyed = png_get_valid(png, info, PNG_INFO_tRNS) != 0;
    if (colours == PNG_COLOR_TYPE_GRAY && bits == 1 && !keyed) {
        facts->format = KOWEN_PIXEL_BILEVEL;
        return;
    }
    if (bits < 8)
        png_set_expand_gray_1_2_4_to_8(png);
    if (keyed)
        png_set_tRNS_to_alpha(png);
    const bool alpha = keyed || (colours & PNG_COLOR_MASK_ALPHA) != 0;
    if ((colours & PNG_COLOR_MASK_COLOR) != 0)
        facts->format = alpha ? KOWEN_PIXEL_RGBA : KOWEN_PIXEL_RGB;
    else
        facts->format = alpha ? KOWEN_PIXEL_GREY_ALPHA : KOWEN_PIXEL_GREY;
}

// A profile or the mark of sRGB counts more than gAMA.
void PngReader::ChooseGamma() {
    double gamma = 0;
    if (png_get_valid(png, info, PNG_INFO_iCCP | PNG_INFO_sRGB) != 0 ||
        png_get_gAMA(png, info, &gamma) == 0 || !(gamma >= kLeastGamma && gamma <= kMostGamma))
        return;
    if (std::abs(gamma * kScreenGamma - 1) > kGammaTolerance)
        fileGamma = gamma;
}

// Indexes that have no colour show black, as other programs have it.
void PngReader::TakePalette(PictureFacts *facts) {
    const int bits = png_get_bit_depth(png, info);
    const size_t entries = size_t{1} << bits;
    facts->palette.assign(entries * 3, 0);
    TakeColours(facts);
    png_bytep alphas = nullptr;
    int alphaCount = 0;
    if (png_get_tRNS(png, info, &alphas, &alphaCount, nullptr) != 0 && alphas != nullptr) {
        facts->paletteAlpha.assign(entries, 255);
        std::copy_n(alphas, std::min(static_cast<size_t>(alphaCount), entries),
                    facts->paletteAlpha.begin());
    }
    facts->format = bits == 1 ? KOWEN_PIXEL_BILEVEL : KOWEN_PIXEL_INDEXED;
    if (bits > 1 && bits < 8)
        png_set_packing(png);
}

void PngReader::TakeColours(PictureFacts *facts) const {
    png_colorp colours = nullptr;
    int count = 0;
    png_get_PLTE(png, info, &colours, &count);
    for (size_t i = 0; i < static_cast<size_t>(count) && i * 3 < facts->palette.size(); ++i) {
        uint8_t *entry = facts->palette.data() + i * 3;
        entry[0] = colours[i].red;
        entry[1] = colours[i].green;
        entry[2] = colours[i].blue;
    }
}

void PngReader::TakeMetadata(PictureFacts *facts) {
    png_uint_32 x = 0;
    png_uint_32 y = 0;
    int unit = PNG_RESOLUTION_UNKNOWN;
    if (png_get_pHYs(png, info, &x, &y, &unit) != 0 && unit == PNG_RESOLUTION_METER && x != 0 &&
        y != 0) {
        facts->xDpi = x * kMetresPerInch;
        facts->yDpi = y * kMetresPerInch;
    }
    png_charp name = nullptr;
    png_bytep profile = nullptr;
    int method = 0;
    png_uint_32 size = 0;
    if (png_get_iCCP(png, info, &name, &method, &profile, &size) != 0)
        facts->icc.assign(profile, profile + size);
    png_bytep exif = nullptr;
    if (png_get_eXIf_1(png, info, &size, &exif) != 0 && exif != nullptr) {
        facts->exif.assign(exif, exif + size);
        TakeExif(facts);
        exifTaken = true;
    }
    TakeComment(facts);
}

void PngReader::TakeComment(PictureFacts *facts) {
    png_textp texts = nullptr;
    const int count = png_get_text(png, info, &texts, nullptr);
    for (const char *key : {"Comment", "Description"}) {
        for (int i = 0; i < count && facts->comment.empty(); ++i) {
            if (std::strcmp(texts[i].key, key) != 0 || texts[i].text == nullptr)
                continue;
            facts->comment = texts[i].text;
            commentText = i;
        }
    }
}

void PngReader::TellNotes(std::vector<std::string> *notes) const {
    if (fileGamma != 0) {
        char text[80];
        std::snprintf(text, sizeof text, "the brightness was converted from the file's gamma, %.4g",
                      fileGamma);
        notes->push_back(text);
    }
    LeftOut leftOut;
    png_textp texts = nullptr;
    const int count = png_get_text(png, info, &texts, nullptr);
    for (int i = 0; i < count; ++i) {
        if (i != commentText)
            leftOut.AddText(texts[i].key);
    }
    leftOut.Tell(notes);
    if (!exifTaken && png_get_valid(png, info, PNG_INFO_eXIf) != 0)
        notes->push_back("the EXIF data stands behind the pixels and was left out");
}

} // namespace kowen::cli
