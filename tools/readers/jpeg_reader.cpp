#include "readers/jpeg_reader.h"

#include "cancel.h"
#include "failure.h"
#include "readers/exif.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace kowen::cli {
namespace {

constexpr unsigned kLongestMarker = 0xFFFF;
constexpr int kExifMarker = JPEG_APP0 + 1;
constexpr int kProfileMarker = JPEG_APP0 + 2;
constexpr int kResourcesMarker = JPEG_APP0 + 13;
constexpr double kCentimetresPerInch = 2.54;
constexpr uint8_t kEndOfImage[] = {0xFF, JPEG_EOI};
constexpr char kExifName[] = {'E', 'x', 'i', 'f', 0, 0};

std::string MessageOf(j_common_ptr info) {
    char text[JMSG_LENGTH_MAX] = "";
    info->err->format_message(info, text);
    return text;
}

} // namespace

JpegReader::JpegReader(std::unique_ptr<ByteInput> file, bool acceptCut)
    : input(std::move(file)), acceptTruncated(acceptCut) {
    errors.self = this;
    bytes.self = this;
    if (!Create())
        Fail();
}

JpegReader::~JpegReader() {
    jpeg_destroy_decompress(&decoder);
}

void JpegReader::OnError(j_common_ptr info) {
    auto *errors = reinterpret_cast<Errors *>(info->err);
    if (errors->self->problem.empty())
        errors->self->problem = MessageOf(info);
    std::longjmp(errors->giveUp, 1);
}

void JpegReader::OnMessage(j_common_ptr info, int level) {
    JpegReader *self = reinterpret_cast<Errors *>(info->err)->self;
    if (level < 0 && self->remark.empty())
        self->remark = MessageOf(info);
}

// No exception may pass through the library.
boolean JpegReader::OnFill(j_decompress_ptr info) {
    JpegReader *self = reinterpret_cast<Bytes *>(info->src)->self;
    if (!self->Fill())
        std::longjmp(self->errors.giveUp, 1);
    return TRUE;
}

bool JpegReader::Fill() {
    try {
        const std::span<const uint8_t> piece = input->Buffered();
        bytes.base.next_input_byte = piece.data();
        bytes.base.bytes_in_buffer = piece.size();
        input->Skip(piece.size());
        if (!piece.empty())
            return true;
    } catch (...) {
        failure = std::current_exception();
        return false;
    }
    cut = true;
    problem = "the file ends early";
    bytes.base.next_input_byte = kEndOfImage;
    bytes.base.bytes_in_buffer = sizeof kEndOfImage;
    return acceptTruncated;
}

void JpegReader::OnSkip(j_decompress_ptr info, long count) {
    jpeg_source_mgr *source = info->src;
    while (count > 0) {
        if (source->bytes_in_buffer == 0)
            OnFill(info);
        const size_t step = std::min(static_cast<size_t>(count), source->bytes_in_buffer);
        source->next_input_byte += step;
        source->bytes_in_buffer -= step;
        count -= static_cast<long>(step);
    }
}

void JpegReader::Fail() {
    if (failure)
        std::rethrow_exception(failure);
    const bool could = cut && !acceptTruncated;
    throw Failure(NameOf(input->Path()) + ": not a whole JPEG: " + problem +
                  (could ? "; --accept-truncated takes what is there" : ""));
}

bool JpegReader::Create() {
    decoder.err = jpeg_std_error(&errors.base);
    errors.base.error_exit = OnError;
    errors.base.emit_message = OnMessage;
    if (setjmp(errors.giveUp))
        return false;
    jpeg_create_decompress(&decoder);
    bytes.base.init_source = OnNothing;
    bytes.base.fill_input_buffer = OnFill;
    bytes.base.skip_input_data = OnSkip;
    bytes.base.resync_to_restart = jpeg_resync_to_restart;
    bytes.base.term_source = OnNothing;
    decoder.src = &bytes.base;
    for (const int marker : {kExifMarker, kProfileMarker, kResourcesMarker, JPEG_COM})
        jpeg_save_markers(&decoder, marker, kLongestMarker);
    return true;
}

bool JpegReader::ReadFacts() {
    if (setjmp(errors.giveUp))
        return false;
    jpeg_read_header(&decoder, TRUE);
    return true;
}

bool JpegReader::Start() {
    if (setjmp(errors.giveUp))
        return false;
    jpeg_start_decompress(&decoder);
    return true;
}

void JpegReader::ReadHeader(PictureFacts *facts) {
    if (!ReadFacts())
        Fail();
    facts->kind = "JPEG";
    facts->width = decoder.image_width;
    facts->height = decoder.image_height;
    if (decoder.jpeg_color_space == JCS_CMYK || decoder.jpeg_color_space == JCS_YCCK)
        decoder.out_color_space = JCS_CMYK;
    else if (decoder.jpeg_color_space != JCS_GRAYSCALE)
        decoder.out_color_space = JCS_RGB;
    const bool grey = decoder.out_color_space == JCS_GRAYSCALE;
    facts->format = grey ? KOWEN_PIXEL_GREY : KOWEN_PIXEL_RGB;
    TakeMetadata(facts);
    TakeProfile(facts);
    if (!Start())
        Fail();
}

void JpegReader::ReadRow(uint8_t *row) {
    StopIfCancelled();
    if (setjmp(errors.giveUp))
        Fail();
    jpeg_read_scanlines(&decoder, &row, 1);
}

void JpegReader::TakeMetadata(PictureFacts *facts) {
    const double perInch = decoder.density_unit == 1   ? 1
                           : decoder.density_unit == 2 ? kCentimetresPerInch
                                                       : 0;
    if (decoder.saw_JFIF_marker && decoder.X_density > 0 && decoder.Y_density > 0) {
        facts->xDpi = decoder.X_density * perInch;
        facts->yDpi = decoder.Y_density * perInch;
    }
    for (auto *marker = decoder.marker_list; marker != nullptr; marker = marker->next)
        TakeSegment(marker->marker, {marker->data, marker->data_length}, facts);
    facts->comment.resize(std::min(facts->comment.size(), facts->comment.find('\0')));
}

void JpegReader::TakeSegment(int marker, std::span<const uint8_t> data, PictureFacts *facts) {
    if (marker == JPEG_COM && facts->comment.empty())
        facts->comment.assign(data.begin(), data.end());
    if (marker == kResourcesMarker)
        leftOut.iptc = leftOut.iptc || IsIptcSegment(data);
    if (marker != kExifMarker)
        return;
    leftOut.xmp = leftOut.xmp || IsXmpSegment(data);
    if (!facts->exif.empty() || data.size() < sizeof kExifName ||
        std::memcmp(data.data(), kExifName, sizeof kExifName) != 0)
        return;
    facts->exif.assign(data.begin(), data.end());
    TakeExif(facts);
}

void JpegReader::TakeProfile(PictureFacts *facts) {
    JOCTET *profile = nullptr;
    unsigned size = 0;
    if (setjmp(errors.giveUp))
        Fail();
    if (jpeg_read_icc_profile(&decoder, &profile, &size)) {
        facts->icc.assign(profile, profile + size);
        std::free(profile);
    }
}

} // namespace kowen::cli
