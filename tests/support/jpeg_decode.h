#pragma once

// Decodes a JPEG with the system's libjpeg, strictly: whatever the library remarks on is kept, so
// that a test can insist on silence. Link kowen_test_jpeg to use it.

#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include <jpeglib.h>

namespace kowen::test {

/// What a decoder makes of a JPEG.
struct DecodedJpeg {
    bool decoded = false;              ///< every row was delivered; `error` is empty then
    std::string error;                 ///< the library's reason for giving up
    std::vector<std::string> warnings; ///< corrupt-data remarks; a clean file has none
    int width = 0;
    int height = 0;
    int components = 0; ///< in the file
    bool progressive = false;
    bool jfif = false;
    int densityUnit = 0; ///< of the JFIF header: 1 = dots per inch
    int xDensity = 0;
    int yDensity = 0;
    int channels = 0;            ///< bytes per pixel of `pixels`
    std::vector<uint8_t> pixels; ///< top row first, no padding

    bool Clean() const { return decoded && warnings.empty(); }
    const uint8_t *At(int x, int y) const {
        return pixels.data() + (static_cast<size_t>(y) * width + x) * channels;
    }
};

enum class DecodeAs {
    kColours,    ///< RGB, or one grey channel for a one-component file
    kComponents, ///< the components as they are stored, no colour transform
    kShown       ///< as programs show it: kColours with smooth upsampling
};

namespace jpeg_decode_detail {

struct ErrorManager {
    jpeg_error_mgr base; // first: the library hands its address back
    std::jmp_buf giveUp;
    DecodedJpeg *result;
};

inline std::string LastMessage(j_common_ptr info) {
    char text[JMSG_LENGTH_MAX] = "";
    info->err->format_message(info, text);
    return text;
}

inline void OnError(j_common_ptr info) {
    auto *manager = reinterpret_cast<ErrorManager *>(info->err);
    manager->result->error = LastMessage(info);
    std::longjmp(manager->giveUp, 1);
}

inline void OnMessage(j_common_ptr info, int level) {
    if (level < 0)
        reinterpret_cast<ErrorManager *>(info->err)->result->warnings.push_back(LastMessage(info));
}

inline void TakeHeader(const jpeg_decompress_struct &info, DecodedJpeg *result) {
    result->width = static_cast<int>(info.image_width);
    result->height = static_cast<int>(info.image_height);
    result->components = info.num_components;
    result->progressive = info.progressive_mode;
    result->jfif = info.saw_JFIF_marker;
    result->densityUnit = info.density_unit;
    result->xDensity = info.X_density;
    result->yDensity = info.Y_density;
}

inline void TakeRows(jpeg_decompress_struct *info, DecodedJpeg *result) {
    result->channels = info->output_components;
    const size_t stride = static_cast<size_t>(info->output_width) * info->output_components;
    result->pixels.resize(stride * info->output_height);
    while (info->output_scanline < info->output_height) {
        JSAMPROW row = result->pixels.data() + stride * info->output_scanline;
        jpeg_read_scanlines(info, &row, 1);
    }
}

} // namespace jpeg_decode_detail

/// Decodes `size` bytes of `data` with the accurate transform and plain (replicating) upsampling.
inline DecodedJpeg DecodeJpeg(const void *data, size_t size, DecodeAs as = DecodeAs::kColours) {
    namespace detail = jpeg_decode_detail;
    DecodedJpeg result;
    jpeg_decompress_struct info = {};
    detail::ErrorManager manager = {};
    manager.result = &result;
    info.err = jpeg_std_error(&manager.base);
    manager.base.error_exit = detail::OnError;
    manager.base.emit_message = detail::OnMessage;
    if (setjmp(manager.giveUp)) {
        jpeg_destroy_decompress(&info);
        return result;
    }
    jpeg_create_decompress(&info);
    jpeg_mem_src(&info, static_cast<const unsigned char *>(data), static_cast<unsigned long>(size));
    jpeg_read_header(&info, TRUE);
    detail::TakeHeader(info, &result);
    info.dct_method = JDCT_ISLOW;
    info.do_fancy_upsampling = as == DecodeAs::kShown ? TRUE : FALSE;
    if (as == DecodeAs::kComponents)
        info.out_color_space = info.jpeg_color_space;
    jpeg_start_decompress(&info);
    detail::TakeRows(&info, &result);
    jpeg_finish_decompress(&info);
    jpeg_destroy_decompress(&info);
    result.decoded = true;
    return result;
}

inline DecodedJpeg DecodeJpeg(const std::vector<uint8_t> &bytes, DecodeAs as = DecodeAs::kColours) {
    return DecodeJpeg(bytes.data(), bytes.size(), as);
}

/// Returns a copy whose frame header says 8 bits a sample. One-component files of the filter say
/// 24 there, which libjpeg refuses to read although everything else about them is in order.
inline std::vector<uint8_t> WithEightBitPrecision(std::vector<uint8_t> bytes) {
    const size_t kMarker = 2;
    for (size_t at = 2; at + kMarker + 3 <= bytes.size() && bytes[at] == 0xFF;) {
        if (bytes[at + 1] == 0xC0 || bytes[at + 1] == 0xC2) {
            bytes[at + kMarker + 2] = 8;
            break;
        }
        at += kMarker + (static_cast<size_t>(bytes[at + 2]) << 8 | bytes[at + 3]);
    }
    return bytes;
}

/// Reads a whole file; empty when it cannot be read.
inline std::vector<uint8_t> ReadJpegFile(const std::string &path) {
    std::vector<uint8_t> bytes;
    if (std::FILE *file = std::fopen(path.c_str(), "rb")) {
        uint8_t block[65536];
        while (const size_t count = std::fread(block, 1, sizeof block, file))
            bytes.insert(bytes.end(), block, block + count);
        std::fclose(file);
    }
    return bytes;
}

} // namespace kowen::test
