// Requests in any order, well-formed and with any contents, to both device doors.
//
// The input is a play: each step is one call of a host (a door function, a request, an answer of
// its status callback or I/O procedure). A request has exactly the bytes that its own counts ask
// for, in a block of its own, so that the sanitizers see every byte read or written beyond it.
// Beside that: the state is one of the documented ones, the return area never holds more than its
// size, and the doors answer documented codes.
#include "fuzz/module_state.h"

#include "device/common_record.h"
#include "device/device_record.h"
#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "raster/door.h"
#include "raster/opcode_table.h"
#include "setup/setup.h"
#include "support/temp_directory.h"

#include <algorithm>
#include <string>
#include <vector>

namespace {

using namespace kowen;
using fuzz::Append;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::Require;

constexpr size_t kLargestRequest = 1 << 20;
constexpr int kMostSteps = 60;

Input *play = nullptr;
const TempDirectory *workingDirectory = nullptr;
CommonRecord commonRecord;

int32_t Status(uintptr_t, int32_t, int32_t, int32_t, int32_t, int32_t, void *) {
    if (play->Seldom(20))
        RASTER_dd_entry32(0, KOWEN_DD_TERMINATE, nullptr); // a host that does not wait
    return play->Seldom(5);
}

intptr_t HostIo(uintptr_t, int32_t operation, void *argument, int32_t count) {
    if (operation == KOWEN_IO_WRITE) {
        uint32_t sum = 0; // reads what it is given
        for (int32_t i = 0; i < count; ++i)
            sum += static_cast<uint8_t *>(argument)[i];
        return play->Bool() ? count : static_cast<int32_t>(sum & 1);
    }
    return play->Between(-1, 2);
}

// Mostly small, so that pictures come about; sometimes anything.
uint32_t Count() {
    if (play->Seldom(16))
        return play->Number<uint32_t>();
    return play->Below(71);
}

double Coordinate() {
    if (play->Seldom(16))
        return play->Number<double>();
    return play->Between(-4, 70);
}

int32_t Precision() {
    static constexpr int32_t kUsual[] = {1, 4, 8, 24, 32, -1, -4, -8, -24, -32, -32768};
    if (play->Seldom(16))
        return play->Number<int32_t>();
    return play->Pick(kUsual);
}

Bytes Content(size_t count) {
    Bytes bytes = play->Take(std::min<size_t>(count, 64));
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
    Append(request, static_cast<int16_t>(play->Between(-1, 4)));
    request.resize(24);
    Append(request, play->Bool() ? 25.4 / 100 : play->Number<double>());
    return request;
}

Bytes Colors() {
    const auto arguments = play->Below(901);
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
    const bool here = precision >= 0 || precision == -32768;
    const uint64_t rowBytes = RowBytes(columns, depth);
    if (rows != 0 && rowBytes > kLargestRequest / rows) {
        // No host has that many; the driver must not look at a size that wraps.
        request[0] = KOWEN_REQUEST_END_PICTURE, request[1] = 0;
        return request;
    }
    const Bytes cells = Content(static_cast<size_t>(rowBytes * rows));
    if (here) {
        request.insert(request.end(), cells.begin(), cells.end());
    } else {
        farCells = cells;
        farCells.shrink_to_fit();
        Append(request, play->Seldom(32) ? nullptr : farCells.data());
    }
    return request;
}

Bytes Primitive() {
    Bytes request = Head(KOWEN_REQUEST_PRIMITIVE);
    static constexpr int32_t kPrimitives[] = {-5, -6, -5, -6, -5, -6, -7, -1, 0, 1};
    Append(request, play->Pick(kPrimitives));
    const auto points = play->Below(4);
    Append(request, points);
    request.resize(request.size() + size_t{points} * 24);
    const auto length = play->Bool() ? 28u : play->Below(41);
    Append(request, length);
    Bytes data;
    Append(data, Count());
    Append(data, Count());
    Append(data, Precision());
    Append(data, play->Number<uint32_t>());
    data.resize(length);
    request.insert(request.end(), data.begin(), data.end());
    return request;
}

Bytes AnyRow() {
    const auto row = play->Below(kDdFuncCount);
    Bytes request = Head(ddFuncTable[row].opcode, play->Bool() ? 0 : 4);
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
    static constexpr uint32_t kNumbers[] = {KOWEN_REQUEST_SET_WINDOW, KOWEN_REQUEST_SET_VIEWPORT,
                                            KOWEN_REQUEST_SET_BACKGROUND, KOWEN_REQUEST_POP_ERRORS};
    switch (play->Between(0, 7)) {
    case 0:
        return Head(play->Pick(kPlain));
    case 1:
        return Doubles(play->Pick(kNumbers));
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

// What changes nothing: the short doors, whether a request would run, functions that do nothing.
void Ask() {
    uint8_t out[sizeof(void *)];
    const auto function = static_cast<int16_t>(play->Between(-4, 3));
    Require((play->Bool() ? RASTER_dd_entry : dd_entry)(function, out, 0) == 0, "the short doors");
    const int32_t support = InquireSupport(play->Between(0, 4100), play->Number<int32_t>());
    Require(support == 0 || support == 2, "a documented answer");
    uint32_t version = 0;
    const auto door = play->Bool() ? RASTER_dd_entry32 : dd_entry32;
    Require(door(0, KOWEN_DD_VERSION, &version) == 4 && version == 0x02000005, "the version");
    Require(door(0, KOWEN_DD_NOTHING, nullptr) == 0, "nothing");
}

void Dispatch(Bytes request) {
    request.shrink_to_fit();
    const auto door = play->Seldom(8) ? dd_entry32 : RASTER_dd_entry32;
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
        exportRecord.statusCallback = play->Bool() ? Status : nullptr;
        exportRecord.context = play->Below(2);
        record.setup = play->Seldom(16) ? 0 : setup;
        record.exportRecord = play->Seldom(8) ? nullptr : &exportRecord;
        record.returnAreaSize = Count();
        Lock<SetupRecord>(setup)->ioProcedure = play->Bool() ? HostIo : nullptr;
        const bool raster = !play->Seldom(4);
        (raster ? RASTER_dd_entry32 : dd_entry32)(0, KOWEN_DD_INITIALISE, &record);
    }

    // Memory, a file, a file that cannot be made, a name of any length. Cancelled outputs are
    // deleted, so there is no name but in the fuzzer's own directory.
    void NameOutput() {
        std::string path = workingDirectory->File("a.jpg");
        switch (play->Between(0, 7)) {
        case 0:
            path = workingDirectory->File("no/a.jpg");
            break;
        case 1:
            path += std::string(play->Below(201), 'n');
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
        switch (play->Between(0, 15)) {
        case 0:
            return Initialise();
        case 1:
        case 2:
            return OpenPicture();
        case 3:
            lpCommon = play->Bool() ? &commonRecord : nullptr;
            commonRecord.stateWord = play->Between(-1, 2);
            commonRecord.statusRecord = play->Bool() ? &exportRecord : nullptr;
            return;
        case 4:
            (play->Bool() ? RASTER_dd_entry32 : dd_entry32)(0, KOWEN_DD_TERMINATE, nullptr);
            return;
        case 5:
            return Choose(*Lock<SetupRecord>(setup));
        case 6:
            return Ask();
        default:
            return Dispatch(NextRequest());
        }
    }

private:
    static void Choose(SetupRecord &choices) {
        UseDefaultSettings(&choices);
        choices.colorMode = play->Between(102, 108);
        choices.colorFormat = play->Bool() ? 212 : play->Between(210, 223);
        choices.operation = play->Between(245, 247);
        choices.sizeMode = play->Between(600, 603);
        choices.resolutionMode = play->Between(307, 310);
        choices.quality = static_cast<int16_t>(play->Below(102));
        choices.width = play->Byte() / 255.0;
        choices.height = play->Byte() / 255.0;
    }

    MemoryHandle setup;
    char name[512] = "";
    int32_t capabilities[60] = {};
    ExportRecord exportRecord = {};
    OpenRecord record = {};
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const TempDirectory directory;
    workingDirectory = &directory;
    const fuzz::MemoryLimit limit;
    Input input(data, size);
    play = &input;
    {
        Host host;
        for (int step = 0; step < kMostSteps && input.Left() > 0; ++step) {
            host.Step();
            RequireSaneDevice();
        }
    }
    play = nullptr;
    fuzz::RequireNothingIsCurrent();
    return 0;
}
