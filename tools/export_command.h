// kowen export: one picture to one JPEG.
#pragma once

#include "command.h"
#include "host/cell_plan.h"
#include "host/settings.h"

#include <string>

namespace kowen::host {

/// How the file comes out of the module.
enum class OutputRoute {
    kFile,    ///< through the host I/O procedure into a new file beside the target
    kMemory,  ///< through a block of the module's memory
    kCallback ///< through the host I/O procedure into the host's memory
};

/// Which of the module's doors the picture goes through.
enum class Door {
    kBitmap, ///< as one bitmap, with the size that it is to have
    kRaster  ///< drawn on the raster device, in strips
};

struct ExportOptions {
    CommonOptions common;
    std::string picture; ///< path, "-" = standard input
    std::string output;  ///< path, "-" = standard output
    Choices choices;
    std::string sizeText; ///< of --size, as given
    int depth = 0;        ///< 0 = the picture's own
    OutputRoute route = OutputRoute::kFile;
    Door door = Door::kBitmap;
    Page page;
    std::string profile; ///< empty = the module's own, when there is one
    std::string section;
    bool save = false;
    bool progress = true;
};

/// Throws HostError.
void RunExport(const ExportOptions &options);

} // namespace kowen::host
