// The requests with which a host draws one picture on a device, and what each of them answered.
#pragma once

#include "faults/export_scenario.h"
#include "kowen/records.h"
#include "raster/device.h"

#include <string>
#include <vector>

namespace kowen::test {

/// Steps whose answers are told apart. kPlain: a request that cannot fail.
enum class Step {
    kExportCellData,
    kInitialise,
    kOpenDevice,
    kDrawCells,
    kWritePicture,
    kCloseDevice,
    kTerminate,
    kInitialiseExport,
    kTerminateExport,
    kPlain
};

struct StepAnswer {
    Step step;
    int32_t code;
};
using StepAnswers = std::vector<StepAnswer>;

/// Draws on a device in two strips and closes it. A blunt host goes on after a failed request, any
/// other goes straight to the close. memory: takes the bytes of memory output, before termination.
StepAnswers DrawOnDevice(const ExportCase &given, const TestBitmap &bitmap, OpenRecord *record,
                         std::string *memory);

/// Opens and closes the export device.
StepAnswers OpenExportDevice(OpenRecord *record);

/// The bytes of a block of global memory.
std::string BlockBytes(MemoryHandle block);

/// The JPEG in the block of a memory output; a remark when there is one without the 255 behind it.
std::string JpegInBlock(const std::string &block, std::string *wrong);

} // namespace kowen::test
