// A source as the host library's picture.
#pragma once

#include "host_library.h"
#include "options.h"
#include "readers/plain_rows.h"
#include "resize/resize_choice.h"

#include <exception>

namespace kowen::cli {

/// Opens a picture and puts the resizing before it that is asked for. The size is that of the
/// picture as it is shown, turned upright.
std::unique_ptr<Source> OpenResized(const std::string &path, const ResizeChoice &resize,
                                    const Settings &settings, const ReadOptions &reading);

/// A colour as the library gives it: "#rrggbb".
Rgb ParseColour(const std::string &text);

/// With --resize the pixels are what that says, and --dpi only states a resolution: gives the
/// picture the resolution that the settings ask for, at which its inches come to its own pixels.
void KeepPixels(const PictureOptions &options, KowenPicture *picture);

/// The picture's record and its row reader. The source is borrowed.
class PictureRows {
public:
    PictureRows(Source *source, const PictureOptions &options);

    const KowenPicture *Picture() const { return &picture; }

    /// Throws what the source threw when the library asked for a row.
    void Rethrow() const;

private:
    static int32_t ReadRow(void *context, uint32_t row, void *pixels);

    Source *source;
    KowenPicture picture = {};
    std::exception_ptr failure;
};

} // namespace kowen::cli
