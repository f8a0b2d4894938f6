// A host that passes nothing where something is wanted, and calls the module from its callbacks.
#include "support/module_host.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace {

constexpr int kSide = 16;

// A picture of 16 x 16 grey pixels, and a setup for it without a profile.
class HostileHostTest : public testing::Test {
protected:
    HostileHostTest() {
        setup = create(0, directory.File("absent.ini").c_str(), nullptr, nullptr);
        bitmap.depth = 24;
        bitmap.width = bitmap.height = kSide;
        bitmap.pixels =
            host.Symbol<GlobalAllocFunction>("GlobalAlloc")(KOWEN_GLOBAL_FLAGS, kSide * kSide * 3);
        cell.resolution = 96;
        cell.targetResolution = 96;
        cell.targetWidth = cell.pageWidth = kSide;
        cell.targetHeight = cell.pageHeight = kSide;
        hostRecord.setup = setup;
        hostRecord.exportRecord = &exportRecord;
        exportRecord.context = reinterpret_cast<uintptr_t>(this);
        exportRecord.statusCallback = [](uintptr_t context, int32_t command, int32_t, int32_t,
                                         int32_t, int32_t, void *) {
            auto *test = reinterpret_cast<HostileHostTest *>(context);
            test->commands += std::to_string(command);
            return test->onStatus ? test->onStatus() : 0;
        };
    }
    ~HostileHostTest() override {
        destroy(setup);
        host.Symbol<GlobalFreeFunction>("GlobalFree")(bitmap.pixels);
    }

    int32_t Export(const char *name) {
        return doExport(directory.File(name).c_str(), &bitmap, &cell, &hostRecord);
    }

    bool IsWhole(const char *name) const {
        const std::string jpeg = directory.Read(name);
        return jpeg.size() > 2 && jpeg.substr(jpeg.size() - 2) == "\xFF\xD9";
    }

    const TempDirectory directory;
    const ModuleHost host;
    const CreateSetupFunction create = host.Entry<CreateSetupFunction>("CreateSetup");
    const DestroySetupFunction destroy = host.Entry<DestroySetupFunction>("DestroySetup");
    const EditSetupFunction edit = host.Entry<EditSetupFunction>("EditSetup");
    const EscapeSetupFunction escape = host.Entry<EscapeSetupFunction>("EscapeSetup");
    const ExportCellDataFunction doExport = host.Entry<ExportCellDataFunction>("ExportCellData");
    MemoryHandle setup = 0;
    BitmapRecord bitmap = {};
    CellRecord cell = {};
    HostRecord hostRecord = {};
    ExportRecord exportRecord = {};
    std::function<int32_t()> onStatus;
    std::string commands; // of the status calls, one digit each
};

TEST_F(HostileHostTest, SetupEntriesRefuseHandleZero) {
    EXPECT_EQ(edit(0, 1), -1);
    EXPECT_EQ(destroy(0), 1);
    for (int code = -1; code <= 100; ++code)
        EXPECT_EQ(escape(0, code, 4, nullptr, nullptr, 1), -1) << code;
}

TEST_F(HostileHostTest, EscapesWithoutPointersDoNoHarm) {
    for (int code = -1; code <= 100; ++code)
        for (const uint32_t size : {0u, 4u, 8u, 0xFFFFFFFFu})
            EXPECT_LE(escape(setup, code, size, nullptr, nullptr, 1), 1) << code;
}

TEST_F(HostileHostTest, ExportsWithoutRecordsAreRefused) {
    EXPECT_EQ(doExport(nullptr, nullptr, nullptr, nullptr), KOWEN_ERR_SETUP);
    EXPECT_EQ(doExport("x", &bitmap, &cell, nullptr), KOWEN_ERR_SETUP);
    EXPECT_EQ(doExport("x", nullptr, &cell, &hostRecord), KOWEN_ERR_MEMORY);
    EXPECT_EQ(doExport("x", &bitmap, nullptr, &hostRecord), KOWEN_ERR_MEMORY);
    hostRecord.exportRecord = nullptr;
    EXPECT_EQ(doExport(nullptr, &bitmap, &cell, &hostRecord), KOWEN_ERR_OUTPUT);
}

TEST_F(HostileHostTest, ShortDoorsIgnoreWhatTheyDoNotKnow) {
    for (const char *name : {"dd_entry", "RASTER_dd_entry"}) {
        const auto door = host.Entry<ShortDoorFunction>(name);
        for (int function = -5; function <= 5; ++function)
            EXPECT_EQ(door(static_cast<int16_t>(function), nullptr, 0), 0);
    }
}

TEST_F(HostileHostTest, SizesWithoutRoomAreNotAnswered) {
    EXPECT_EQ(
        host.Symbol<GetDisplayInfoFunction>("GetDisplayInfo")(nullptr, nullptr, nullptr, nullptr),
        0);
    EXPECT_EQ(host.Symbol<ScaleImageSizeFunction>("ScaleImageSize")(nullptr, nullptr), 0);
}

TEST_F(HostileHostTest, AWholeExportWithoutMischief) {
    EXPECT_EQ(Export("a.jpg"), 0);
    EXPECT_TRUE(IsWhole("a.jpg"));
    EXPECT_EQ(commands, "0");
}

TEST_F(HostileHostTest, ACancelIsAskedTwiceAndLeavesTheFileUnfinished) {
    onStatus = [] { return 7; };
    EXPECT_EQ(Export("a.jpg"), 0);
    EXPECT_EQ(commands, "02");
    EXPECT_TRUE(directory.Has("a.jpg"));
    EXPECT_FALSE(IsWhole("a.jpg"));
}

TEST_F(HostileHostTest, ACallbackMayUseTheSetupThatIsExported) {
    onStatus = [this] {
        const int32_t quality = 5;
        int32_t out[4] = {};
        EXPECT_EQ(escape(setup, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 0), 1);
        EXPECT_EQ(escape(setup, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, out, 0), 1);
        EXPECT_EQ(edit(setup, 9), 0);
        return 0;
    };
    EXPECT_EQ(Export("a.jpg"), 0);
    EXPECT_TRUE(IsWhole("a.jpg"));
}

TEST_F(HostileHostTest, ACallbackThatTakesTheCurrentSetupAwayDoesNotStopThePicture) {
    onStatus = [this] { return edit(0, 0), 0; };
    EXPECT_EQ(Export("a.jpg"), 0);
    EXPECT_TRUE(IsWhole("a.jpg"));
    onStatus = nullptr;
    EXPECT_EQ(Export("b.jpg"), 0);
    EXPECT_TRUE(IsWhole("b.jpg"));
}

TEST_F(HostileHostTest, ACallbackMayMakeAndDestroySetups) {
    onStatus = [this] {
        for (int i = 0; i < 10; ++i)
            destroy(create(0, nullptr, nullptr, nullptr));
        return 0;
    };
    EXPECT_EQ(Export("a.jpg"), 0);
    EXPECT_TRUE(IsWhole("a.jpg"));
    onStatus = nullptr;
    EXPECT_EQ(Export("b.jpg"), 0);
    EXPECT_TRUE(IsWhole("b.jpg"));
}

TEST_F(HostileHostTest, ACallbackMayExportAnotherPicture) {
    onStatus = [this] {
        onStatus = nullptr;
        BitmapRecord other = bitmap;
        ExportRecord quiet = {};
        HostRecord record = {};
        record.setup = create(0, directory.File("absent.ini").c_str(), nullptr, nullptr);
        record.exportRecord = &quiet;
        EXPECT_EQ(doExport(directory.File("b.jpg").c_str(), &other, &cell, &record), 0);
        destroy(record.setup);
        return 0;
    };
    EXPECT_EQ(Export("a.jpg"), 0);
    EXPECT_TRUE(IsWhole("a.jpg"));
    EXPECT_TRUE(IsWhole("b.jpg"));
    EXPECT_EQ(Export("c.jpg"), 0);
    EXPECT_TRUE(IsWhole("c.jpg"));
}

} // namespace
