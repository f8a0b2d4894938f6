// Hosts that call the module from inside their own callbacks.
#include "module/hostile_host.h"

namespace {

using namespace kowen::test;

class HostileCallbacks : public HostileHost {
protected:
    void ServeOutputOf(MemoryHandle handle) {
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_SET_HOST_IO, 4, MischiefFile::Procedure(),
                                   nullptr, 0),
                  1);
        mischief.record.ioContext = file.Context();
    }
    ExportBytes Served() const { return {file.bytes.begin(), file.bytes.end()}; }

    // What a host must not do inside a callback.

    void UseTheSetup() {
        const int32_t quality = 5;
        int32_t out[4] = {};
        EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 0), 1);
        EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, out, 0), 1);
        EXPECT_EQ(out[0], 5);
    }
    void MakeSetups() {
        for (int i = 0; i < 3; ++i)
            EXPECT_EQ(host.destroySetup(MakeSetup(steps)), 0);
    }
    void ExportAnother() { EXPECT_EQ(Export(steps, otherSetup).jpeg, steps.jpeg); }
    void DestroyTheSetup() { EXPECT_EQ(host.destroySetup(setup), 1); }
    void ExportOnceMore() {
        EXPECT_EQ(Export(plain, setup, Path("c.jpg")).result, 303);
        EXPECT_FALSE(host.directory.Has("c.jpg"));
    }
    void CallTheDoors() {
        for (const char *name : {"RASTER_dd_entry", "dd_entry"}) {
            HostileDevice device(host.module, name);
            uint32_t version = 0;
            EXPECT_EQ(device.Initialise(otherSetup, Path("c.jpg")), 0);
            EXPECT_EQ(device.record.setup, otherSetup) << "nothing is written";
            EXPECT_EQ(RunAll(device, DrawingRequests(steps.bitmap)), std::vector<int32_t>(10));
            EXPECT_EQ(device.Call(KOWEN_DD_VERSION, &version), 4);
            EXPECT_EQ(version, 0x02000005u);
            EXPECT_EQ(device.Terminate(), 0);
            EXPECT_FALSE(host.directory.Has("c.jpg"));
        }
    }

    /// All of it. At the end another setup is current, or none.
    void DoEverything() {
        MakeSetups();
        ExportAnother();
        DestroyTheSetup();
        ExportOnceMore();
        CallTheDoors();
        if (++visits % 2 == 0)
            editSetup(otherSetup, 0);
        else
            editSetup(0, 0);
    }

    MischiefFile file;
    int visits = 0;
};

TEST_F(HostileCallbacks, AWholeExportWithoutMischief) {
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(mischief.commands, "0");
}

TEST_F(HostileCallbacks, ACancelIsAskedTwiceAndLeavesTheFileUnfinished) {
    mischief.onStatus = [] { return 7; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(mischief.commands, "02");
    // All bits of the last byte but its padding, and no EOI.
    const ExportBytes cut = FileBytes("a.jpg");
    ASSERT_LT(cut.size(), plain.jpeg.size() - 1);
    EXPECT_TRUE(std::equal(cut.begin(), cut.end(), plain.jpeg.begin()));
    EXPECT_GE(cut.size(), plain.jpeg.size() - 4);
}

TEST_F(HostileCallbacks, AStatusCallbackMayUseTheSetupThatIsExported) {
    mischief.onStatus = [this] { return UseTheSetup(), 0; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg) << "the quality is for the next picture";
}

TEST_F(HostileCallbacks, AStatusCallbackMayTakeTheCurrentSetupAway) {
    mischief.onStatus = [this] { return editSetup(0, 0), 0; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileCallbacks, AStatusCallbackMayMakeAndDestroySetups) {
    mischief.onStatus = [this] { return MakeSetups(), 0; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileCallbacks, AStatusCallbackMayExportAnotherPicture) {
    mischief.onStatus = [this] { return ExportAnother(), 0; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileCallbacks, AStatusCallbackCannotDestroyTheSetupThatIsExported) {
    mischief.onStatus = [this] { return DestroyTheSetup(), 0; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileCallbacks, AStatusCallbackCannotExportTheSameSetupOnceMore) {
    mischief.onStatus = [this] { return ExportOnceMore(), 0; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileCallbacks, AStatusCallbackOfTheBitmapDoorFindsTheDeviceDoorsShut) {
    mischief.onStatus = [this] { return CallTheDoors(), 0; };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileCallbacks, AnOpenDeviceSurvivesAnExportWhoseCallbackCallsIt) {
    HostileDevice device(host.module, "RASTER_dd_entry");
    const std::vector<Request> drawing = DrawingRequests(plain.bitmap);
    ASSERT_EQ(device.Initialise(setup, Path("d.jpg")), 0);
    for (size_t step = 0; step < drawing.size(); ++step) {
        mischief.onStatus = [&] {
            EXPECT_EQ(RunAll(device, drawing), std::vector<int32_t>(drawing.size()));
            EXPECT_EQ(device.Terminate(), 0);
            return 0;
        };
        ASSERT_EQ(Export(steps, otherSetup, Path("a.jpg"), &mischief.record).result, 0);
        ASSERT_EQ(editSetup(setup, 0), 0);
        ASSERT_EQ(device.Run(drawing[step]), 0) << step;
    }
    EXPECT_EQ(device.Terminate(), 0);
    EXPECT_EQ(FileBytes("d.jpg"), plain.jpeg);
}

TEST_F(HostileCallbacks, AStatusCallbackOfTheBitmapDoorDoesEverything) {
    mischief.onStatus = [this] { return DoEverything(), 0; };
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(ExportTo("a.jpg"), 0);
        EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    }
    EXPECT_EQ(visits, 4);
}

TEST_F(HostileCallbacks, AnIoProcedureServesTheWholeFile) {
    ServeOutputOf(setup);
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(Served(), plain.jpeg);
    EXPECT_EQ(file.operations.front(), '1');
    EXPECT_EQ(file.operations.back(), '5');
    EXPECT_FALSE(host.directory.Has("a.jpg"));
}

TEST_F(HostileCallbacks, AnIoProcedureOfTheBitmapDoorDoesEverything) {
    ServeOutputOf(setup);
    file.onOperation = [this](int32_t) { DoEverything(); };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(Served(), plain.jpeg);
    EXPECT_GT(visits, 2);
}

TEST_F(HostileCallbacks, AnIoProcedureMayTakeItselfAway) {
    ServeOutputOf(setup);
    file.onOperation = [this](int32_t) {
        EXPECT_EQ(host.escapeSetup(setup, KOWEN_ESCAPE_SET_HOST_IO, 4, nullptr, nullptr, 0), 1);
    };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(Served(), plain.jpeg) << "this file stays the procedure's";
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg) << "the next one is on the disk";
}

TEST_F(HostileCallbacks, ARefusedOpenSendsEverythingToTheProcedure) {
    mischief.record.ioContext = 0; // the procedure refuses
    EXPECT_EQ(
        host.escapeSetup(setup, KOWEN_ESCAPE_SET_HOST_IO, 4, MischiefFile::Procedure(), nullptr, 0),
        1);
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), ExportBytes{});
}

TEST_F(HostileCallbacks, AStatusCallbackOfTheRasterDeviceDoesEverything) {
    mischief.onStatus = [this] { return DoEverything(), 0; };
    EXPECT_EQ(Draw(plain, setup, &mischief.record), plain.jpeg);
    EXPECT_EQ(mischief.commands, "000"); // the range, the band and the close
}

TEST_F(HostileCallbacks, AnIoProcedureOfTheRasterDeviceDoesEverything) {
    ServeOutputOf(setup);
    file.onOperation = [this](int32_t) { DoEverything(); };
    EXPECT_EQ(Draw(plain, setup, &mischief.record), ExportBytes{});
    EXPECT_EQ(Served(), plain.jpeg);
    EXPECT_GT(visits, 2);
}

TEST_F(HostileCallbacks, AnIoProcedureOfTheExportDeviceDoesEverything) {
    ServeOutputOf(setup);
    file.onOperation = [this](int32_t) { DoEverything(); };
    HostileDevice device(host.module, "dd_entry");
    EXPECT_EQ(device.Initialise(setup, Path("a.jpg"), &mischief.record), 0);
    EXPECT_EQ(device.Run(kOpenDevice), 0);
    EXPECT_EQ(device.Terminate(), 300);
    EXPECT_EQ(file.operations, "15");
    EXPECT_EQ(Served(), ExportBytes{});
}

// Without a picture bitmap the cells are drawn at once, with a poll between the steps.
TEST_F(HostileCallbacks, APollBetweenTheStepsOfACellArrayDoesEverything) {
    mischief.onStatus = [this] { return DoEverything(), 0; };
    HostileDevice device(host.module, "RASTER_dd_entry");
    const std::vector<Request> drawing = DrawingRequests(plain.bitmap);
    ASSERT_EQ(device.Initialise(setup, Path("a.jpg"), &mischief.record), 0);
    RunAll(device, {drawing.begin(), drawing.begin() + 5});
    for (const int depth : {1, 4, 8, 24, 32})
        EXPECT_EQ(device.Run(CellsRequest(8, 4, depth, ExportBytes(16 * 4 * 4))), 0) << depth;
    EXPECT_EQ(device.Run(kCloseDevice), 0);
    EXPECT_EQ(device.Terminate(), 0);
    EXPECT_GT(visits, 5);
}

TEST_F(HostileCallbacks, ACancelledDeviceDeletesItsFileWhateverTheCallbackDid) {
    mischief.onStatus = [this] { return DoEverything(), mischief.commands.size() > 2 ? 1 : 0; };
    HostileDevice device(host.module, "RASTER_dd_entry");
    ASSERT_EQ(device.Initialise(setup, Path("a.jpg"), &mischief.record), 0);
    EXPECT_EQ(RunAll(device, DrawingRequests(plain.bitmap)),
              (std::vector<int32_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 901}));
    EXPECT_EQ(device.Terminate(), 0);
    EXPECT_EQ(mischief.commands, "0002");
    EXPECT_FALSE(host.directory.Has("a.jpg"));
}

TEST_F(HostileCallbacks, CallbacksInsideCallbacksEndInOrder) {
    Mischief inner;
    inner.onStatus = [this] {
        DestroyTheSetup();
        EXPECT_EQ(host.destroySetup(otherSetup), 1);
        EXPECT_EQ(Export(steps, otherSetup).result, 303);
        const MemoryHandle third = MakeSetup(plain);
        EXPECT_EQ(Export(plain, third).jpeg, plain.jpeg);
        EXPECT_EQ(host.destroySetup(third), 0);
        return 0;
    };
    mischief.onStatus = [&] {
        EXPECT_EQ(Export(steps, otherSetup, "", &inner.record).jpeg, steps.jpeg);
        return 0;
    };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(inner.commands, "0");
}

TEST_F(HostileCallbacks, AnIoProcedureMayAnswerAnything) {
    ServeOutputOf(setup);
    for (const int32_t operation : {KOWEN_IO_WRITE, KOWEN_IO_SEEK, KOWEN_IO_CLOSE})
        for (const intptr_t nonsense :
             {intptr_t{0}, intptr_t{-1}, intptr_t{1}, intptr_t{4711}, intptr_t{INT32_MAX},
              intptr_t{INT32_MIN}, INTPTR_MAX, INTPTR_MIN}) {
            file.bytes.clear();
            file.answer = [=](int32_t asked, intptr_t honest) {
                return asked == operation ? nonsense : honest;
            };
            EXPECT_EQ(ExportTo("a.jpg"), 0);
            EXPECT_TRUE(operation == KOWEN_IO_WRITE || Served() == plain.jpeg) << nonsense;
            HostileDevice device(host.module, "RASTER_dd_entry");
            ASSERT_EQ(device.Initialise(setup, Path("a.jpg"), &mischief.record), 0);
            EXPECT_EQ(device.Run(kOpenDevice), 0);
            EXPECT_EQ(device.Run(kCloseDevice),
                      operation == KOWEN_IO_CLOSE && static_cast<int32_t>(nonsense) != 0 ? 303 : 0);
            EXPECT_EQ(device.Terminate(), 0);
        }
}

TEST_F(HostileCallbacks, AStatusCallbackMayAnswerAnything) {
    for (const int32_t nonsense : {INT32_MIN, -1, 2, INT32_MAX}) {
        mischief.commands.clear();
        mischief.onStatus = [&] { return mischief.commands.back() == '2' ? 0 : nonsense; };
        EXPECT_EQ(ExportTo("a.jpg"), 0);
        EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg) << "not confirmed";
        mischief.onStatus = [&] { return nonsense; };
        EXPECT_EQ(ExportTo("a.jpg"), 0);
        EXPECT_NE(FileBytes("a.jpg"), plain.jpeg) << "confirmed";
        EXPECT_EQ(mischief.commands, "0202");
    }
}

TEST_F(HostileCallbacks, ACallbackThatChangesTheHostsRecordsChangesNoByteOutsideThem) {
    const GuardedBytes pixels(plain.bitmap.pixels);
    const auto wrap = host.module.Symbol<GlobalPointerToHandleFunction>("GlobalPointerToHandle");
    const MemoryHandle block = wrap(pixels.Data(), pixels.Size());
    BitmapRecord bitmap = {24, 16, 8, 0, 0, 0, 0, block};
    CellRecord cell = plain.cell;
    HostRecord record = {};
    record.setup = setup;
    record.exportRecord = &mischief.record;
    ServeOutputOf(setup);
    for (const uint16_t side : {0, 1, 15, 17, 65535})
        for (const uint16_t depth : {0, 1, 4, 8, 16, 24, 32, 64}) {
            bitmap.depth = 24;
            bitmap.width = 16;
            bitmap.height = 8;
            file.onOperation = [&](int32_t) {
                bitmap.width = bitmap.height = side;
                bitmap.depth = depth;
                bitmap.targetWidth = bitmap.targetHeight = -1e300;
                cell.targetWidth = cell.pageHeight = INT32_MIN;
            };
            EXPECT_EQ(host.exportCellData("a", &bitmap, &cell, &record), 0);
        }
    host.free(block);
}

} // namespace
