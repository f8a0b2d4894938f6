// GraphicsMagick's handles, owned. Only for the object that links the library.
#pragma once

#include "readers/magick_library.h"

#include <magick/api.h>

#include <memory>
#include <string>
#include <vector>

namespace kowen::cli {

struct DestroyMagickImage {
    void operator()(Image *image) const { DestroyImageList(image); }
};
using MagickImage = std::unique_ptr<Image, DestroyMagickImage>;

/// What the library found wrong.
class MagickException {
public:
    MagickException() { GetExceptionInfo(&info); }
    ~MagickException() { DestroyExceptionInfo(&info); }
    MagickException(const MagickException &) = delete;
    MagickException &operator=(const MagickException &) = delete;

    ExceptionInfo *Get() { return &info; }
    ExceptionType Severity() const { return info.severity; }

private:
    ExceptionInfo info;
};

/// The library's words for it, without the internal name of what was read.
std::string ReasonOf(const ExceptionInfo &exception);

/// A picture's rows.
/// name     of the file, for messages.
/// remarks  about the file, for the user.
std::unique_ptr<Source> MakeMagickSource(const std::string &name, MagickImage image,
                                         const std::string &format, const MagickHost &host,
                                         const std::vector<std::string> &remarks);

} // namespace kowen::cli
