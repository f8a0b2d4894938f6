#include "turbo_encoder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace {

constexpr int kTurboQualityOfStandardTables = 50;
constexpr uint32_t kRowsAtOnce = 16;

// The module's: the standard's table times a scale, rounded up.
void UseModulesQuantisers(jpeg_compress_struct *compressor, int quality) {
    jpeg_set_quality(compressor, kTurboQualityOfStandardTables, TRUE);
    const double scale = (3700.0 - 36.0 * quality) / 1000.0;
    for (int table = 0; table < 2; ++table) {
        JQUANT_TBL *quantisers = compressor->quant_tbl_ptrs[table];
        for (UINT16 &quantiser : quantisers->quantval)
            quantiser = static_cast<UINT16>(std::min(std::ceil(quantiser * scale), 255.0));
    }
}

void UseModulesComponents(jpeg_compress_struct *compressor, uint32_t format) {
    if (format == KOWEN_FORMAT_GREY) {
        jpeg_set_colorspace(compressor, JCS_GRAYSCALE);
        return;
    }
    compressor->comp_info[0].h_samp_factor = format == KOWEN_FORMAT_YCC422 ? 2 : 1;
    compressor->comp_info[0].v_samp_factor = 1;
}

void UseFourScans(jpeg_compress_struct *compressor) {
    static const jpeg_scan_info scans[4] = {{3, {0, 1, 2, 0}, 0, 0, 0, 0},
                                            {1, {0, 0, 0, 0}, 1, 63, 0, 0},
                                            {1, {1, 0, 0, 0}, 1, 63, 0, 0},
                                            {1, {2, 0, 0, 0}, 1, 63, 0, 0}};
    compressor->scan_info = scans;
    compressor->num_scans = 4;
}

void Configure(jpeg_compress_struct *compressor, const Picture &picture, const JpegChoice &choice,
               Scans scans) {
    compressor->image_width = picture.width;
    compressor->image_height = picture.height;
    compressor->input_components = 3;
    // Format 222 takes the pixels as they are.
    compressor->in_color_space = choice.format == KOWEN_FORMAT_RGB444 ? JCS_YCbCr : JCS_RGB;
    jpeg_set_defaults(compressor);
    compressor->dct_method = JDCT_ISLOW;
    UseModulesQuantisers(compressor, choice.quality);
    UseModulesComponents(compressor, choice.format);
    if (scans == Scans::kUsual)
        jpeg_simple_progression(compressor);
    else if (scans == Scans::kFour)
        UseFourScans(compressor);
}

// The picture's top row is its last in memory.
void FeedRows(jpeg_compress_struct *compressor, const Picture &picture) {
    const size_t rowBytes = picture.RowBytes();
    JSAMPROW rows[kRowsAtOnce];
    while (compressor->next_scanline < picture.height) {
        const uint32_t first = compressor->next_scanline;
        const uint32_t count = std::min(kRowsAtOnce, picture.height - first);
        for (uint32_t i = 0; i < count; ++i)
            rows[i] = const_cast<JSAMPROW>(picture.pixels.data() +
                                           rowBytes * (picture.height - 1 - first - i));
        jpeg_write_scanlines(compressor, rows, count);
    }
}

} // namespace

size_t EncodeWithTurbo(const Picture &picture, const JpegChoice &choice, Scans scans) {
    jpeg_compress_struct compressor;
    jpeg_error_mgr errors;
    compressor.err = jpeg_std_error(&errors);
    jpeg_create_compress(&compressor);
    unsigned char *jpeg = nullptr;
    unsigned long bytes = 0;
    jpeg_mem_dest(&compressor, &jpeg, &bytes);
    Configure(&compressor, picture, choice, scans);
    jpeg_start_compress(&compressor, TRUE);
    FeedRows(&compressor, picture);
    jpeg_finish_compress(&compressor);
    jpeg_destroy_compress(&compressor);
    std::free(jpeg);
    return bytes;
}
