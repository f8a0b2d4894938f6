#include "faults/export_scenario.h"

#include "export/bitmap_door.h"
#include "faults/documented_codes.h"
#include "faults/faulty_host.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unistd.h>

namespace kowen::test {
namespace {

constexpr char kFileName[] = "out.jpg";

/// The settings of a setup, which no export changes.
struct UserSettings {
    explicit UserSettings(const SetupRecord &setup)
        : values{setup.colorMode,   setup.lineMode,    setup.sizeMode,  setup.resolutionMode,
                 setup.colorFormat, setup.qualityMode, setup.operation, setup.quality},
          texts(setup.filterName, offsetof(SetupRecord, driverName)), hostValue(setup.hostValue),
          procedure(setup.ioProcedure) {
        if (setup.sizeMode == KOWEN_SIZE_USER)
            page = {setup.width, setup.height};
    }
    bool operator==(const UserSettings &) const = default;

    std::vector<int32_t> values;
    std::vector<double> page;
    std::string texts;
    uint32_t hostValue;
    HostIoProcedure procedure;
};

/// The records of a host, zeros between their fields included.
template <typename Record> std::string Image(const Record &record) {
    return {reinterpret_cast<const char *>(&record), sizeof record};
}

class ExportScenario : public Scenario {
public:
    explicit ExportScenario(const ExportCase &row) : given(row), bitmap(PictureOf(row)) {
        setup->colorFormat = given.colorFormat;
        setup->operation = given.operation;
        setup->qualityMode = KOWEN_QUALITY_USER;
        setup->quality = static_cast<int16_t>(given.quality);
        if (given.door != DoorKind::kBitmap && given.targetWidth != 0) {
            setup->sizeMode = KOWEN_SIZE_USER;
            setup->resolutionMode = KOWEN_RESOLUTION_USER;
            setup->width = static_cast<double>(given.targetWidth) / kDotsPerInch;
            setup->height = static_cast<double>(given.targetHeight) / kDotsPerInch;
            setup->header.xResolution = setup->header.yResolution = kDotsPerInch;
        }
        if (IsToHost())
            setup->ioProcedure = FaultyHost::Procedure;
        settings.emplace(*setup.operator->());
    }

    std::string Name() const override { return NameOf(given); }

    bool Has(FaultKind kind) const override {
        if (IsHostKind(kind))
            return IsToHost();
        if (kind == FaultKind::kHeap)
            return true;
        if (kind == FaultKind::kCancel)
            return given.door != DoorKind::kExport;
        return IsToFile();
    }

    void Begin() override {
        host.emplace();
        memory.clear();
        answers.clear();
        std::remove(directory.File(kFileName).c_str());
        name =
            IsToFile() || given.output == Output::kHost ? directory.File(kFileName) : std::string();
        exportRecord = {};
        exportRecord.context = 1;
        exportRecord.statusCallback = FaultyHost::Status;
        exportRecord.hostValue = 5;
        exportRecord.ioContext = 9;
        BeginBitmap();
        BeginDevice();
        if (given.output == Output::kFileWithoutInput) {
            savedInput = dup(STDIN_FILENO);
            close(STDIN_FILENO);
        }
    }

    void Run() override {
        if (given.door == DoorKind::kBitmap)
            answers = {{Step::kExportCellData,
                        ExportCellData(name.c_str(), &bitmapRecord, &cell, &hostRecord)}};
        else if (given.door == DoorKind::kExport)
            answers = OpenExportDevice(&openRecord);
        else
            answers = DrawOnDevice(given, bitmap, &openRecord, &memory);
        heapCallsAtEnd = HeapCalls();
    }

    std::string Judge(const FaultReport &report) override {
        std::string wrong;
        const std::string output = TakeOutput(&wrong);
        JudgeAnswers(report.kind, &wrong);
        JudgeRecords(&wrong);
        JudgeOutput(output, report, &wrong);
        if (report.kind == FaultKind::kHeap && report.messages > report.failures)
            wrong += " more was printed than the message of an exhausted heap;";
        return wrong;
    }

    std::string JudgeClean() override {
        std::string wrong;
        const std::string output = TakeOutput(&wrong);
        const int32_t end = given.door == DoorKind::kExport ? KOWEN_ERR_MEMORY : 0;
        for (const StepAnswer &answer : answers)
            if (answer.code != (answer.step == Step::kTerminateExport ? end : 0))
                wrong += " answered " + std::to_string(answer.code) + ";";
        JudgeRecords(&wrong);
        if (right.empty())
            right = output;
        if (output != right)
            wrong += " the file is not the right one;";
        if (given.bytes != 0 && (output.size() != given.bytes || Fnv1a(output) != given.checksum))
            wrong += " the file is not the one of the table, but {" +
                     std::to_string(output.size()) + ", " + std::to_string(Fnv1a(output)) + "};";
        return wrong;
    }

    void End() override {
        if (savedInput != -1) {
            dup2(savedInput, STDIN_FILENO);
            close(savedInput);
            savedInput = -1;
        }
        GlobalFree(exportRecord.memoryBlock);
        GlobalFree(bitmapRecord.pixels);
        GlobalFree(bitmapRecord.palette);
        host.reset();
    }

private:
    bool IsToHost() const {
        return given.output == Output::kHost || given.output == Output::kHostUnnamed;
    }
    bool IsToFile() const {
        return given.output == Output::kFile || given.output == Output::kFileWithoutInput;
    }
    bool IsRaster() const {
        return given.door != DoorKind::kBitmap && given.door != DoorKind::kExport;
    }

    static MemoryHandle MakeBlock(const std::vector<uint8_t> &bytes) {
        if (bytes.empty())
            return 0;
        const MemoryHandle block = GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(bytes.size()));
        std::memcpy(GlobalLock(block), bytes.data(), bytes.size());
        return block;
    }

    void BeginBitmap() {
        bitmapRecord = {};
        bitmapRecord.depth = static_cast<uint16_t>(bitmap.depth);
        bitmapRecord.width = static_cast<uint16_t>(bitmap.width);
        bitmapRecord.height = static_cast<uint16_t>(bitmap.height);
        if (given.door == DoorKind::kBitmap) {
            bitmapRecord.pixels = MakeBlock(bitmap.pixels);
            bitmapRecord.palette = MakeBlock(bitmap.palette);
        }
        bitmapBefore = bitmapRecord;
        cell = {};
        cell.resolution = cell.targetResolution = kDotsPerInch;
        cell.targetWidth = given.targetWidth != 0 ? given.targetWidth : given.width;
        cell.targetHeight = given.targetWidth != 0 ? given.targetHeight : given.height;
        cell.pageWidth = 640;
        cell.pageHeight = 480;
        cellBefore = Image(cell);
        hostRecord = {};
        hostRecord.setup = setup.handle;
        hostRecord.exportRecord = &exportRecord;
        hostBefore = Image(hostRecord);
    }

    void BeginDevice() {
        std::memset(deviceName, 0, sizeof deviceName);
        std::memcpy(deviceName, name.c_str(), name.size());
        openRecord = {};
        openRecord.outputName = deviceName;
        openRecord.returnAreaSize = 16;
        openRecord.setup = setup.handle;
        openRecord.exportRecord = &exportRecord;
        openRecord.capabilities = capabilities;
    }

    bool HasFile() const { return directory.Has(kFileName); }

    std::string TakeOutput(std::string *wrong) {
        switch (given.output) {
        case Output::kFile:
        case Output::kFileWithoutInput:
            return directory.Read(kFileName);
        case Output::kMemory:
            if (given.door == DoorKind::kBitmap)
                memory = BlockBytes(exportRecord.memoryBlock);
            return JpegInBlock(memory, wrong);
        default:
            if (directory.Read(kFileName) != "")
                *wrong += " a file beside the host's;";
            return host->bytes;
        }
    }

    void JudgeAnswers(FaultKind kind, std::string *wrong) const {
        for (const StepAnswer &answer : answers)
            if (!IsDocumented(given, answer, kind))
                *wrong += " step " + std::to_string(static_cast<int>(answer.step)) + " answered " +
                          std::to_string(answer.code) + ";";
    }

    bool AllAnsweredZero() const {
        for (const StepAnswer &answer : answers)
            if (answer.code != 0)
                return false;
        return true;
    }

    // What the module may write is called out in kowen/records.h.
    void JudgeRecords(std::string *wrong) {
        JudgeBitmap(wrong);
        if (Image(cell) != cellBefore || Image(hostRecord) != hostBefore)
            *wrong += " the cell or the host's record was written to;";
        if (exportRecord.context != 1 || exportRecord.statusCallback != FaultyHost::Status ||
            exportRecord.hostValue != 5 || exportRecord.ioContext != 9)
            *wrong += " the export record was written to;";
        if (given.output != Output::kMemory && exportRecord.memoryBlock != 0)
            *wrong += " a block of memory was made for an output that is none;";
        if (IsRaster() && (openRecord.setup != setup.handle || name != deviceName))
            *wrong += " the open record was written to;";
        const SetupRecord &record = *setup.operator->();
        if (!(UserSettings(record) == *settings))
            *wrong += " a setting has changed;";
        if (record.hostCalls.underway != 0 || record.exportRecord != nullptr ||
            record.header.outputFile != 0)
            *wrong += " the setup still names an export;";
        if (lpEMData != nullptr)
            *wrong += " a device is left;";
        if (host->closes > host->opens + (host->refused ? 1 : 0))
            *wrong += " the host's file was closed twice;";
    }

    void JudgeBitmap(std::string *wrong) const {
        if (given.door != DoorKind::kBitmap)
            return;
        BitmapRecord documented = bitmapBefore;
        documented.resolution = bitmapRecord.resolution;
        documented.targetWidth = bitmapRecord.targetWidth;
        documented.targetHeight = bitmapRecord.targetHeight;
        if (Image(documented) != Image(bitmapRecord))
            *wrong += " the bitmap record was written to;";
        if (BlockBytes(bitmapRecord.palette) !=
            std::string(bitmap.palette.begin(), bitmap.palette.end()))
            *wrong += " the palette was written to;";
        // Only a bitmap that needs no conversion is mapped where it lies.
        const bool mayChange = bitmap.depth == 24 && given.targetWidth == 0;
        if (!mayChange && BlockBytes(bitmapRecord.pixels) !=
                              std::string(bitmap.pixels.begin(), bitmap.pixels.end()))
            *wrong += " the pixels were written to;";
    }

    // What a whole output must be. A host that was told that there is no picture bitmap, and has
    // the picture written all the same, gets a file without data.
    std::string WholeOutput() const {
        const auto lacksBitmap = [](const StepAnswer &answer) {
            return answer.step == Step::kDrawCells && answer.code == KOWEN_ERR_MEMORY;
        };
        const bool writesNone = given.door == DoorKind::kRasterBlunt &&
                                std::any_of(answers.begin(), answers.end(), lacksBitmap);
        return writesNone ? PlainFileWithoutPixels(given) : right;
    }

    void JudgeOutput(const std::string &output, const FaultReport &report, std::string *wrong) {
        const std::string whole = WholeOutput();
        if (output != whole && IsWhole(output))
            *wrong += " the output looks whole and is not the right one;";
        if (!host->lost && !whole.starts_with(output))
            *wrong += " the output is not the beginning of the right one;";
        // A procedure that never answers the count is believed to take everything.
        const bool tells = !IsToHost() || host->counts;
        if (IsRaster() && tells && AllAnsweredZero() && !host->confirmedStop && output != right)
            *wrong += " nothing was reported and the output is not the right one;";
        if (host->confirmedStop)
            JudgeStopped(output, report, wrong);
        if (report.kind == FaultKind::kCancel && !host->confirmedStop && output != right)
            *wrong += " nobody confirmed the stop, yet the output is not the right one;";
    }

    void JudgeStopped(const std::string &output, const FaultReport &report, std::string *wrong) {
        if (host->writesAfterStop != 0)
            *wrong += " the host got bytes after its stop;";
        // Memory output may grow for the byte behind its end.
        if (heapCallsAtEnd > host->heapCallsAtStop + (given.output == Output::kMemory ? 1 : 0))
            *wrong += " work went on after the stop;";
        if (given.door == DoorKind::kBitmap && IsWhole(output))
            *wrong += " the output was finished after the stop;";
        if (!IsRaster() || report.mode != FaultMode::kThatAndAllLater)
            return;
        if (IsToFile() && HasFile())
            *wrong += " the file of a cancelled device is still there;";
        if (IsToHost() && !host->deleted)
            *wrong += " the host was not told to delete its file;";
        if (AllAnsweredZero())
            *wrong += " no request answered that the host had stopped;";
    }

    const ExportCase given;
    const TestBitmap bitmap;
    std::string right; ///< of the first clean run

    TempDirectory directory;
    TestSetup setup;
    std::optional<UserSettings> settings;
    std::optional<FaultyHost> host;
    std::string name;
    char deviceName[4096] = {};
    int32_t capabilities[64] = {};
    ExportRecord exportRecord = {};
    OpenRecord openRecord = {};
    BitmapRecord bitmapRecord = {};
    BitmapRecord bitmapBefore = {};
    CellRecord cell = {};
    HostRecord hostRecord = {};
    std::string cellBefore;
    std::string hostBefore;
    std::string memory; ///< the block of memory output
    StepAnswers answers;
    int64_t heapCallsAtEnd = 0;
    int savedInput = -1; ///< while the standard input is closed
};

} // namespace

std::unique_ptr<Scenario> MakeExportScenario(const ExportCase &given) {
    return std::make_unique<ExportScenario>(given);
}

} // namespace kowen::test
