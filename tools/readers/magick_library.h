// The part of the program that reads with GraphicsMagick. It lies in an object of its own, because
// loading the library takes longer than many an export.
#pragma once

#include "readers/source.h"

#include <memory>
#include <string>

namespace kowen::cli {

/// What the object offers, and what it needs of the program.
struct MagickLibrary {
    /// Reads a whole picture of a format. Throws Failure or Cancelled.
    /// name  of the file, for messages.
    std::unique_ptr<Source> (*open)(const std::string &name, const std::vector<uint8_t> &bytes,
                                    const std::string &format, const ReadOptions &options);

    /// Whether the library reads a format here.
    bool (*reads)(const std::string &format);
};

/// What the object calls the program for.
struct MagickHost {
    int (*cancelSignal)();
};

/// The object's only entry.
using MagickEntry = MagickLibrary (*)(const MagickHost &host);
inline constexpr const char *kMagickEntry = "KowenMagickLibrary";

/// Loads the object, once. Throws Failure when it or the library is not installed.
const MagickLibrary &LoadMagickLibrary();

} // namespace kowen::cli
