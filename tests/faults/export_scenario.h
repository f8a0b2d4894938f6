// One picture through one of the doors.
#pragma once

#include "faults/scenario.h"
#include "kowen/codes.h"
#include "support/bitmaps.h"

#include <cstdint>
#include <memory>
#include <string>

namespace kowen::test {

enum class DoorKind {
    kBitmap,      ///< ExportCellData
    kRaster,      ///< the raster device, in strips into a picture bitmap
    kRasterBlunt, ///< the same by a host that goes on whatever a request answers
    kRasterCells, ///< the raster device, one cell array without a picture bitmap
    kExport       ///< the export device: opens and closes, draws nothing
};
enum class Output {
    kFile,
    kFileWithoutInput, ///< in a process that has closed its standard input
    kMemory,
    kHost,
    kHostUnnamed
};
enum class Pattern { kSoft, kNoise };

/// A row of the tables in scenarios.cpp.
struct ExportCase {
    DoorKind door;
    Output output;
    int depth;
    int width;
    int height;
    Pattern pattern; ///< of 24-bit pictures; the others are noise
    int colorFormat;
    int operation;
    int quality;
    int targetWidth; ///< 0: as the picture. A device gets a page of that size
    int targetHeight;
    uint32_t bytes;    ///< of the right file; 0: not stated
    uint64_t checksum; ///< Fnv1a of it
};

/// Fowler, Noll and Vo's hash of 64 bits, form 1a.
uint64_t Fnv1a(const std::string &bytes);

std::string NameOf(const ExportCase &given);

/// Of pictures, cells and pages.
inline constexpr int kDotsPerInch = 100;

/// The picture that the case draws.
TestBitmap PictureOf(const ExportCase &given);

/// The right file by the reference implementation of the bitmap door, for the colour formats that
/// it knows.
std::string PlainFile(const ExportCase &given);

/// The same of a picture whose pixels are not to be had: headers and end.
std::string PlainFileWithoutPixels(const ExportCase &given);

/// Whether it ends as a finished JPEG does.
bool IsWhole(const std::string &jpeg);

std::unique_ptr<Scenario> MakeExportScenario(const ExportCase &given);

} // namespace kowen::test
