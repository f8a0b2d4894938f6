// Exports that are given up: what is left of the picture is not coded for nobody.
#include "filter/export_run.h"

#include "base/failure.h"
#include "output/sink.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>

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

int32_t Remember(void *context, double fraction) {
    static_cast<std::vector<double> *>(context)->push_back(fraction);
    return 0;
}

TEST(RunExport, TellsLessThanAll) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        const Bitmap bitmap = WhiteBitmap();
        std::vector<double> told;
        KowenProgress given = {};
        given.size = sizeof given;
        given.callback = Remember;
        given.context = &told;
        Progress progress(&given);
        MemorySink sink;
        EditedStream stream(&sink, kNoEdits);
        int32_t code = 0;
        RunExport(Filter(), bitmap, CellOf(operation), {}, "a.jpg", &stream, &progress, &code);
        ASSERT_GT(told.size(), 1U);
        EXPECT_TRUE(std::is_sorted(told.begin(), told.end()));
        EXPECT_GT(told.back(), 0);
        EXPECT_LT(told.back(), 1);
    }
}

// What another module might write: SOI, a frame header of 8 x 8 pixels and one component, a scan of
// one byte, EOI. It has no JFIF header.
const std::vector<uint8_t> kForeign = {0xFF, 0xD8,                                          // SOI
                                       0xFF, 0xC0, 0, 11, 8, 0, 8, 0, 8,  1, 1,    0x11, 0, // SOF0
                                       0xFF, 0xDA, 0, 8,  1, 1, 0, 0, 63, 0, 0x12, 0xFF,    // SOS
                                       0xD9};                                               // EOI

HostIoProcedure givenIo = nullptr;

int32_t TakeIo(MemoryHandle, int32_t, uint32_t, const void *procedure, void *, int32_t) {
    givenIo = reinterpret_cast<HostIoProcedure>(const_cast<void *>(procedure));
    return 0;
}

int32_t WriteForeign(const char *, BitmapRecord *, const CellRecord *, const HostRecord *host) {
    const uintptr_t context = host->exportRecord->ioContext;
    std::vector<uint8_t> bytes = kForeign;
    givenIo(context, KOWEN_IO_WRITE, bytes.data(), static_cast<int32_t>(bytes.size()));
    return KOWEN_OK;
}

// Runs the export of a module that writes the foreign stream. Returns the failure's code, or 0.
int32_t RunForeign(const HeadEdits &edits, MemorySink *sink, std::string *message) {
    FilterModule module(KOWEN_MODULE);
    module.escapeSetup = TakeIo;
    module.exportCellData = WriteForeign;
    Progress progress(nullptr);
    EditedStream stream(sink, edits);
    int32_t code = 0;
    try {
        RunExport(module, WhiteBitmap(), CellOf(KOWEN_OPERATION_SEQUENTIAL), {}, "a.jpg", &stream,
                  &progress, &code);
    } catch (const Failure &failure) {
        *message = failure.what();
        return failure.Code();
    }
    return KOWEN_HOST_OK;
}

TEST(RunExport, FailsWhenTheHeadCannotBeChanged) {
    HeadEdits height, metadata;
    height.height = 7;
    metadata.segments = {0xFF, 0xFE, 0, 3, 'x'};
    for (const HeadEdits &edits : {height, metadata}) {
        MemorySink sink;
        std::string message;
        EXPECT_EQ(RunForeign(edits, &sink, &message), KOWEN_HOST_ERR_EXPORT);
        EXPECT_EQ(message,
                  "a.jpg: the head of what the module writes is not as this library knows it, so "
                  "size, resolution and metadata cannot be put there; use the module that belongs "
                  "to this library");
        EXPECT_EQ(sink.Size(), 0U);
    }
}

TEST(RunExport, LeavesAHeadAloneThatNothingIsToBeChangedIn) {
    MemorySink sink;
    std::string message;
    EXPECT_EQ(RunForeign(kNoEdits, &sink, &message), KOWEN_HOST_OK) << message;
    EXPECT_EQ(std::vector<uint8_t>(sink.Data(), sink.Data() + sink.Size()), kForeign);
}

// A head that does not end is not kept for ever.
TEST(EditedStream, GivesUpAHeadThatIsTooLong) {
    HeadEdits edits;
    edits.eightBits = true;
    MemorySink sink;
    EditedStream stream(&sink, edits);
    std::vector<uint8_t> piece = {0xFF, 0xD8, 0xFF, 0xE2, 0xFF, 0xFF}; // a segment of 65535 bytes
    piece.resize(65535);
    EXPECT_EQ(stream.Write(piece.data(), piece.size()), 0);
    EXPECT_FALSE(stream.HeadUnknown());
    EXPECT_NE(stream.Write(piece.data(), 1), 0);
    EXPECT_TRUE(stream.HeadUnknown());
    EXPECT_NE(stream.Finish(), 0);
    EXPECT_EQ(sink.Size(), 0U);
}

} // namespace
} // namespace kowen::host
