// Exports that are given up: what is left of the picture is not coded for nobody.
#include "filter/export_run.h"

#include "base/failure.h"
#include "output/sink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

namespace kowen::host {
namespace {

constexpr uint32_t kColumns = 512, kRows = 512;
constexpr uint8_t kWhite = 255;

const FilterModule &Filter() {
    static const FilterModule module(KOWEN_MODULE);
    return module;
}

Bitmap WhiteBitmap() {
    Bitmap bitmap(Filter(), kColumns, kRows, 24, {});
    for (uint32_t y = 0; y < kRows; ++y)
        std::memset(bitmap.Row(y), kWhite, size_t{kColumns} * 3);
    return bitmap;
}

CellPlan CellOf(int32_t operation) {
    ExportSettings settings;
    settings.filter.operation = operation;
    return PlanExactCell(settings, {kColumns, kRows, 0, 0});
}

// Rows of a white picture that the filter found black. It leaves its samples in the pixels' place:
// the luminance of a white one is 255 as well. The block's first and last pages are not all its
// own, so its first and last rows may stay.
uint32_t RowsGivenUp(const Bitmap &bitmap) {
    uint32_t rows = 0;
    for (uint32_t y = 0; y < kRows; ++y)
        rows += std::none_of(bitmap.Row(y), bitmap.Row(y) + size_t{kColumns} * 3,
                             [](uint8_t byte) { return byte == kWhite; });
    return rows;
}

const HeadEdits kNoEdits; // the stream borrows it

constexpr uint32_t kRowsInOnePage = 3;
constexpr uint32_t kLeastRowsGivenUp = kRows - 2 * kRowsInOnePage;

int32_t CancelAtOnce(void *context, double) {
    // The first question is whether to begin.
    return ++*static_cast<int *>(context) > 1 ? 1 : 0;
}

TEST(RunExport, GivesUpThePixelsWhenItIsCancelled) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const Bitmap bitmap = WhiteBitmap();
        int calls = 0;
        const KowenProgress given = {sizeof given, CancelAtOnce, &calls};
        Progress progress(&given);
        MemorySink sink;
        EditedStream stream(&sink, kNoEdits);
        int32_t code = 0;
        EXPECT_THROW(
            RunExport(Filter(), bitmap, CellOf(operation), {}, "a.jpg", &stream, &progress, &code),
            Failure);
        EXPECT_GE(RowsGivenUp(bitmap), kLeastRowsGivenUp) << operation;
        EXPECT_EQ(calls, 2) << operation;
    }
}

TEST(RunExport, GivesUpThePixelsWhenTheOutputTakesNoMore) {
    const Bitmap bitmap = WhiteBitmap();
    Progress progress(nullptr);
    MemorySink sink(100);
    EditedStream stream(&sink, kNoEdits);
    int32_t code = 0;
    EXPECT_THROW(RunExport(Filter(), bitmap, CellOf(KOWEN_OPERATION_SEQUENTIAL), {}, "a.jpg",
                           &stream, &progress, &code),
                 Failure);
    EXPECT_GE(RowsGivenUp(bitmap), kLeastRowsGivenUp);
}

TEST(RunExport, LeavesThePixelsOfAnExportThatGoesWell) {
    const Bitmap bitmap = WhiteBitmap();
    Progress progress(nullptr);
    MemorySink sink;
    EditedStream stream(&sink, kNoEdits);
    int32_t code = 0;
    RunExport(Filter(), bitmap, CellOf(KOWEN_OPERATION_SEQUENTIAL), {}, "a.jpg", &stream, &progress,
              &code);
    EXPECT_EQ(RowsGivenUp(bitmap), 0U);
}

} // namespace
} // namespace kowen::host
