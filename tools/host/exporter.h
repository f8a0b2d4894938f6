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

private:
    int width;
    int height;
    int depth;
    GlobalBlock pixels;
    GlobalBlock palette;
};

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
