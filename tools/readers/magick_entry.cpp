// The object that reads with GraphicsMagick: its entry, and decoding; see magick_library.h.
#include "failure.h"
#include "readers/left_out.h"
#include "readers/magick_picture.h"
#include "readers/several_pictures.h"
#include "readers/tiff_exif.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace kowen::cli {
namespace {

MagickHost program = {};

// What a read reports to; the library has one monitor for the process.
const ReadOptions *monitored = nullptr;

MagickPassFail OnProgress(const char *, const magick_int64_t quantum, const magick_uint64_t span,
                          ExceptionInfo *) {
    if (monitored != nullptr && monitored->progress != nullptr && span > 1)
        monitored->progress(monitored->progressContext,
                            static_cast<double>(quantum) / static_cast<double>(span - 1));
    return program.cancelSignal() == 0 ? MagickPass : MagickFail;
}

struct DestroyRequest {
    void operator()(ImageInfo *info) const { DestroyImageInfo(info); }
};

MagickImage Decode(const std::vector<uint8_t> &bytes, const std::string &format, size_t number,
                   MagickException *exception) {
    const std::unique_ptr<ImageInfo, DestroyRequest> request(CloneImageInfo(nullptr));
    std::snprintf(request->magick, sizeof request->magick, "%s", format.c_str());
    std::snprintf(request->filename, sizeof request->filename, "%s:", format.c_str());
    request->subimage = static_cast<unsigned long>(number);
    request->subrange = 1;
    Image *image = BlobToImage(request.get(), bytes.data(), bytes.size(), exception->Get());
    // Some of the library's readers deliver those in front of it as well.
    while (image != nullptr && image->next != nullptr && image->scene < number)
        DestroyImage(RemoveFirstImageFromList(&image));
    return MagickImage(image);
}

// Remarks about unknown tags and the like are none of damage.
bool MeansDamage(ExceptionType severity) {
    return severity >= ErrorException || severity == CorruptImageWarning || severity == BlobWarning;
}

bool HasProfile(const Image &image, const char *name) {
    size_t size = 0;
    return GetImageProfile(&image, name, &size) != nullptr;
}

// Of TIFF files the library takes any resource of an image program for IPTC data, and overlooks
// some that is; of WebP files it does not tell XMP.
LeftOut LeftOutOf(const Image &image, const std::vector<uint8_t> &bytes,
                  const std::string &format) {
    LeftOut leftOut;
    leftOut.xmp = HasProfile(image, "XMP") || (format == "WEBP" && HasWebpXmp(bytes));
    leftOut.iptc = format == "TIFF" ? HasTiffIptc(bytes) : HasProfile(image, "IPTC");
    return leftOut;
}

// The library keeps some of it as texts and drops the rest.
void KeepTiffExif(const std::vector<uint8_t> &bytes, Image *image,
                  std::vector<std::string> *remarks) {
    const std::vector<uint8_t> exif = ExifOfTiff(bytes);
    if (!exif.empty()) {
        SetImageProfile(image, "EXIF", exif.data(), exif.size());
        return;
    }
    for (const char *name : {"make", "model", "artist", "copyright", "timestamp"}) {
        if (GetImageAttribute(image, name) == nullptr)
            continue;
        remarks->push_back("the EXIF data of a BigTIFF is left out");
        return;
    }
}

std::unique_ptr<Source> Open(const std::string &name, const std::vector<uint8_t> &bytes,
                             const std::string &format, const ReadOptions &options) {
    if (format == "WEBP" && IsAnimatedWebp(bytes))
        throw Failure(name + ": an animated WebP, which cannot be read here; save one of its "
                             "pictures as a file of its own");
    const SeveralPictures pictures = CountPictures(bytes, format);
    MagickException exception;
    monitored = &options;
    MagickImage image = Decode(bytes, format, pictures.wanted, &exception);
    monitored = nullptr;
    if (program.cancelSignal() != 0)
        throw Cancelled();
    const std::string reason = ReasonOf(*exception.Get());
    if (image == nullptr || image->columns == 0 || image->rows == 0)
        throw Failure(name + ": " + reason);
    const bool damaged = MeansDamage(exception.Severity());
    if (damaged && !options.acceptTruncated)
        throw Failure(name + ": the file is cut or damaged: " + reason +
                      "; --accept-truncated takes what is there");
    std::vector<std::string> remarks;
    if (exception.Severity() != UndefinedException)
        remarks.push_back((damaged ? "the file is cut or damaged: " : "") + reason);
    if (pictures.count > 1)
        remarks.push_back(pictures.Note());
    if (format == "TIFF")
        KeepTiffExif(bytes, image.get(), &remarks);
    LeftOutOf(*image, bytes, format).Tell(&remarks);
    return MakeMagickSource(name, std::move(image), format, program, remarks);
}

bool Reads(const std::string &format) {
    MagickException exception;
    const MagickInfo *info = GetMagickInfo(format.c_str(), exception.Get());
    return info != nullptr && info->decoder != nullptr;
}

} // namespace

std::string ReasonOf(const ExceptionInfo &exception) {
    std::string text = exception.reason != nullptr
                           ? GetLocaleExceptionMessage(exception.severity, exception.reason)
                           : "the picture library gives no reason";
    text.resize(std::min(text.size(), text.find(" (")));
    if (!text.empty())
        text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
    return text;
}

} // namespace kowen::cli

extern "C" __attribute__((visibility("default"))) kowen::cli::MagickLibrary
KowenMagickLibrary(const kowen::cli::MagickHost &host) {
    using namespace kowen::cli;
    program = host;
    MagickException exception;
    InitializeMagickEx(nullptr, MAGICK_OPT_NO_SIGNAL_HANDER, exception.Get());
    SetMonitorHandler(OnProgress);
    return {Open, Reads};
}
