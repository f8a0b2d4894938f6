#include "faults/documented_codes.h"

#include <algorithm>
#include <vector>

namespace kowen::test {
namespace {

constexpr int32_t kEncoderMemory = -1;

struct CodeRow {
    Step step;
    std::vector<FaultKind> kinds;
    std::vector<int32_t> codes;
};

const std::vector<FaultKind> kAny(std::begin(kAllKinds), std::end(kAllKinds));
const std::vector<FaultKind> kHeapFaults = {FaultKind::kHeap};
const std::vector<FaultKind> kDisk = {FaultKind::kFile, FaultKind::kShort, FaultKind::kDiskFull};
const std::vector<FaultKind> kHostFaults = {FaultKind::kHostZero, FaultKind::kHostError,
                                            FaultKind::kHostFewer, FaultKind::kHostMore};
const std::vector<FaultKind> kStop = {FaultKind::kCancel};

const CodeRow kRows[] = {
    {Step::kExportCellData, kHeapFaults, {KOWEN_ERR_OUTPUT}},
    {Step::kExportCellData, {FaultKind::kFile}, {KOWEN_ERR_OUTPUT}},
    {Step::kInitialise, kHeapFaults, {KOWEN_ERR_MEMORY}},
    {Step::kOpenDevice, kHeapFaults, {KOWEN_ERR_MEMORY, KOWEN_ERR_OUTPUT}},
    {Step::kOpenDevice, {FaultKind::kFile}, {KOWEN_ERR_OUTPUT}},
    {Step::kDrawCells, kHeapFaults, {KOWEN_ERR_MEMORY}},
    {Step::kWritePicture, kHeapFaults, {KOWEN_ERR_MEMORY, KOWEN_ERR_WORK_MEMORY, kEncoderMemory}},
    {Step::kWritePicture, kStop, {KOWEN_ERR_CANCELLED}},
    {Step::kCloseDevice, kHeapFaults, {KOWEN_ERR_OUTPUT}},
    {Step::kCloseDevice, kDisk, {KOWEN_ERR_OUTPUT}},
    {Step::kCloseDevice, kHostFaults, {KOWEN_ERR_OUTPUT}},
    {Step::kCloseDevice, kStop, {KOWEN_ERR_CANCELLED}},
    {Step::kInitialiseExport, kHeapFaults, {KOWEN_ERR_MEMORY_OUTPUT, KOWEN_ERR_OUTPUT}},
    {Step::kInitialiseExport, {FaultKind::kFile}, {KOWEN_ERR_OUTPUT}},
    // No metafile is recorded.
    {Step::kTerminateExport, kAny, {KOWEN_ERR_MEMORY, KOWEN_ERR_OUTPUT}},
};

// Only a host that goes on without an output: after an error, or because opening the device does
// not check what comes of an open through the host's procedure.
bool DrawsWithoutOutput(const ExportCase &given, Step step) {
    const bool draws = step == Step::kDrawCells || step == Step::kWritePicture;
    return draws && (given.door == DoorKind::kRasterBlunt || given.output == Output::kHost ||
                     given.output == Output::kHostUnnamed);
}

// Without a picture bitmap a cell array is written at once, as primitive -6 writes the bitmap.
bool IsAnsweredByTheWriting(const ExportCase &given, Step step) {
    return given.door == DoorKind::kRasterCells && step == Step::kDrawCells;
}

template <typename T> bool Has(const std::vector<T> &list, T value) {
    return std::find(list.begin(), list.end(), value) != list.end();
}

bool IsListed(Step step, FaultKind kind, int32_t code) {
    return std::any_of(std::begin(kRows), std::end(kRows), [&](const CodeRow &row) {
        return row.step == step && Has(row.kinds, kind) && Has(row.codes, code);
    });
}

// An open that the host's procedure refused without a name leaves nothing to write or close.
bool IsOfARefusedOpen(const ExportCase &given, StepAnswer answer, FaultKind kind) {
    return given.output == Output::kHostUnnamed && answer.step == Step::kExportCellData &&
           Has(kHostFaults, kind) && answer.code == KOWEN_ERR_OUTPUT;
}

} // namespace

bool IsDocumented(const ExportCase &given, StepAnswer answer, FaultKind kind) {
    if (answer.code == 0 && answer.step != Step::kTerminateExport)
        return true;
    return IsListed(answer.step, kind, answer.code) || IsOfARefusedOpen(given, answer, kind) ||
           (DrawsWithoutOutput(given, answer.step) && answer.code == KOWEN_ERR_OUTPUT) ||
           (IsAnsweredByTheWriting(given, answer.step) &&
            IsListed(Step::kWritePicture, kind, answer.code));
}

} // namespace kowen::test
