// Requests in any order, well-formed and with any contents, to both device doors.
//
// The input is a play: each step is one call of a host (a door function, a request, an answer of
// its status callback or I/O procedure). A request has exactly the bytes that its own counts ask
// for, in a block of its own, so that the sanitizers see every byte read or written beyond it.
// Beside that: the state is one of the documented ones, the return area never holds more than its
// size, and the doors answer documented codes.
#include "export/common_record.h"
#include "filter/setup.h"
#include "filter/state.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "raster/device_record.h"
#include "raster/door.h"
#include "raster/opcode_table.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace kowen;
using Bytes = std::vector<uint8_t>;

// More than this much memory for one block is not there: sizes below 2^32 are all allowed, but
// filling them would take most of the time.
constexpr uint64_t kLargestBlock = 8 << 20;
constexpr size_t kLargestRequest = 1 << 20;
constexpr int kMostSteps = 60;

FuzzedDataProvider *play = nullptr;
std::string workingDirectory;
CommonRecord commonRecord;

void Require(bool holds, const char *what) {
    if (holds)
        return;
    std::fprintf(stderr, "violated: %s\n", what);
    std::abort();
}

int32_t Status(uintptr_t, int32_t, int32_t, int32_t, int32_t, int32_t, void *) {
    if (play->ConsumeProbability<float>() < 0.05f)
        RASTER_dd_entry32(0, KOWEN_DD_TERMINATE, nullptr); // a host that does not wait
    return play->ConsumeProbability<float>() < 0.2f;
}

intptr_t HostIo(uintptr_t, int32_t operation, void *argument, int32_t count) {
    if (operation == KOWEN_IO_WRITE) {
        uint32_t sum = 0; // reads what it is given
        for (int32_t i = 0; i < count; ++i)
            sum += static_cast<uint8_t *>(argument)[i];
        return play->ConsumeBool() ? count : static_cast<int32_t>(sum & 1);
    }
    return play->ConsumeIntegralInRange(-1, 2);
}

template <typename T> void Append(Bytes &bytes, T value) {
    const auto *first = reinterpret_cast<const uint8_t *>(&value);
    bytes.insert(bytes.end(), first, first + sizeof value);
}

// Mostly small, so that pictures come about; sometimes anything.
uint32_t Count() {
    if (play->ConsumeIntegralInRange(0, 15) == 0)
        return play->ConsumeIntegral<uint32_t>();
    return play->ConsumeIntegralInRange<uint32_t>(0, 70);
}

double Coordinate() {
    if (play->ConsumeIntegralInRange(0, 15) == 0)
        return play->ConsumeFloatingPoint<double>();
    return play->ConsumeIntegralInRange(-4, 70);
}

int32_t Precision() {
    static constexpr int32_t kUsual[] = {1, 4, 8, 24, 32, -1, -4, -8, -24, -32, -32768};
    if (play->ConsumeIntegralInRange(0, 15) == 0)
        return play->ConsumeIntegral<int32_t>();
    return play->PickValueInArray(kUsual);
}

Bytes Content(size_t count) {
    Bytes bytes = play->ConsumeBytes<uint8_t>(std::min<size_t>(count, 64));
    bytes.resize(count);
    for (size_t i = 64; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(bytes[i % 64] + i / 64);
    return bytes;
}

Bytes Head(uint32_t opcode, uint32_t arguments = 0) {
    Bytes request;
    Append(request, opcode);
    Append(request, arguments);
    Append(request, uint64_t{0});
    return request;
}

Bytes Doubles(uint32_t opcode) {
    Bytes request = Head(opcode);
    for (int i = 0; i < 6; ++i)
        Append(request, Coordinate());
    return request;
}

Bytes ViewportMode() {
    Bytes request = Head(KOWEN_REQUEST_SET_VIEWPORT_MODE);
    Append(request, static_cast<int16_t>(play->ConsumeIntegralInRange(-1, 4)));
    request.resize(24);
    Append(request, play->ConsumeBool() ? 25.4 / 100 : play->ConsumeFloatingPoint<double>());
    return request;
}

Bytes Colors() {
    const auto arguments = play->ConsumeIntegralInRange<uint32_t>(0, 900);
    Bytes request = Head(KOWEN_REQUEST_SET_COLORS, arguments);
    Append(request, Count());
    const Bytes colors = Content(arguments < 2 ? 0 : (arguments - 2) / 3 * 3);
    request.insert(request.end(), colors.begin(), colors.end());
    return request;
}

uint64_t RowBytes(uint64_t columns, uint64_t depth) {
    return ((columns * depth + 7) / 8 + 3) / 4 * 4;
}

// Cells that are elsewhere; they live as long as the request.
Bytes farCells;

Bytes Cells() {
    Bytes request = Head(KOWEN_REQUEST_CELL_ARRAY);
    for (int i = 0; i < 9; ++i)
        Append(request, Coordinate());
    uint32_t columns = Count();
    const uint32_t rows = Count();
    const int32_t precision = Precision();
    const uint64_t depth = precision == -32768 ? 1 : std::abs(int64_t{precision});
    Append(request, columns);
    Append(request, rows);
    Append(request, precision);
    Append(request, uint16_t{0});
    // What a host has: rows of its own, complete.
    const unsigned __int128 size = static_cast<unsigned __int128>(RowBytes(columns, depth)) * rows;
    const bool here = precision >= 0 || precision == -32768;
    if (size > kLargestRequest) {
        // No host has that many; the driver must not look at a size that wraps.
        request[0] = KOWEN_REQUEST_END_PICTURE, request[1] = 0;
        return request;
    }
    const Bytes cells = Content(static_cast<size_t>(size));
    if (here) {
        request.insert(request.end(), cells.begin(), cells.end());
    } else {
        farCells = cells;
        farCells.shrink_to_fit();
        Append(request, play->ConsumeIntegralInRange(0, 31) == 0 ? nullptr : farCells.data());
    }
    return request;
}

Bytes Primitive() {
    Bytes request = Head(KOWEN_REQUEST_PRIMITIVE);
    static constexpr int32_t kPrimitives[] = {-5, -6, -5, -6, -5, -6, -7, -1, 0, 1};
    Append(request, play->PickValueInArray(kPrimitives));
    const auto points = play->ConsumeIntegralInRange<uint32_t>(0, 3);
    Append(request, points);
    request.resize(request.size() + size_t{points} * 24);
    const auto length = play->ConsumeBool() ? 28u : play->ConsumeIntegralInRange<uint32_t>(0, 40);
    Append(request, length);
    Bytes data;
    Append(data, Count());
    Append(data, Count());
    Append(data, Precision());
    Append(data, play->ConsumeIntegral<uint32_t>());
    data.resize(length);
    request.insert(request.end(), data.begin(), data.end());
    return request;
}

Bytes AnyRow() {
    const auto row = play->ConsumeIntegralInRange<size_t>(0, kDdFuncCount - 1);
    Bytes request = Head(ddFuncTable[row].opcode, play->ConsumeBool() ? 0 : 4);
    switch (ddFuncTable[row].opcode) {
    case KOWEN_REQUEST_CELL_ARRAY:
        return Cells();
    case KOWEN_REQUEST_PRIMITIVE:
        return Primitive();
    case KOWEN_REQUEST_SET_COLORS:
        return Colors();
    default:
        break;
    }
    for (int i = 0; i < 6; ++i) // enough for every other row
        Append(request, Coordinate());
    return request;
}

Bytes NextRequest() {
    static constexpr uint32_t kPlain[] = {KOWEN_REQUEST_OPEN_DEVICE,   KOWEN_REQUEST_CLOSE_DEVICE,
                                          KOWEN_REQUEST_BEGIN_PICTURE, KOWEN_REQUEST_BEGIN_BODY,
                                          KOWEN_REQUEST_END_PICTURE,   KOWEN_REQUEST_QUERY_VIEWPORT,
                                          KOWEN_REQUEST_QUERY_WINDOW,  KOWEN_REQUEST_EMPTY_ERRORS};
    switch (play->ConsumeIntegralInRange(0, 7)) {
    case 0:
        return Head(play->PickValueInArray(kPlain));
    case 1:
        return Doubles(play->ConsumeBool() ? KOWEN_REQUEST_SET_WINDOW : KOWEN_REQUEST_SET_VIEWPORT);
    case 2:
        return ViewportMode();
    case 3:
        return Colors();
    case 4:
        return Primitive();
    case 5:
        return AnyRow();
    default:
        return Cells();
    }
}

void RequireSaneDevice() {
    if (!lpEMData)
        return;
    const int32_t state = lpEMData->stateWord;
    Require(state == 1 || state == 2 || state == 4 || state == 8 || state == 16, "a known state");
    const ReturnArea &area = lpEMData->returnArea;
    Require(area.fillPosition <= area.size, "answers that fit into the return area");
    Require(lpEMData->errorStack.count == 0, "an error stack without capacity");
}

void Dispatch(Bytes request) {
    request.shrink_to_fit();
    const auto door = play->ConsumeIntegralInRange(0, 7) == 0 ? dd_entry32 : RASTER_dd_entry32;
    const int32_t code = door(0, KOWEN_DD_DISPATCH, request.data());
    Require(code == 0 || code == -1 || code == 27 || code == 300 || code == 303 || code == 901,
            "a documented code");
}

// One host: a setup and the records it hands to both doors.
class Host {
public:
    Host() {
        setup = GlobalAlloc(kGlobalFlags, sizeof(SetupRecord));
        hRaster = setup;
        lpRaster = Lock<SetupRecord>(setup);
        Choose(*lpRaster);
        record.outputName = name;
        record.capabilities = capabilities;
    }
    ~Host() {
        lpCommon = nullptr;
        RASTER_dd_entry32(0, KOWEN_DD_TERMINATE, nullptr);
        dd_entry32(0, KOWEN_DD_TERMINATE, nullptr);
        DestroySetup(setup);
        hRaster = hSetup = 0;
        lpRaster = lpSetup = nullptr;
    }

    void Initialise() {
        NameOutput();
        exportRecord.statusCallback = play->ConsumeBool() ? Status : nullptr;
        exportRecord.context = play->ConsumeIntegralInRange<uintptr_t>(0, 1);
        record.setup = play->ConsumeIntegralInRange(0, 15) == 0 ? 0 : setup;
        record.exportRecord = play->ConsumeIntegralInRange(0, 7) == 0 ? nullptr : &exportRecord;
        record.returnAreaSize = Count();
        Lock<SetupRecord>(setup)->ioProcedure = play->ConsumeBool() ? HostIo : nullptr;
        const bool raster = play->ConsumeIntegralInRange(0, 3) != 0;
        (raster ? RASTER_dd_entry32 : dd_entry32)(0, KOWEN_DD_INITIALISE, &record);
    }

    // Memory, a file, a file that cannot be made, a name of any length. Cancelled outputs are
    // deleted, so there is no name but in the fuzzer's own directory.
    void NameOutput() {
        std::string path = workingDirectory + "/a.jpg";
        switch (play->ConsumeIntegralInRange(0, 7)) {
        case 0:
            path = workingDirectory + "/no/a.jpg";
            break;
        case 1:
            path += std::string(play->ConsumeIntegralInRange<size_t>(0, 200), 'n');
            break;
        case 2:
        case 3:
        case 4:
            path.clear();
            break;
        default:
            break;
        }
        std::snprintf(name, sizeof name, "%s", path.c_str());
    }

    /// The steps up to the body of a picture, which a play of chance seldom finds.
    void OpenPicture() {
        Initialise();
        Dispatch(Head(KOWEN_REQUEST_OPEN_DEVICE));
        Dispatch(Head(KOWEN_REQUEST_BEGIN_PICTURE));
        Dispatch(Doubles(KOWEN_REQUEST_SET_WINDOW));
        Dispatch(ViewportMode());
        Dispatch(Head(KOWEN_REQUEST_BEGIN_BODY));
    }

    void Step() {
        switch (play->ConsumeIntegralInRange(0, 15)) {
        case 0:
            return Initialise();
        case 1:
        case 2:
            return OpenPicture();
        case 3:
            lpCommon = play->ConsumeBool() ? &commonRecord : nullptr;
            commonRecord.stateWord = play->ConsumeIntegralInRange(-1, 2);
            commonRecord.statusRecord = play->ConsumeBool() ? &exportRecord : nullptr;
            return;
        case 4:
            (play->ConsumeBool() ? RASTER_dd_entry32 : dd_entry32)(0, KOWEN_DD_TERMINATE, nullptr);
            return;
        case 5:
            return Choose(*Lock<SetupRecord>(setup));
        default:
            return Dispatch(NextRequest());
        }
    }

private:
    static void Choose(SetupRecord &choices) {
        UseDefaultSettings(&choices);
        choices.colorMode = play->ConsumeIntegralInRange(102, 108);
        choices.colorFormat = play->ConsumeBool() ? 212 : play->ConsumeIntegralInRange(210, 223);
        choices.operation = play->ConsumeIntegralInRange(245, 247);
        choices.sizeMode = play->ConsumeIntegralInRange(600, 603);
        choices.resolutionMode = play->ConsumeIntegralInRange(307, 310);
        choices.quality = play->ConsumeIntegralInRange<int16_t>(0, 101);
        choices.width = play->ConsumeFloatingPointInRange(0.0, 1.0);
        choices.height = play->ConsumeFloatingPointInRange(0.0, 1.0);
    }

    MemoryHandle setup;
    char name[512] = "";
    int32_t capabilities[60] = {};
    ExportRecord exportRecord = {};
    OpenRecord record = {};
};

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    workingDirectory = (std::filesystem::temp_directory_path() / "kowen-fuzz-XXXXXX").string();
    Require(mkdtemp(workingDirectory.data()) != nullptr, "a directory to work in");
    std::atexit([] { std::filesystem::remove_all(workingDirectory); });
    allocationGate = [](uint64_t bytes) noexcept { return bytes <= kLargestBlock; };
    // Refused blocks are announced there.
    Require(std::freopen("/dev/null", "w", stdout) != nullptr, "a place for messages");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider provider(data, size);
    play = &provider;
    {
        Host host;
        for (int step = 0; step < kMostSteps && provider.remaining_bytes() > 0; ++step) {
            host.Step();
            RequireSaneDevice();
        }
    }
    play = nullptr;
    return 0;
}
