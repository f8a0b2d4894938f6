// The bitmap door from within: the state it leaves and memory that runs out. What hosts see of it
// is tested through the module.
#include "export/bitmap_door.h"

#include "platform/global_memory.h"
#include "reference/jpeg/encoder.h"
#include "support/bitmaps.h"
#include "support/current_setup.h"
#include "support/failing_memory.h"
#include "support/heap_use.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <vector>

#include <gtest/gtest.h>

namespace kowen {
namespace {

using Bytes = std::vector<uint8_t>;

/// A host with one bitmap to export.
class Host {
public:
    explicit Host(const TestBitmap &source, int targetWidth = 0, int targetHeight = 0)
        : pixels_(source.pixels) {
        bitmap.depth = static_cast<uint16_t>(source.depth);
        bitmap.width = static_cast<uint16_t>(source.width);
        bitmap.height = static_cast<uint16_t>(source.height);
        bitmap.pixels = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(source.pixels.size()));
        cell.resolution = 96;
        cell.targetResolution = 96;
        cell.targetWidth = targetWidth != 0 ? targetWidth : source.width;
        cell.targetHeight = targetHeight != 0 ? targetHeight : source.height;
        cell.pageWidth = 640;
        cell.pageHeight = 480;
    }
    ~Host() { GlobalFree(bitmap.pixels); }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    int32_t Export(const char *name, MemoryHandle setup) {
        std::copy(pixels_.begin(), pixels_.end(), Lock<uint8_t>(bitmap.pixels));
        HostRecord host = {};
        host.setup = setup;
        host.exportRecord = &record;
        return ExportCellData(name, &bitmap, &cell, &host);
    }
    Bytes TakeBlock() {
        const auto *bytes = Lock<uint8_t>(record.memoryBlock);
        const Bytes block(bytes, bytes + GlobalSize(record.memoryBlock));
        GlobalFree(record.memoryBlock);
        record.memoryBlock = 0;
        return block;
    }

    BitmapRecord bitmap = {};
    CellRecord cell = {};
    ExportRecord record = {};

private:
    Bytes pixels_;
};

TEST(BitmapDoor, MakesTheSetupCurrent) {
    const CurrentSetup setup;
    const MemoryHandle handle = setup.Handle();
    SetupRecord *record = lpRaster;
    hRaster = 0;
    lpRaster = nullptr;
    Host host(MakeNoise(16, 8));
    EXPECT_EQ(host.Export("", handle), 0);
    host.TakeBlock();
    EXPECT_EQ(hRaster, handle);
    EXPECT_EQ(lpRaster, record);
}

// Nothing of the host's is remembered: its records may end with the call.
TEST(BitmapDoor, ClearsTheExportRecordAndTheOutput) {
    const CurrentSetup setup;
    const TempDirectory directory;
    Host host(MakeNoise(16, 8));
    EXPECT_EQ(host.Export("", setup.Handle()), 0);
    host.TakeBlock();
    EXPECT_EQ(setup->exportRecord, nullptr);
    EXPECT_EQ(setup->header.outputFile, 0u);
    EXPECT_EQ(host.Export(directory.File("a.jpg").c_str(), setup.Handle()), 0);
    EXPECT_EQ(setup->exportRecord, nullptr);
    EXPECT_EQ(setup->header.outputFile, 0u);
    EXPECT_EQ(host.Export(directory.Path().c_str(), setup.Handle()), 303);
    EXPECT_EQ(setup->exportRecord, nullptr);
}

TEST(BitmapDoor, ReplacesTheNameOfTheExportBefore) {
    const CurrentSetup setup;
    const TempDirectory directory;
    Host host(MakeNoise(16, 8));
    for (const char *name : {"", static_cast<const char *>(nullptr)}) {
        EXPECT_EQ(host.Export(directory.File("a.jpg").c_str(), setup.Handle()), 0);
        EXPECT_EQ(host.record.memoryBlock, 0u);
        EXPECT_EQ(host.Export(name, setup.Handle()), 0);
        EXPECT_NE(host.record.memoryBlock, 0u);
        host.TakeBlock();
    }
}

// The block of an earlier export, which the host has freed, is not taken for this one's.
TEST(BitmapDoor, MemoryOutputThatCannotBeOpenedClearsTheBlocksPlace) {
    const CurrentSetup setup;
    Host host(MakeNoise(16, 8));
    for (const int failing : {1, 2}) { // the block; the file record
        host.record.memoryBlock = 77;
        const FailingMemory memory(failing);
        EXPECT_EQ(host.Export("", setup.Handle()), 303);
        EXPECT_EQ(host.record.memoryBlock, 0u) << failing;
    }
}

TEST(BitmapDoor, WithoutASetupTheCurrentOneStays) {
    const CurrentSetup setup;
    SetupRecord *record = lpRaster;
    Host host(MakeNoise(16, 8));
    EXPECT_EQ(host.Export("", 0), 22);
    EXPECT_EQ(lpRaster, record);
}

MemoryHandle setupOfTheExport = 0;
int32_t answersInside[2] = {};

int32_t TakeAwayAndExportAgain(uintptr_t, int32_t, int32_t, int32_t, int32_t, int32_t, void *) {
    answersInside[0] = DestroySetup(setupOfTheExport);
    Host other(MakeNoise(8, 8));
    answersInside[1] = other.Export("", setupOfTheExport);
    const CurrentSetup another(KOWEN_FORMAT_GREY);
    EXPECT_EQ(other.Export("", another.Handle()), 0);
    other.TakeBlock();
    return 0;
}

// A callback cannot take the setup away, nor use it for another export; other setups are free.
TEST(BitmapDoor, SurvivesACallbackThatComesBackIn) {
    const CurrentSetup setup;
    Host host(MakeNoise(16, 8));
    EXPECT_EQ(host.Export("", setup.Handle()), 0);
    const Bytes undisturbed = host.TakeBlock();
    setupOfTheExport = setup.Handle();
    host.record.statusCallback = TakeAwayAndExportAgain;
    EXPECT_EQ(host.Export("", setup.Handle()), 0);
    EXPECT_EQ(answersInside[0], 1);
    EXPECT_EQ(answersInside[1], 303);
    EXPECT_EQ(host.TakeBlock(), undisturbed);
    EXPECT_EQ(hRaster, setup.Handle());
}

// The k-th allocation fails, for every k: the answer is 0 or 303, and a block that is named is
// a block. The pictures need none, some and all of the conversions.
void ExpectEveryFailureIsSurvived(const TestBitmap &source, int targetWidth, int targetHeight,
                                  int32_t operation) {
    const CurrentSetup setup(KOWEN_FORMAT_YCC422, operation);
    Host host(source, targetWidth, targetHeight);
    int failures = 0;
    for (int k = 1;; ++k) {
        FailingMemory memory(k);
        const int32_t result = host.Export("", setup.Handle());
        if (!memory.Failed()) {
            EXPECT_EQ(result, 0);
            host.TakeBlock();
            break;
        }
        ++failures;
        EXPECT_TRUE(result == 0 || result == 303) << k << ": " << result;
        if (result == 303) {
            EXPECT_EQ(host.record.memoryBlock, 0u) << k;
        }
        if (host.record.memoryBlock != 0)
            host.TakeBlock();
        EXPECT_EQ(setup->exportRecord, nullptr) << k;
        EXPECT_EQ(setup->header.outputFile, 0u) << k;
        ASSERT_LT(k, 1000);
    }
    EXPECT_GE(failures, 9);
}

TEST(BitmapDoor, EveryFailedAllocationIsSurvived) {
    for (const int32_t operation : {KOWEN_OPERATION_SEQUENTIAL, KOWEN_OPERATION_PROGRESSIVE}) {
        ExpectEveryFailureIsSurvived(MakeNoise(64, 64), 0, 0, operation);
        ExpectEveryFailureIsSurvived(MakeNoise(64, 64), 31, 45, operation);
        ExpectEveryFailureIsSurvived(MakeNoise(16, 16), 50, 41, operation);
        ExpectEveryFailureIsSurvived(MakeIndexed(8, 32, 32), 16, 60, operation);
        ExpectEveryFailureIsSurvived(MakeNoise(32, 32, 1, 32), 32, 33, operation);
    }
}

TEST(BitmapDoor, LeaksNothingWhateverFails) {
    const CurrentSetup setup;
    Host host(MakeIndexed(8, 32, 32), 40, 21);
    for (int failing = 0; failing < 40; ++failing) {
        ExpectNothingLeaks([&] {
            const FailingMemory memory(failing);
            host.Export("", setup.Handle());
            if (host.record.memoryBlock != 0)
                host.TakeBlock();
        });
    }
}

} // namespace
} // namespace kowen
