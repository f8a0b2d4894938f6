// What the hosts of the hostile_..._test.cpp files have in common: the loaded module, two setups
// with recorded exports of their own, callbacks that do mischief, devices, guarded memory. After
// each test the next ordinary exports, through both doors, must still have every byte.
#pragma once

#include "kowen/kowen.h"
#include "module/export_host.h"
#include "module/recorded_export.h"
#include "support/guarded_bytes.h"
#include "support/requests.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>

/// An export record whose status callback does what a test says.
struct Mischief {
    Mischief() {
        record.context = reinterpret_cast<uintptr_t>(this);
        record.statusCallback = [](uintptr_t context, int32_t command, int32_t, int32_t, int32_t,
                                   int32_t, void *) {
            auto &self = *reinterpret_cast<Mischief *>(context);
            self.commands += std::to_string(command);
            return self.onStatus ? self.onStatus() : 0;
        };
    }
    Mischief(const Mischief &) = delete;
    Mischief &operator=(const Mischief &) = delete;

    ExportRecord record = {};
    std::function<int32_t()> onStatus;
    std::string commands; ///< of the status calls, one digit each
};

/// A host I/O procedure that keeps the file and does what a test says before each operation. The
/// export record's ioContext must be its address.
struct MischiefFile {
    std::function<void(int32_t operation)> onOperation;
    std::function<intptr_t(int32_t operation, intptr_t honest)> answer; ///< null: the honest one
    std::string bytes;
    std::string operations; ///< one digit each

    uintptr_t Context() { return reinterpret_cast<uintptr_t>(this); }

    /// What EscapeSetup takes with KOWEN_ESCAPE_SET_HOST_IO.
    static const void *Procedure() { return reinterpret_cast<const void *>(&Serve); }

private:
    static intptr_t Serve(uintptr_t context, int32_t operation, void *argument, int32_t count) {
        if (context == 0)
            return 0; // a deletion by name
        auto &self = *reinterpret_cast<MischiefFile *>(context);
        self.operations += std::to_string(operation);
        if (self.onOperation)
            self.onOperation(operation);
        const intptr_t honest = self.Answer(operation, argument, count);
        return self.answer ? self.answer(operation, honest) : honest;
    }

    intptr_t Answer(int32_t operation, void *argument, int32_t count) {
        if (operation == KOWEN_IO_OPEN)
            return static_cast<intptr_t>(Context());
        if (operation == KOWEN_IO_CLOSE)
            return 0;
        if (operation != KOWEN_IO_WRITE)
            return -1;
        bytes.append(static_cast<const char *>(argument), static_cast<size_t>(count));
        return count;
    }
};

/// A device behind one of the short doors, and the record it is initialised with.
class HostileDevice {
public:
    HostileDevice(const ModuleHost &module, const char *door) {
        module.Entry<ShortDoorFunction>(door)(KOWEN_DOOR_ADDRESS, &address, 0);
    }

    int32_t Call(uint16_t function, void *argument) const { return address(0, function, argument); }
    /// Initialises it; path empty for memory.
    int32_t Initialise(MemoryHandle setup, const std::string &path,
                       ExportRecord *exportRecord = nullptr) {
        record = {};
        std::memcpy(name, path.c_str(), path.size() + 1);
        record.outputName = name;
        record.setup = setup;
        record.exportRecord = exportRecord;
        record.returnAreaSize = 64;
        return Call(KOWEN_DD_INITIALISE, &record);
    }
    int32_t Run(kowen::test::Request request) const {
        return Call(KOWEN_DD_DISPATCH, request.Data());
    }
    int32_t Run(uint32_t opcode) const { return Run(kowen::test::Request(opcode)); }
    int32_t Terminate() const { return Call(KOWEN_DD_TERMINATE, nullptr); }

    OpenRecord record = {};

private:
    DeviceDoorFunction address = nullptr;
    char name[8192] = "";
};

/// The requests that draw a 24-bit picture at 96 dots per inch, in order.
inline std::vector<kowen::test::Request> DrawingRequests(const TestBitmap &picture) {
    using namespace kowen::test;
    // Divided by the compiler: the host may trap what a division leaves over.
    constexpr double kUnit = 25.4 / 96;
    const auto width = static_cast<uint32_t>(picture.width);
    const auto height = static_cast<uint32_t>(picture.height);
    return {Request(kOpenDevice),
            Request(kBeginPicture),
            WindowRequest(0, 0, picture.width - 1, picture.height - 1),
            MillimetresRequest(kUnit),
            Request(kBeginBody),
            OpenPictureRequest(width, height, 24),
            CellsRequest(width, height, 24, picture.pixels),
            WritePictureRequest(),
            Request(kEndPicture),
            Request(kCloseDevice)};
}

/// What a device answers to each of the requests.
inline std::vector<int32_t> RunAll(const HostileDevice &device,
                                   const std::vector<kowen::test::Request> &requests) {
    std::vector<int32_t> answers;
    for (const kowen::test::Request &request : requests)
        answers.push_back(device.Run(request));
    return answers;
}

class HostileHost : public testing::Test {
protected:
    HostileHost() : setup(MakeSetup(plain)), otherSetup(MakeSetup(steps)) {}
    ~HostileHost() override {
        host.destroySetup(setup);
        host.destroySetup(otherSetup);
    }
    void TearDown() override { ExpectOrdinaryExports(); }

    /// A setup from the profile of a recorded export; the caller destroys it.
    MemoryHandle MakeSetup(const RecordedExport &recorded) const {
        const std::string name = std::to_string(recorded.index) + ".ini";
        const std::string profile =
            host.directory.Has(name) ? Path(name) : host.directory.Write(name, recorded.profile);
        return host.createSetup(0, profile.c_str(), recorded.section.c_str(), nullptr);
    }

    std::string Path(const std::string &name) const { return host.directory.File(name); }
    ExportBytes FileBytes(const std::string &name) const {
        const std::string bytes = host.directory.Read(name);
        return {bytes.begin(), bytes.end()};
    }

    /// A recorded export through the bitmap door; to memory without a name.
    ExportRun Export(const RecordedExport &recorded, MemoryHandle with,
                     const std::string &path = "", ExportRecord *record = nullptr) const {
        ExportRecord quiet = {};
        return host.Export(path.c_str(), recorded.bitmap, recorded.cell, with,
                           record != nullptr ? record : &quiet);
    }
    /// The plain export with this test's setup and mischief, to a file.
    int32_t ExportTo(const std::string &name) {
        return Export(plain, setup, Path(name), &mischief.record).result;
    }

    /// A recorded export through the raster device. Every step must answer 0.
    ExportBytes Draw(const RecordedExport &recorded, MemoryHandle with,
                     ExportRecord *record = nullptr) const {
        HostileDevice device(host.module, "RASTER_dd_entry");
        bool whole = device.Initialise(with, Path("drawn.jpg"), record) == 0;
        for (const int32_t answer : RunAll(device, DrawingRequests(recorded.bitmap)))
            whole = whole && answer == 0;
        whole = device.Terminate() == 0 && whole;
        return whole ? FileBytes("drawn.jpg") : ExportBytes{};
    }

    /// True when the recorded exports have every byte: both setups on the bitmap door, one on the
    /// raster device. With fresh setups, so that no test spoils them.
    bool OrdinaryExportsAreWhole() const {
        bool whole = true;
        for (const RecordedExport *recorded : {&plain, &steps}) {
            const MemoryHandle fresh = MakeSetup(*recorded);
            const ExportRun run = Export(*recorded, fresh);
            whole = whole && run.result == 0 && run.jpeg == recorded->jpeg;
            if (recorded == &plain)
                whole = whole && Draw(*recorded, fresh) == recorded->jpeg;
            whole = whole && host.destroySetup(fresh) == 0;
        }
        return whole;
    }
    void ExpectOrdinaryExports() const {
        EXPECT_TRUE(OrdinaryExportsAreWhole()) << "the next ordinary exports";
    }

    const RecordedExport &plain = Recorded(0); ///< 16 x 8, luminance and chroma, sequential
    const RecordedExport &steps = Recorded(1); ///< 16 x 8, progressive
    const ExportHost host;
    const EditSetupFunction editSetup = host.module.Entry<EditSetupFunction>("EditSetup");
    MemoryHandle setup;      ///< of the plain export
    MemoryHandle otherSetup; ///< of the progressive one
    Mischief mischief;
};
