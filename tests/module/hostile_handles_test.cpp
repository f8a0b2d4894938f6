// Hosts that pass nothing where something is wanted, or what is no longer there.
#include "module/hostile_host.h"
#include "support/hex.h"

#include <map>

namespace {

using namespace kowen::test;

class HostileHandles : public HostileHost {
protected:
    HostileDevice raster{host.module, "RASTER_dd_entry"};
    HostileDevice exporter{host.module, "dd_entry"};
};

TEST_F(HostileHandles, SetupEntriesRefuseHandleZero) {
    EXPECT_EQ(editSetup(0, 1), -1);
    EXPECT_EQ(host.destroySetup(0), 1);
    for (int code = -1; code <= 100; ++code)
        EXPECT_EQ(host.escapeSetup(0, code, 4, nullptr, nullptr, 1), -1) << code;
}

TEST_F(HostileHandles, EscapesWithoutPointersAreRejected) {
    for (int code = -1; code <= 100; ++code) {
        static const std::map<int, int32_t> kAnswers = {
            {1, -1},  {9, -1}, {11, -1}, {12, -1}, {13, -1}, {14, -1}, {16, -1}, {17, -1}, {18, -1},
            {19, -1}, {25, 1}, {26, -1}, {44, -1}, {45, -1}, {46, -1}, {56, -1}, {57, -1}, {81, 1}};
        const auto known = kAnswers.find(code);
        const int32_t expected = known != kAnswers.end() ? known->second : 0;
        EXPECT_EQ(host.escapeSetup(setup, code, 4, nullptr, nullptr, 1), expected) << code;
    }
    EXPECT_EQ(Export(plain, setup).jpeg, plain.jpeg);
}

TEST_F(HostileHandles, EscapesOfAWrongSizeReadNothing) {
    const GuardedBytes nothing(nullptr, 0); // every byte of it is forbidden
    for (const uint32_t size : {0u, 1u, 3u, 5u, 7u, 9u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        for (const int code : {1, 9, 11, 12, 13, 14, 44})
            EXPECT_EQ(host.escapeSetup(setup, code, size, nothing.Data(), nothing.Data(), 1), -1);
        for (const int code : {18, 19, 46, 57, 81})
            EXPECT_EQ(host.escapeSetup(setup, code, size, nothing.Data(), nothing.Data(), 1), 1);
    }
    EXPECT_EQ(Export(plain, setup).jpeg, plain.jpeg);
}

TEST_F(HostileHandles, EscapesReadAndWriteNoByteMore) {
    const int32_t mode = 102;
    const GuardedBytes four(&mode, 4);
    const double inches = 2.5;
    const GuardedBytes eight(&inches, 8);
    EXPECT_EQ(host.escapeSetup(setup, 1, 4, four.Data(), nullptr, 0), 1);
    EXPECT_EQ(host.escapeSetup(setup, 13, 8, eight.Data(), nullptr, 0), 1);
    for (const int code : {26, 45, 57})
        EXPECT_EQ(host.escapeSetup(setup, code, 4, nullptr, four.Data(), 0), 1);
    EXPECT_EQ(host.escapeSetup(setup, 16, 0, nullptr, eight.Data(), 0), 1);
    const GuardedBytes sixteen(plain.jpeg.data(), 16);
    EXPECT_EQ(host.escapeSetup(setup, 17, 0, nullptr, sixteen.Data(), 0), 1);
    const RasterQuery query = {96, 0, 96, 16, 8, 640, 480};
    const GuardedBytes in(&query, sizeof query);
    const GuardedBytes out(&query, sizeof(RasterAnswer));
    EXPECT_EQ(editSetup(setup, 0), 0);
    EXPECT_EQ(host.escapeSetup(setup, 56, 0, in.Data(), out.Data(), 0), 1);
    const int32_t answer[3] = {16, 8, 24};
    EXPECT_EQ(std::memcmp(out.Data(), answer, sizeof answer), 0);
}

TEST_F(HostileHandles, ExportsWithoutRecordsAreRefused) {
    BitmapRecord bitmap = {};
    HostRecord record = {};
    record.setup = setup;
    const CellRecord &cell = plain.cell;
    EXPECT_EQ(host.exportCellData(nullptr, nullptr, nullptr, nullptr), 22);
    EXPECT_EQ(host.exportCellData("x", &bitmap, &cell, nullptr), 22);
    EXPECT_EQ(host.exportCellData("x", nullptr, &cell, &record), 300);
    EXPECT_EQ(host.exportCellData("x", &bitmap, nullptr, &record), 300);
    EXPECT_EQ(host.exportCellData(nullptr, &bitmap, &cell, &record), 303);
    record.setup = 0;
    EXPECT_EQ(host.exportCellData("x", &bitmap, &cell, &record), 22);
}

TEST_F(HostileHandles, TheRecordsOfAnExportAreReadToTheirEndAndNoFurther) {
    const ExportBytes &pixels = plain.bitmap.pixels;
    const MemoryHandle block = host.MakeBlock(pixels);
    BitmapRecord bitmap = {24, 16, 8, 0, 0, 0, 0, block};
    HostRecord record = {};
    record.setup = setup;
    ExportRecord exportRecord = {};
    const GuardedBytes guardedExport(&exportRecord, sizeof exportRecord);
    record.exportRecord = reinterpret_cast<ExportRecord *>(guardedExport.Data());
    const GuardedBytes guardedBitmap(&bitmap, sizeof bitmap);
    const GuardedBytes guardedCell(&plain.cell, sizeof plain.cell);
    const GuardedBytes guardedHost(&record, sizeof record);
    const GuardedBytes name(Path("a.jpg").c_str(), Path("a.jpg").size() + 1);
    EXPECT_EQ(host.exportCellData(name.Text(),
                                  reinterpret_cast<BitmapRecord *>(guardedBitmap.Data()),
                                  reinterpret_cast<CellRecord *>(guardedCell.Data()),
                                  reinterpret_cast<HostRecord *>(guardedHost.Data())),
              0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    host.free(block);
}

TEST_F(HostileHandles, ShortDoorsIgnoreWhatTheyDoNotKnow) {
    for (const char *name : {"dd_entry", "RASTER_dd_entry"}) {
        const auto door = host.module.Entry<ShortDoorFunction>(name);
        for (int function = -5; function <= 5; ++function)
            EXPECT_EQ(door(static_cast<int16_t>(function), nullptr, 0), 0);
    }
}

TEST_F(HostileHandles, DeviceDoorsWithoutARecordAnswer) {
    EXPECT_EQ(raster.Call(KOWEN_DD_INITIALISE, nullptr), 300);
    EXPECT_EQ(exporter.Call(KOWEN_DD_INITIALISE, nullptr), 22);
    for (const HostileDevice *device : {&raster, &exporter}) {
        EXPECT_EQ(device->Call(KOWEN_DD_DISPATCH, nullptr), 0);
        EXPECT_EQ(device->Call(KOWEN_DD_VERSION, nullptr), 0);
        EXPECT_EQ(device->Call(KOWEN_DD_NOTHING, nullptr), 0);
        EXPECT_EQ(device->Call(4711, nullptr), 0);
    }
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(exporter.Terminate(), 300);
}

TEST_F(HostileHandles, ADeviceWithoutSetupOrRecordsDrawsNothing) {
    ASSERT_EQ(raster.Initialise(0, Path("a.jpg")), 0);
    EXPECT_EQ(RunAll(raster, DrawingRequests(plain.bitmap)),
              (std::vector<int32_t>{0, 0, 0, 0, 0, 0, 0, 300, 0, 0}));
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), ExportBytes{});
}

TEST_F(HostileHandles, AnExportDeviceWithoutSetupIsRefused) {
    EXPECT_EQ(exporter.Initialise(0, Path("a.jpg")), 22);
    EXPECT_FALSE(host.directory.Has("a.jpg"));
    EXPECT_EQ(exporter.Terminate(), 300);
}

TEST_F(HostileHandles, ASetupDestroyedUnderItsDeviceIsForgotten) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    const std::vector<Request> requests = DrawingRequests(plain.bitmap);
    for (size_t i = 0; i < 6; ++i)
        EXPECT_EQ(raster.Run(requests[i]), 0);
    EXPECT_EQ(host.destroySetup(setup), 0);
    setup = 0;
    EXPECT_EQ(RunAll(raster, {requests.begin() + 6, requests.end()}),
              (std::vector<int32_t>{0, 300, 0, 0}));
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), ExportBytes{});
}

TEST_F(HostileHandles, ASetupDestroyedUnderItsExportDeviceIsForgotten) {
    ASSERT_EQ(exporter.Initialise(setup, Path("a.jpg")), 0);
    EXPECT_EQ(host.destroySetup(setup), 0);
    setup = 0;
    EXPECT_EQ(exporter.Run(kOpenDevice), 0);
    EXPECT_EQ(exporter.Terminate(), 300);
    EXPECT_TRUE(host.directory.Has("a.jpg"));
}

TEST_F(HostileHandles, AnExportRecordMayGoAfterTheDeviceHasEnded) {
    {
        const GuardedBytes record(&mischief.record, sizeof mischief.record);
        auto *guarded = reinterpret_cast<ExportRecord *>(record.Data());
        EXPECT_EQ(Draw(plain, setup, guarded), plain.jpeg);
        EXPECT_EQ(mischief.commands, "000"); // the range, the band and the close
        EXPECT_EQ(exporter.Initialise(setup, Path("a.jpg"), guarded), 0);
        EXPECT_EQ(exporter.Terminate(), 300);
    }
    EXPECT_EQ(Draw(plain, setup), plain.jpeg);
    EXPECT_EQ(Export(plain, setup).jpeg, plain.jpeg);
    EXPECT_EQ(mischief.commands, "000");
}

TEST_F(HostileHandles, DestroyingAnySetupLeavesNoneCurrent) {
    const RasterQuery query = {96, 0, 96, 16, 8, 640, 480};
    RasterAnswer answer = {7, 7, 7};
    EXPECT_EQ(editSetup(setup, 0), 0);
    EXPECT_EQ(host.destroySetup(otherSetup), 0);
    otherSetup = 0;
    EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_RASTER_QUERY, 0, &query, &answer, 0), 1);
    EXPECT_EQ(answer.width, 7);
    EXPECT_EQ(answer.bitsPerPixel, 7);
}

TEST_F(HostileHandles, SizesWithoutRoomAreNotAnswered) {
    for (const char *name : {"GetDisplayInfo", "GetPrinterInfo"}) {
        const auto get = host.module.Symbol<GetDisplayInfoFunction>(name);
        EXPECT_EQ(get(nullptr, nullptr, nullptr, nullptr), 0);
    }
    const auto scale = host.module.Symbol<ScaleImageSizeFunction>("ScaleImageSize");
    double large = 44;
    EXPECT_EQ(scale(nullptr, nullptr), 0);
    EXPECT_EQ(scale(&large, nullptr), 0);
    EXPECT_EQ(scale(nullptr, &large), 0);
    EXPECT_EQ(large, 44);
}

TEST_F(HostileHandles, MemoryFunctionsTakeNothing) {
    const ModuleHost &module = host.module;
    EXPECT_EQ(host.lock(0), nullptr);
    EXPECT_EQ(module.Symbol<GlobalUnlockFunction>("GlobalUnlock")(0), 0);
    EXPECT_EQ(host.free(0), 0);
    EXPECT_EQ(host.size(0), 0u);
    EXPECT_EQ(module.Symbol<GlobalReAllocFunction>("GlobalReAlloc")(0, 10, 66), MemoryHandle{0});
    EXPECT_EQ(module.Symbol<GlobalHandleFunction>("GlobalHandle")(nullptr), MemoryHandle{0});
    EXPECT_EQ(module.Symbol<GlobalCompactFunction>("GlobalCompact")(0), 65536u);
    const MemoryHandle empty = host.alloc(66, 0);
    EXPECT_NE(host.lock(empty), nullptr);
    EXPECT_EQ(host.size(empty), 0u);
    host.free(empty);
}

TEST_F(HostileHandles, WrappedMemoryThatIsNotThereIsNoSetup) {
    const auto wrap = host.module.Symbol<GlobalPointerToHandleFunction>("GlobalPointerToHandle");
    const MemoryHandle nowhere = wrap(nullptr, 1000);
    EXPECT_EQ(host.lock(nowhere), nullptr);
    EXPECT_EQ(editSetup(nowhere, 1), -1);
    EXPECT_EQ(host.destroySetup(nowhere), 1);
    EXPECT_EQ(host.escapeSetup(nowhere, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, nullptr, 0), -1);
    EXPECT_EQ(Export(plain, nowhere).result, 22);
    EXPECT_EQ(exporter.Initialise(nowhere, ""), 22);
    host.free(nowhere);
}

TEST_F(HostileHandles, WrappedMemoryIsReallocatedAsACopy) {
    const auto wrap = host.module.Symbol<GlobalPointerToHandleFunction>("GlobalPointerToHandle");
    const auto realloc = host.module.Symbol<GlobalReAllocFunction>("GlobalReAlloc");
    const GuardedBytes mine("0123456789", 10);
    for (const uint32_t size : {0u, 1u, 10u, 4096u}) {
        const MemoryHandle copy = realloc(wrap(mine.Data(), mine.Size()), size, 66);
        ASSERT_NE(copy, MemoryHandle{0});
        const ExportBytes bytes = host.BlockBytes(copy);
        ASSERT_EQ(bytes.size(), size);
        ExportBytes expected(mine.Data(), mine.Data() + mine.Size());
        expected.resize(size);
        EXPECT_EQ(bytes, expected);
        host.free(copy);
    }
    EXPECT_EQ(std::memcmp(mine.Data(), "0123456789", 10), 0);
}

TEST_F(HostileHandles, ABlockLargerThanMemoryIsRefusedWithAMessage) {
    testing::internal::CaptureStdout();
    const MemoryHandle block = host.alloc(66, 0xFFFFFFFF);
    const std::string message = testing::internal::GetCapturedStdout();
    EXPECT_EQ(block, MemoryHandle{0});
    EXPECT_EQ(message.substr(0, 12), "GloalAlloc f");
}

} // namespace
