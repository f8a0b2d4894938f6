// What the commands are told.
#pragma once

#include "host_library.h"
#include "resize/resize_choice.h"

#include <string>
#include <vector>

namespace kowen::cli {

/// Options of every command that needs the module or writes a report.
struct CommonOptions {
    std::string module; ///< path; empty = where the library looks for it
    bool json = false;
    bool quiet = false;
    bool progress = true;
};

/// How pictures are read and what is made of them; shared by export and estimate.
struct PictureOptions {
    Settings settings{SettingWords::kOptions};
    ResizeChoice resize;
    bool acceptTruncated = false;
    std::string note;    ///< about how a value was understood; empty = none
    std::string profile; ///< empty = the module's own, when there is one
    std::string section; ///< empty = the one that the profile names
};

struct ExportOptions {
    CommonOptions common;
    PictureOptions picture;
    std::vector<std::string> names; ///< of pictures; of two the second may be the output
    std::string output;             ///< of -o
    std::string folder;             ///< of --to
    bool recursive = false;
    bool force = false;
    bool update = false; ///< leave JPEGs that are not older than their pictures, replace others
    bool save = false;   ///< the settings, to the profile
    int workers = 0;     ///< 0 = one for each processor
};

struct EstimateOptions {
    CommonOptions common;
    PictureOptions picture;
    std::string name;
    std::string compare; ///< a PNG to make; empty = none
};

struct SetupOptions {
    CommonOptions common;
    std::string file;
    std::string section;
    std::vector<std::string> assignments; ///< key=value
};

} // namespace kowen::cli
