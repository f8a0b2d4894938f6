// Which name the window offers for an image's JPEG.
#pragma once

#include <libgimp/gimp.h>

#include <string>

namespace kowen::gimp {

/// A path as GTK has it; the file need not exist.
struct OfferedFile {
    std::string folder;
    std::string name; ///< ends in .jpg
};

/// The file that the image was last exported to from the window; else that of its other exports, of
/// its import or of its own, with the ending .jpg; else Untitled.jpg beside the last export.
OfferedFile FileToOffer(gint32 image);

/// So that the same image is offered the same file, and the next one the same folder.
void RememberFile(gint32 image, const std::string &path);

/// The path with .jpg behind it unless it ends as a JPEG does.
std::string WithJpegEnding(const std::string &path);

/// Whether an export to the path would write over what is there: a JPEG, an empty file, a device.
/// Any other file is kept, and its export fails.
bool WouldReplace(const std::string &path);

} // namespace kowen::gimp
