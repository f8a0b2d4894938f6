// The object that reads with GraphicsMagick: its entry, and decoding; see magick_library.h.
#include "failure.h"
#include "readers/magick_picture.h"

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

MagickImage Decode(const std::vector<uint8_t> &bytes, const std::string &format,
                   MagickException *exception) {
    const std::unique_ptr<ImageInfo, DestroyRequest> request(CloneImageInfo(nullptr));
    std::snprintf(request->magick, sizeof request->magick, "%s", format.c_str());
    std::snprintf(request->filename, sizeof request->filename, "%s:", format.c_str());
    request->subimage = 0;
    request->subrange = 1;
    return MagickImage(BlobToImage(request.get(), bytes.data(), bytes.size(), exception->Get()));
}

// Remarks about unknown tags and the like are none of damage.
bool MeansDamage(ExceptionType severity) {
    return severity >= ErrorException || severity == CorruptImageWarning || severity == BlobWarning;
}

std::unique_ptr<Source> Open(const std::string &name, const std::vector<uint8_t> &bytes,
                             const std::string &format, const ReadOptions &options) {
    MagickException exception;
    monitored = &options;
    MagickImage image = Decode(bytes, format, &exception);
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
