// Hosts whose I/O procedure refuses to open the output, on each door, and what the doors ask a
// procedure at all.
#include "module/hostile_host.h"

#include <set>

namespace {

/// A procedure that can refuse; keeps what it was asked. One at a time.
class Refuser {
public:
    Refuser() { current = this; }
    ~Refuser() { current = nullptr; }
    Refuser(const Refuser &) = delete;
    Refuser &operator=(const Refuser &) = delete;

    static const void *Procedure() { return reinterpret_cast<const void *>(&Serve); }

    bool refuses = true;
    int opens = 0;
    uintptr_t openContext = 0;
    int32_t openMode = 0;
    size_t bytes = 0;             ///< of all writes
    std::vector<int32_t> closes;  ///< the counts
    std::set<uintptr_t> handles;  ///< of all operations but the open
    std::set<int32_t> operations; ///< all but the open

private:
    static constexpr intptr_t kHandle = 77;

    static intptr_t Serve(uintptr_t handle, int32_t operation, void *, int32_t count) {
        Refuser &self = *current;
        if (operation == KOWEN_IO_OPEN) {
            ++self.opens;
            self.openContext = handle;
            self.openMode = count;
            return self.refuses ? 0 : kHandle;
        }
        self.handles.insert(handle);
        self.operations.insert(operation);
        if (operation == KOWEN_IO_WRITE)
            self.bytes += static_cast<size_t>(count);
        if (operation == KOWEN_IO_CLOSE)
            self.closes.push_back(count);
        return operation == KOWEN_IO_WRITE ? count : 0;
    }
    static inline Refuser *current = nullptr;
};

class RefusedOpen : public HostileHost {
protected:
    RefusedOpen() {
        host.escapeSetup(setup, KOWEN_ESCAPE_SET_HOST_IO, 4, Refuser::Procedure(), nullptr, 0);
        mischief.record.ioContext = 0x123;
    }
    int32_t ExportNamed(const std::string &path) {
        return Export(plain, setup, path, &mischief.record).result;
    }
    std::vector<int32_t> DrawNamed(const std::string &path) {
        EXPECT_EQ(device.Initialise(setup, path, &mischief.record), 0);
        std::vector<int32_t> answers = RunAll(device, DrawingRequests(plain.bitmap));
        EXPECT_EQ(device.Terminate(), 0);
        return answers;
    }
    void ExpectEverythingWithHandleZero() {
        EXPECT_EQ(io.opens, 1);
        EXPECT_EQ(io.openContext, 0x123u);
        EXPECT_EQ(io.openMode, 4097);
        EXPECT_EQ(io.bytes, plain.jpeg.size());
        EXPECT_EQ(io.handles, (std::set<uintptr_t>{0}));
        EXPECT_EQ(io.closes, (std::vector<int32_t>{0}));
    }

    Refuser io;
    HostileDevice device{host.module, "RASTER_dd_entry"};
    HostileDevice exportDevice{host.module, "dd_entry"};
};

TEST_F(RefusedOpen, MakesAnEmptyFileAndSendsEverythingWithHandleZero) {
    EXPECT_EQ(ExportNamed(Path("a.jpg")), 0);
    EXPECT_TRUE(host.directory.Has("a.jpg"));
    EXPECT_EQ(FileBytes("a.jpg"), ExportBytes{});
    ExpectEverythingWithHandleZero();
}

TEST_F(RefusedOpen, EmptiesTheFileThatIsThere) {
    host.directory.Write("a.jpg", "an earlier picture");
    EXPECT_EQ(ExportNamed(Path("a.jpg")), 0);
    EXPECT_EQ(host.directory.Read("a.jpg"), "");
}

TEST_F(RefusedOpen, Gives303WhereThereCanBeNoFile) {
    EXPECT_EQ(ExportNamed(""), 303);
    EXPECT_EQ(ExportNamed(Path("missing/a.jpg")), 303);
    EXPECT_EQ(io.opens, 2);
    EXPECT_EQ(io.bytes, 0u);
    EXPECT_TRUE(io.operations.empty());
    EXPECT_EQ(mischief.record.memoryBlock, 0u);
}

TEST_F(RefusedOpen, HasTheSameEffectOnTheRasterDevice) {
    host.directory.Write("a.jpg", "an earlier picture");
    EXPECT_EQ(DrawNamed(Path("a.jpg")), std::vector<int32_t>(10, 0));
    EXPECT_EQ(host.directory.Read("a.jpg"), "");
    ExpectEverythingWithHandleZero();
}

// Of the ten requests the eighth writes the picture and the last closes.
TEST_F(RefusedOpen, OfAnEmptyNameShowsWhenTheDeviceWritesAndCloses) {
    EXPECT_EQ(DrawNamed(""), (std::vector<int32_t>{0, 0, 0, 0, 0, 0, 0, 303, 0, 303}));
    EXPECT_TRUE(io.operations.empty());
}

TEST_F(RefusedOpen, MakesAnEmptyFileOnTheExportDeviceToo) {
    EXPECT_EQ(exportDevice.Initialise(setup, Path("a.jpg"), &mischief.record), 0);
    EXPECT_EQ(exportDevice.Terminate(), 300);
    EXPECT_TRUE(host.directory.Has("a.jpg"));
    EXPECT_EQ(io.handles, (std::set<uintptr_t>{0}));
    EXPECT_EQ(exportDevice.Initialise(setup, "", &mischief.record), 0);
    EXPECT_EQ(exportDevice.Terminate(), 300);
    EXPECT_EQ(io.opens, 2);
}

// A pipe will do: nothing is read, nothing is sought.
TEST_F(RefusedOpen, AnExportOnlyWritesAndCloses) {
    io.refuses = false;
    const std::set<int32_t> writeAndClose = {KOWEN_IO_WRITE, KOWEN_IO_CLOSE};
    EXPECT_EQ(ExportNamed("a"), 0);
    EXPECT_EQ(io.operations, writeAndClose);
    EXPECT_EQ(DrawNamed("a"), std::vector<int32_t>(10, 0));
    EXPECT_EQ(io.operations, writeAndClose);
    EXPECT_EQ(io.handles, (std::set<uintptr_t>{77}));
}

TEST_F(RefusedOpen, ADeviceThatIsStoppedAtItsCloseDeletesAWholeFile) {
    io.refuses = false;
    int call = 0;
    // The range, 100 percent, the poll of the close and its confirmation.
    mischief.onStatus = [&call] { return ++call >= 3 ? 1 : 0; };
    EXPECT_EQ(DrawNamed("a"), (std::vector<int32_t>{0, 0, 0, 0, 0, 0, 0, 0, 0, 901}));
    EXPECT_EQ(io.bytes, plain.jpeg.size());
    EXPECT_EQ(io.closes, (std::vector<int32_t>{KOWEN_MODE_DELETE}));
    EXPECT_EQ(call, 4);
}

TEST_F(HostileHost, ADevicesProgressGoesToAHundredThenToZero) {
    StatusRecorder status;
    ExportRecord record = ExportHost::RecordFor(&status);
    EXPECT_EQ(Draw(plain, setup, &record), plain.jpeg);
    EXPECT_EQ(status.Values(), (std::vector<std::array<int32_t, 5>>{
                                   {0, -2, 100, 0, 0}, {0, 0, 0, 100, 0}, {0, 0, 0, 0, 0}}));
}

} // namespace
