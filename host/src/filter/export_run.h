// One call of the filter: a bitmap in, a JPEG out.
#pragma once

#include "base/progress.h"
#include "filter/cell_plan.h"
#include "picture/bitmap.h"
#include "stream/edited_stream.h"

namespace kowen::host {

/// Exports the bitmap, whose pixels may be changed by it and are lost when it fails.
///
/// name        for messages.
/// stream      takes the JPEG; finished when this returns.
/// progress    is told every few rows; once it does not go on, the filter is stopped.
/// moduleCode  out: what the module returned.
///
/// Throws Failure when the progress callback cancelled, the stream failed, the module refused, or
/// what it wrote is no whole JPEG or has a head that cannot be changed: the module itself does not
/// tell.
void RunExport(const FilterModule &module, const Bitmap &bitmap, const CellPlan &plan,
               const Page &page, const std::string &name, EditedStream *stream, Progress *progress,
               int32_t *moduleCode);

} // namespace kowen::host
