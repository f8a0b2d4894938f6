// libjpeg's decompressor behind functions that fail by exceptions: its jumps stay inside.
#pragma once

#include "readers/byte_input.h"
#include "readers/left_out.h"
#include "readers/source.h"

#include <csetjmp>
#include <cstdio>
#include <exception>
#include <string>

#include <jpeglib.h>

namespace kowen::cli {

class JpegReader {
public:
    JpegReader(std::unique_ptr<ByteInput> input, bool acceptTruncated);
    ~JpegReader();
    JpegReader(const JpegReader &) = delete;
    JpegReader &operator=(const JpegReader &) = delete;

    /// Reads everything before the pixels. Inks stay inks: 4 bytes a pixel, 255 is none.
    void ReadHeader(PictureFacts *facts);

    /// Whether the rows are inks.
    bool Inks() const { return decoder.out_color_space == JCS_CMYK; }

    /// Reads a row. Throws Failure, or Cancelled.
    void ReadRow(uint8_t *row);

    /// Whether the file ended before the picture did.
    bool Cut() const { return cut; }

    /// What ReadHeader has seen and facts have no place for.
    const LeftOut &NotTaken() const { return leftOut; }

    /// The decoder's first remark about damaged data, or empty.
    const std::string &Remark() const { return remark; }

private:
    struct Errors {
        jpeg_error_mgr base; // first: the library hands its address back
        std::jmp_buf giveUp;
        JpegReader *self;
    };
    struct Bytes {
        jpeg_source_mgr base; // first, for the same reason
        JpegReader *self;
    };

    static void OnError(j_common_ptr info);
    static void OnMessage(j_common_ptr info, int level);
    static boolean OnFill(j_decompress_ptr info);
    static void OnSkip(j_decompress_ptr info, long count);
    static void OnNothing(j_decompress_ptr) {}

    bool Fill();
    bool Create();
    bool ReadFacts();
    bool Start();
    void TakeMetadata(PictureFacts *facts);
    void TakeSegment(int marker, std::span<const uint8_t> data, PictureFacts *facts);
    void TakeProfile(PictureFacts *facts);
    [[noreturn]] void Fail();

    std::unique_ptr<ByteInput> input;
    bool acceptTruncated;
    jpeg_decompress_struct decoder = {};
    Errors errors = {};
    Bytes bytes = {};
    bool cut = false;
    LeftOut leftOut;
    std::string problem;
    std::string remark;
    std::exception_ptr failure; ///< of the input
};

} // namespace kowen::cli
