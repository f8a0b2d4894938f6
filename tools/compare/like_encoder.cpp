#include "compare/like_encoder.h"

#include "failure.h"

#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <jpeglib.h>

namespace kowen::cli {
namespace {

// libjpeg's two halves behind functions that fail by false: its jumps stay inside.
class LikeEncoder {
public:
    LikeEncoder(const PlainPicture &from, const std::vector<uint8_t> &model)
        : picture(from), jpeg(model) {
        errors.self = this;
        decoder.err = encoder.err = jpeg_std_error(&errors.base);
        errors.base.error_exit = OnError;
        errors.base.emit_message = OnMessage;
    }

    ~LikeEncoder() {
        jpeg_destroy_compress(&encoder);
        jpeg_destroy_decompress(&decoder);
        std::free(memory);
    }
    LikeEncoder(const LikeEncoder &) = delete;
    LikeEncoder &operator=(const LikeEncoder &) = delete;

    std::vector<uint8_t> Run() {
        if (!ReadModel() || !Encode())
            throw Failure("libjpeg cannot encode the picture: " + problem);
        return {memory, memory + size};
    }

private:
    struct Errors {
        jpeg_error_mgr base; // first: the library hands its address back
        std::jmp_buf giveUp;
        LikeEncoder *self;
    };

    static void OnError(j_common_ptr info) {
        auto *errors = reinterpret_cast<Errors *>(info->err);
        char text[JMSG_LENGTH_MAX] = "";
        info->err->format_message(info, text);
        errors->self->problem = text;
        std::longjmp(errors->giveUp, 1);
    }

    static void OnMessage(j_common_ptr, int) {}

    bool ReadModel() {
        if (setjmp(errors.giveUp))
            return false;
        jpeg_create_decompress(&decoder);
        jpeg_mem_src(&decoder, jpeg.data(), static_cast<unsigned long>(jpeg.size()));
        jpeg_read_header(&decoder, TRUE);
        return true;
    }

    void TakeModel() {
        for (int i = 0; i < NUM_QUANT_TBLS; ++i) {
            const JQUANT_TBL *from = decoder.quant_tbl_ptrs[i];
            if (from == nullptr)
                continue;
            if (encoder.quant_tbl_ptrs[i] == nullptr)
                encoder.quant_tbl_ptrs[i] =
                    jpeg_alloc_quant_table(reinterpret_cast<j_common_ptr>(&encoder));
            std::memcpy(encoder.quant_tbl_ptrs[i]->quantval, from->quantval, sizeof from->quantval);
        }
        for (int i = 0; i < encoder.num_components && i < decoder.num_components; ++i) {
            encoder.comp_info[i].h_samp_factor = decoder.comp_info[i].h_samp_factor;
            encoder.comp_info[i].v_samp_factor = decoder.comp_info[i].v_samp_factor;
            encoder.comp_info[i].quant_tbl_no = decoder.comp_info[i].quant_tbl_no;
        }
        if (decoder.progressive_mode)
            jpeg_simple_progression(&encoder);
    }

    bool Encode() {
        if (setjmp(errors.giveUp))
            return false;
        jpeg_create_compress(&encoder);
        jpeg_mem_dest(&encoder, &memory, &size);
        encoder.image_width = picture.width;
        encoder.image_height = picture.height;
        encoder.input_components = 3;
        encoder.in_color_space = JCS_RGB;
        jpeg_set_defaults(&encoder);
        jpeg_set_colorspace(&encoder, decoder.num_components == 1 ? JCS_GRAYSCALE : JCS_YCbCr);
        TakeModel();
        jpeg_start_compress(&encoder, TRUE);
        while (encoder.next_scanline < encoder.image_height) {
            JSAMPROW row = const_cast<JSAMPROW>(picture.Row(encoder.next_scanline));
            jpeg_write_scanlines(&encoder, &row, 1);
        }
        jpeg_finish_compress(&encoder);
        return true;
    }

    const PlainPicture &picture;
    const std::vector<uint8_t> &jpeg;
    Errors errors = {};
    jpeg_decompress_struct decoder = {};
    jpeg_compress_struct encoder = {};
    unsigned char *memory = nullptr;
    unsigned long size = 0;
    std::string problem;
};

} // namespace

std::vector<uint8_t> EncodeLike(const PlainPicture &picture, const std::vector<uint8_t> &jpeg) {
    return LikeEncoder(picture, jpeg).Run();
}

} // namespace kowen::cli
