// Hosts that call the entries in an order that makes no sense.
#include "module/hostile_host.h"

namespace {

using namespace kowen::test;

class HostileOrder : public HostileHost {
protected:
    HostileDevice raster{host.module, "RASTER_dd_entry"};
    HostileDevice exporter{host.module, "dd_entry"};
    const std::vector<Request> drawing = DrawingRequests(plain.bitmap);
};

TEST_F(HostileOrder, RequestsBeforeInitialisationAnswerZero) {
    Request request(0);
    request.Put(16, std::array<uint8_t, 200>{});
    for (const HostileDevice *device : {&raster, &exporter})
        for (uint32_t opcode = 0; opcode < 5000; ++opcode)
            ASSERT_EQ(device->Run(request.Put(0, opcode)), 0) << opcode;
}

TEST_F(HostileOrder, RequestsAfterTerminationAnswerZero) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    ASSERT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(RunAll(raster, drawing), std::vector<int32_t>(drawing.size()));
    EXPECT_FALSE(host.directory.Has("a.jpg"));
}

TEST_F(HostileOrder, TerminationWithoutADeviceAnswers) {
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(raster.Terminate(), 0);
        EXPECT_EQ(exporter.Terminate(), 300);
    }
}

// Everything that the state does not allow is sent before each step of an ordinary picture.
TEST_F(HostileOrder, RequestsOutOfTurnChangeNothing) {
    const uint32_t states[] = {1, 2, 4, 4, 4, 8, 8, 8, 8, 16};
    const std::pair<uint32_t, uint32_t> kRunsIn[] = {
        {kOpenDevice, 1},      {kCloseDevice, 30}, {kBeginPicture, 18}, {kBeginBody, 4},
        {kEndPicture, 8},      {kSetWindow, 4},    {kSetBackground, 4}, {kSetViewport, 4},
        {kSetViewportMode, 4}, {kDrawCells, 8},    {kPrimitive, 8},     {kSetColors, 8},
        {kQueryViewport, 30},  {kQueryWindow, 30}};
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    for (size_t step = 0; step < drawing.size(); ++step) {
        for (const auto &[opcode, allowed] : kRunsIn) {
            if ((allowed & states[step]) != 0)
                continue;
            // Arguments that would matter: a window of 1, 255 colours, 1 cell.
            Request request(opcode, 767);
            request.Put(16, std::array<uint8_t, 800>{}).Put(88, 1).Put(92, 1).Put(96, 24);
            EXPECT_EQ(raster.Run(request), 0) << opcode << " before step " << step;
        }
        EXPECT_EQ(raster.Run(drawing[step]), 0) << step;
    }
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileOrder, EveryStepTwiceIsAsGoodAsOnce) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    // Not the cells: they would go on where the first ones ended. A second -6 has no pixels left
    // and would write one more picture, of headers.
    for (size_t step = 0; step < drawing.size(); ++step) {
        EXPECT_EQ(raster.Run(drawing[step]), 0);
        if (step != 6 && step != 7) {
            EXPECT_EQ(raster.Run(drawing[step]), 0);
        }
    }
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileOrder, MoreCellsThanThePictureHasRowsAreLeftOut) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    EXPECT_EQ(RunAll(raster, {drawing.begin(), drawing.begin() + 7}), std::vector<int32_t>(7));
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(raster.Run(CellsRequest(16, 8, 24, ExportBytes(16 * 8 * 3, 0x55))), 0);
    EXPECT_EQ(RunAll(raster, {drawing.begin() + 7, drawing.end()}), std::vector<int32_t>(3));
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileOrder, WritingWithoutAPictureIsAnError) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    for (size_t step = 0; step < 5; ++step)
        EXPECT_EQ(raster.Run(drawing[step]), 0);
    EXPECT_EQ(raster.Run(WritePictureRequest()), 27); // of no rows
    EXPECT_EQ(RunAll(raster, {drawing.begin() + 5, drawing.end()}), std::vector<int32_t>(5));
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileOrder, TerminationInEveryStateEndsTheDevice) {
    for (size_t done = 0; done <= drawing.size(); ++done) {
        ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
        EXPECT_EQ(RunAll(raster, {drawing.begin(), drawing.begin() + static_cast<long>(done)}),
                  std::vector<int32_t>(done));
        EXPECT_EQ(raster.Terminate(), 0);
        EXPECT_EQ(FileBytes("a.jpg"), done < 8 ? ExportBytes{} : plain.jpeg) << done;
    }
}

TEST_F(HostileOrder, InitialisingARunningDeviceEndsItFirst) {
    for (size_t done = 0; done <= drawing.size(); ++done) {
        ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
        RunAll(raster, {drawing.begin(), drawing.begin() + static_cast<long>(done)});
        ASSERT_EQ(raster.Initialise(otherSetup, Path("b.jpg")), 0);
        EXPECT_EQ(RunAll(raster, DrawingRequests(steps.bitmap)), std::vector<int32_t>(10));
        EXPECT_EQ(raster.Terminate(), 0);
        EXPECT_EQ(FileBytes("a.jpg"), done < 8 ? ExportBytes{} : plain.jpeg) << done;
        EXPECT_EQ(FileBytes("b.jpg"), steps.jpeg) << done;
    }
}

TEST_F(HostileOrder, AnExportDeviceTakesAnyRequestAndEndsWithItsCode) {
    ASSERT_EQ(exporter.Initialise(setup, Path("a.jpg")), 0);
    EXPECT_EQ(exporter.record.outputName[0], '\0');
    EXPECT_EQ(exporter.record.setup, MemoryHandle{0});
    EXPECT_EQ(RunAll(exporter, drawing), std::vector<int32_t>(drawing.size()));
    EXPECT_EQ(exporter.Terminate(), 300);
    EXPECT_EQ(exporter.Terminate(), 300);
    EXPECT_TRUE(host.directory.Has("a.jpg"));
    EXPECT_EQ(FileBytes("a.jpg"), ExportBytes{});
}

TEST_F(HostileOrder, InitialisingARunningExportDeviceEndsItFirst) {
    ASSERT_EQ(exporter.Initialise(setup, Path("a.jpg")), 0);
    ASSERT_EQ(exporter.Initialise(otherSetup, Path("b.jpg")), 0);
    ASSERT_EQ(exporter.Initialise(0, Path("c.jpg")), 22);
    EXPECT_EQ(exporter.Terminate(), 300);
    EXPECT_TRUE(host.directory.Has("a.jpg"));
    EXPECT_TRUE(host.directory.Has("b.jpg"));
    EXPECT_FALSE(host.directory.Has("c.jpg"));
}

TEST_F(HostileOrder, NothingIsSupportedBeforeAndAfterADevice) {
    const auto inquire = host.module.Symbol<InquireSupportFunction>("InquireSupport");
    for (const int when : {0, 1}) {
        for (int32_t opcode = -10; opcode < 5000; ++opcode)
            ASSERT_EQ(inquire(opcode, -5), 0) << opcode << " at " << when;
        ASSERT_EQ(raster.Initialise(setup, ""), 0);
        EXPECT_EQ(inquire(kOpenDevice, 0), 2);
        EXPECT_EQ(raster.Terminate(), 0);
    }
}

// Two setups on both doors, a step of each in turn.

TEST_F(HostileOrder, TwoSetupsTakeTurnsOnTheBitmapDoor) {
    for (int turn = 0; turn < 20; ++turn) {
        ASSERT_EQ(Export(plain, setup).jpeg, plain.jpeg);
        ASSERT_EQ(Export(steps, otherSetup, Path("b.jpg")).result, 0);
        ASSERT_EQ(FileBytes("b.jpg"), steps.jpeg);
    }
}

TEST_F(HostileOrder, TheBitmapDoorBetweenTheStepsOfADevice) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    for (const Request &request : drawing) {
        ASSERT_EQ(Export(steps, otherSetup).jpeg, steps.jpeg);
        ASSERT_EQ(editSetup(setup, 0), 0); // the device draws with the current setup
        ASSERT_EQ(raster.Run(request), 0);
    }
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileOrder, ADeviceDrawsWithTheSetupThatIsCurrent) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    RunAll(raster, {drawing.begin(), drawing.begin() + 6});
    ASSERT_EQ(raster.Run(CellsRequest(16, 8, 24, steps.bitmap.pixels)), 0);
    ASSERT_EQ(editSetup(otherSetup, 0), 0);
    RunAll(raster, {drawing.begin() + 7, drawing.end()});
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), steps.jpeg);
}

TEST_F(HostileOrder, TheBitmapDoorWithTheSetupOfAnOpenDevice) {
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg"), &mischief.record), 0);
    for (const Request &request : drawing) {
        ASSERT_EQ(Export(plain, setup).jpeg, plain.jpeg);
        ASSERT_EQ(raster.Run(request), 0);
    }
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(mischief.commands, "000"); // the range, the band and the close, all of the device
}

TEST_F(HostileOrder, BothDevicesAtOnceKeepToTheirFiles) {
    ASSERT_EQ(exporter.Initialise(otherSetup, Path("b.jpg")), 0);
    ASSERT_EQ(raster.Initialise(setup, Path("a.jpg")), 0);
    for (const Request &request : drawing) {
        ASSERT_EQ(exporter.Run(kBeginPicture), 0);
        ASSERT_EQ(raster.Run(request), 0);
    }
    EXPECT_EQ(exporter.Terminate(), 300);
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(FileBytes("b.jpg"), ExportBytes{});
}

// Every pair of calls, one right after the other, and long chains of them.

class HostileSweep : public HostileOrder {
protected:
    using Call = std::function<void()>;

    HostileSweep() {
        const auto send = [](const HostileDevice &device, Request request) {
            return [&device, request] { device.Run(request); };
        };
        calls = {
            [this] { editSetup(setup, 1); },
            [this] { editSetup(otherSetup, 1); },
            [this] { editSetup(0, 1); },
            [this] { host.destroySetup(MakeSetup(plain)); },
            [this] { Renew(setup, plain); },
            [this] { Renew(otherSetup, steps); },
            [this] { Escape(setup, KOWEN_ESCAPE_SET_QUALITY, 75); },
            [this] {
                Escape(otherSetup, KOWEN_ESCAPE_SET_SIZE_MODE, KOWEN_ESCAPE_SIZE_FROM_DISPLAY);
            },
            [this] {
                Escape(setup, KOWEN_ESCAPE_SET_RESOLUTION_MODE, KOWEN_ESCAPE_RESOLUTION_USER);
            },
            [this] { Query(setup); },
            [this] { Export(plain, setup); },
            [this] { Export(steps, otherSetup, "", &mischief.record); },
            [this] { Export(plain, setup, "/absent/a.jpg"); },
            [this] { raster.Initialise(setup, "/dev/null", &mischief.record); },
            [this] { raster.Initialise(otherSetup, ""); },
            [this] { raster.Initialise(0, ""); },
            [this] { raster.Terminate(); },
            [this] { exporter.Initialise(setup, ""); },
            [this] { exporter.Initialise(otherSetup, "/dev/null", &mischief.record); },
            [this] { exporter.Terminate(); },
            send(exporter, Request(kOpenDevice)),
            send(raster, CellsRequest(16, 8, 8, ExportBytes(128))),
            send(raster, Request(kQueryWindow)),
            send(raster, Request(kPopErrors).Put(16, 5)),
            send(raster, ColorsRequest(250, ExportBytes(30, 0x33))),
        };
        for (const Request &request : drawing)
            calls.push_back(send(raster, request));
    }

    void Renew(MemoryHandle &handle, const RecordedExport &recorded) {
        EXPECT_EQ(host.destroySetup(handle), 0);
        handle = MakeSetup(recorded);
    }
    void Escape(MemoryHandle handle, int32_t code, int32_t value) {
        EXPECT_EQ(host.escapeSetup(handle, code, 4, &value, nullptr, 0), 1);
    }
    void Query(MemoryHandle handle) {
        const RasterQuery query = {96, 0, 96, 16, 8, 640, 480};
        RasterAnswer answer = {};
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_RASTER_QUERY, 0, &query, &answer, 0), 1);
    }
    void End() {
        EXPECT_EQ(raster.Terminate(), 0);
        EXPECT_EQ(exporter.Terminate(), 300);
        Renew(setup, plain);
        ASSERT_EQ(Export(plain, setup).jpeg, plain.jpeg);
    }

    std::vector<Call> calls;
};

TEST_F(HostileSweep, EveryPairOfCalls) {
    for (size_t first = 0; first < calls.size(); ++first)
        for (size_t second = 0; second < calls.size(); ++second) {
            SCOPED_TRACE(std::to_string(first) + " then " + std::to_string(second));
            calls[first]();
            calls[second]();
            End();
            if (HasFatalFailure())
                return;
        }
}

TEST_F(HostileSweep, EveryPairOfCallsOnARunningDevice) {
    for (size_t first = 0; first < calls.size(); ++first)
        for (size_t second = 0; second < calls.size(); ++second) {
            SCOPED_TRACE(std::to_string(first) + " then " + std::to_string(second));
            raster.Initialise(setup, "", &mischief.record);
            RunAll(raster, {drawing.begin(), drawing.begin() + 7});
            calls[first]();
            calls[second]();
            End();
            if (HasFatalFailure())
                return;
        }
}

TEST_F(HostileSweep, LongChainsOfCalls) {
    TestRandom random(20);
    for (int chain = 0; chain < 100; ++chain) {
        SCOPED_TRACE(chain);
        for (int i = 0; i < 50; ++i)
            calls[random.Next() % calls.size()]();
        End();
        if (HasFatalFailure())
            return;
    }
}

} // namespace
