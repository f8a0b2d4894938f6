// A host that exports bitmaps through the loaded module's bitmap door.
//
//     ExportHost host;
//     ExportSettings settings;
//     settings.quality = 90;
//     const ExportRun run = host.ExportToMemory(MakeNoise(17, 10), settings);
//     EXPECT_EQ(run.jpeg, ...);
#pragma once

#include "reference/jpeg/door.h"
#include "support/bitmaps.h"
#include "support/module_host.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

using ExportBytes = std::vector<uint8_t>;

/// The settings that a profile section holds.
using ExportSettings = kowen::reference::DoorSettings;

inline ExportSettings MakeSettings(int colorFormat, int operation = KOWEN_OPERATION_SEQUENTIAL,
                                   int quality = 75) {
    ExportSettings settings;
    settings.colorFormat = colorFormat;
    settings.operation = operation;
    settings.quality = quality;
    return settings;
}

/// Where the picture goes; by default as large as it is, at 96 dots per inch.
inline CellRecord CellFor(const TestBitmap &bitmap, int resolution = 96) {
    CellRecord cell = {};
    cell.resolution = 96;
    cell.targetResolution = static_cast<uint16_t>(resolution);
    cell.targetWidth = bitmap.width;
    cell.targetHeight = bitmap.height;
    cell.pageWidth = 640;
    cell.pageHeight = 480;
    return cell;
}

/// One call of a status procedure.
using StatusCall = std::array<intptr_t, 6>; // context, command, code, value1, value2, value3

/// A host's status procedure: keeps every call, answers what it is told to.
struct StatusRecorder {
    std::vector<int32_t> answers; ///< one a call, 0 when they run out
    std::vector<StatusCall> calls;
    std::vector<bool> replyWasClearTenWords; ///< one a call; false for a null reply

    static int32_t Procedure(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                             int32_t value2, int32_t value3, void *reply) {
        auto &self = *reinterpret_cast<StatusRecorder *>(context);
        const size_t call = self.calls.size();
        self.calls.push_back(
            {static_cast<intptr_t>(context), command, code, value1, value2, value3});
        static constexpr char kClear[40] = {};
        self.replyWasClearTenWords.push_back(reply != nullptr &&
                                             std::memcmp(reply, kClear, sizeof kClear) == 0);
        return call < self.answers.size() ? self.answers[call] : 0;
    }

    /// The calls without their context.
    std::vector<std::array<int32_t, 5>> Values() const {
        std::vector<std::array<int32_t, 5>> values;
        for (const StatusCall &call : calls)
            values.push_back({static_cast<int32_t>(call[1]), static_cast<int32_t>(call[2]),
                              static_cast<int32_t>(call[3]), static_cast<int32_t>(call[4]),
                              static_cast<int32_t>(call[5])});
        return values;
    }
};

/// What an export left behind.
struct ExportRun {
    int32_t result = -1;
    ExportBytes jpeg;        ///< of memory output: without the byte 255 behind it
    ExportBytes block;       ///< of memory output: the whole block
    ExportBytes pixelsAfter; ///< of the host's bitmap
};

class ExportHost {
public:
    ExportHost()
        : alloc(module.Symbol<GlobalAllocFunction>("GlobalAlloc")),
          lock(module.Symbol<GlobalLockFunction>("GlobalLock")),
          free(module.Symbol<GlobalFreeFunction>("GlobalFree")),
          size(module.Symbol<GlobalSizeFunction>("GlobalSize")),
          createSetup(module.Entry<CreateSetupFunction>("CreateSetup")),
          destroySetup(module.Entry<DestroySetupFunction>("DestroySetup")),
          escapeSetup(module.Entry<EscapeSetupFunction>("EscapeSetup")),
          exportCellData(module.Entry<ExportCellDataFunction>("ExportCellData")) {
        module.NameModule();
    }

    /// Exports a host's own records to a name. Memory output is collected.
    ExportRun ExportRecords(const char *outputName, BitmapRecord &bitmap, const CellRecord &cell,
                            MemoryHandle setup) const {
        ExportRecord record = {};
        HostRecord host = {};
        host.setup = setup;
        host.exportRecord = &record;
        ExportRun run;
        run.result = exportCellData(outputName, &bitmap, &cell, &host);
        if (record.memoryBlock != 0)
            TakeBlock(run, &record);
        return run;
    }

    /// A setup made of a profile section; the caller destroys it.
    MemoryHandle MakeSetup(const ExportSettings &settings) const {
        char text[512];
        std::snprintf(text, sizeof text,
                      "[Test]\nDriver=KOWEN.1\nColor Format=%d\nOperation=%d\nQuality Mode=242\n"
                      "Quality=%d\nSize Mode=%d\nResolution Mode=%d\nX Resolution=%d\n"
                      "Y Resolution=%d\nWidth=%.17g\nHeight=%.17g\n",
                      settings.colorFormat, settings.operation, settings.quality, settings.sizeMode,
                      settings.resolutionMode, settings.xResolution, settings.yResolution,
                      settings.width, settings.height);
        const std::string profile = directory.Write("test.ini", text);
        return createSetup(0, profile.c_str(), "Test", nullptr);
    }

    /// Bytes in a block of global memory; handle 0 for none. The caller frees it.
    MemoryHandle MakeBlock(const ExportBytes &bytes) const {
        if (bytes.empty())
            return 0;
        const MemoryHandle handle = alloc(KOWEN_GLOBAL_FLAGS, static_cast<uint32_t>(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), static_cast<uint8_t *>(lock(handle)));
        return handle;
    }
    ExportBytes BlockBytes(MemoryHandle handle) const {
        if (handle == 0)
            return {};
        const auto *bytes = static_cast<const uint8_t *>(lock(handle));
        return {bytes, bytes + size(handle)};
    }

    /// Exports with a setup and an export record of the caller's. Memory output is collected.
    ExportRun Export(const char *outputName, const TestBitmap &bitmap, const CellRecord &cell,
                     MemoryHandle setup, ExportRecord *record) const {
        BitmapRecord bitmapRecord = {};
        bitmapRecord.depth = static_cast<uint16_t>(bitmap.depth);
        bitmapRecord.width = static_cast<uint16_t>(bitmap.width);
        bitmapRecord.height = static_cast<uint16_t>(bitmap.height);
        bitmapRecord.pixels = MakeBlock(bitmap.pixels);
        bitmapRecord.palette = MakeBlock(bitmap.palette);
        HostRecord host = {};
        host.setup = setup;
        host.exportRecord = record;
        ExportRun run;
        run.result = exportCellData(outputName, &bitmapRecord, &cell, &host);
        run.pixelsAfter = BlockBytes(bitmapRecord.pixels);
        free(bitmapRecord.pixels);
        free(bitmapRecord.palette);
        if (record != nullptr && record->memoryBlock != 0)
            TakeBlock(run, record);
        return run;
    }

    ExportRun ExportToMemory(const TestBitmap &bitmap, const ExportSettings &settings,
                             const CellRecord &cell, StatusRecorder *status = nullptr) const {
        return ExportNamed("", bitmap, settings, cell, status);
    }
    ExportRun ExportToMemory(const TestBitmap &bitmap, const ExportSettings &settings = {}) const {
        return ExportToMemory(bitmap, settings, CellFor(bitmap));
    }

    ExportRun ExportToFile(const std::string &name, const TestBitmap &bitmap,
                           const ExportSettings &settings, StatusRecorder *status = nullptr) const {
        const std::string path = directory.File(name);
        ExportRun run = ExportNamed(path.c_str(), bitmap, settings, CellFor(bitmap), status);
        const std::string bytes = directory.Read(name);
        run.jpeg.assign(bytes.begin(), bytes.end());
        return run;
    }

    static ExportRecord RecordFor(StatusRecorder *status) {
        ExportRecord record = {};
        if (status != nullptr) {
            record.context = reinterpret_cast<uintptr_t>(status);
            record.statusCallback = &StatusRecorder::Procedure;
        }
        return record;
    }

private:
    ExportRun ExportNamed(const char *outputName, const TestBitmap &bitmap,
                          const ExportSettings &settings, const CellRecord &cell,
                          StatusRecorder *status) const {
        const MemoryHandle setup = MakeSetup(settings);
        ExportRecord record = RecordFor(status);
        ExportRun run = Export(outputName, bitmap, cell, setup, &record);
        destroySetup(setup);
        return run;
    }

    // The JPEG ends before the last byte that is not 0.
    void TakeBlock(ExportRun &run, ExportRecord *record) const {
        run.block = BlockBytes(record->memoryBlock);
        free(record->memoryBlock);
        record->memoryBlock = 0;
        const auto last = std::find_if(run.block.rbegin(), run.block.rend(),
                                       [](uint8_t byte) { return byte != 0; });
        if (last != run.block.rend())
            run.jpeg.assign(run.block.begin(), last.base() - 1);
    }

    // Before the module is loaded: no profile and no display of the machine's own.
    ScopedEnvironment noProfileDirectory{"INIDIR", nullptr};
    ScopedEnvironment noDisplay{"DISPLAYINFO", nullptr};

public:
    ModuleHost module;
    TempDirectory directory;
    const GlobalAllocFunction alloc;
    const GlobalLockFunction lock;
    const GlobalFreeFunction free;
    const GlobalSizeFunction size;
    const CreateSetupFunction createSetup;
    const DestroySetupFunction destroySetup;
    const EscapeSetupFunction escapeSetup;
    const ExportCellDataFunction exportCellData;
};

/// What the reference implementation of the bitmap door makes of the same.
inline ExportBytes PlainExport(const TestBitmap &bitmap, const ExportSettings &settings,
                               const CellRecord &cell) {
    return kowen::reference::ReferenceDoor(
        {bitmap.depth, bitmap.width, bitmap.height, bitmap.pixels, bitmap.palette},
        {cell.resolution, cell.targetResolution, cell.targetWidth, cell.targetHeight,
         cell.pageWidth, cell.pageHeight},
        settings);
}
inline ExportBytes PlainExport(const TestBitmap &bitmap, const ExportSettings &settings = {}) {
    return PlainExport(bitmap, settings, CellFor(bitmap));
}
