// One call of the filter: a picture in, a JPEG out.
#pragma once

#include "host/byte_store.h"
#include "host/cell_plan.h"
#include "host/module.h"
#include "host/picture.h"
#include "host/progress.h"

#include <cstdint>
#include <vector>

namespace kowen::host {

/// A picture in the module's memory, ready to be exported.
class Bitmap {
public:
    /// Takes the picture's rows, in the colour mode given. Throws HostError or Cancelled.
    Bitmap(const FilterModule &module, Picture *picture, int32_t colourMode);

    BitmapRecord Record() const;

    int Width() const { return width; }
    int Height() const { return height; }
    int Depth() const { return depth; }

    /// A row, padded to 4 bytes, and behind it the ones above; row 0 is the bottom of the picture.
    const uint8_t *Row(int row) const {
        return pixels.Data() + rowBytes * static_cast<size_t>(row);
    }

    /// The colours, red, green and blue each; null and 0 at 24 and 32 bits.
    const uint8_t *Palette() const { return palette.Data(); }
    size_t Colours() const { return depth < 24 ? size_t{1} << depth : 0; }

private:
    int width;
    int height;
    int depth;
    size_t rowBytes;
    GlobalBlock pixels;
    GlobalBlock palette;
};

/// The status callback of an export: shows the percentage and answers whether to stop.
/// context  the address of a Progress.
int32_t OnExportStatus(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                       int32_t percent, int32_t value3, void *reply);

/// An export through one setup.
class Exporter {
public:
    Exporter(const FilterModule &filter, const Setup &exportSetup, Progress *shownProgress)
        : module(filter), setup(exportSetup), progress(shownProgress) {}

    /// Exports through the host I/O procedure into a store.
    /// Throws Cancelled, or HostError when the filter refuses. The result says nothing about
    /// whether the file is whole: the filter does not tell; see CheckJpeg and ByteStore::Finish.
    void ToStore(const Bitmap &bitmap, const CellPlan &plan, const Page &page, ByteStore *store);

    /// Exports to a block of the module's memory and returns the file in it.
    std::vector<uint8_t> ToMemory(const Bitmap &bitmap, const CellPlan &plan, const Page &page);

private:
    int32_t Run(const char *name, const Bitmap &bitmap, const CellPlan &plan, const Page &page,
                ExportRecord *record);

    const FilterModule &module;
    const Setup &setup;
    Progress *progress;
};

} // namespace kowen::host
