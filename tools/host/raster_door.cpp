#include "host/raster_door.h"

#include "host/cancel.h"
#include "host/error.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <vector>

namespace kowen::host {
namespace {

constexpr int kStripRows = 64;
constexpr double kMillimetresPerInch = 25.4;
constexpr int16_t kMetric = 1; // viewport mode: millimetres per device unit
constexpr uint32_t kReturnBytes = 64;
constexpr size_t kCapabilities = 60;

// Offsets of the arguments in the requests.
constexpr size_t kRequestBytes = 128; // of every request but the colours
constexpr size_t kWindowX2 = 40;
constexpr size_t kWindowY2 = 48;
constexpr size_t kViewportMode = 16;
constexpr size_t kViewportScale = 24;
constexpr size_t kFirstColour = 16;
constexpr size_t kColours = 20;
constexpr size_t kPrimitive = 16;
constexpr size_t kPrimitiveDataBytes = 24;
constexpr size_t kPictureWidth = 28;
constexpr size_t kPictureHeight = 32;
constexpr size_t kPictureDepth = 36;
constexpr uint32_t kPictureDataBytes = 28;
constexpr size_t kCellColumns = 88;
constexpr size_t kCellRows = 92;
constexpr size_t kCellPrecision = 96;
constexpr size_t kCells = 102;

std::string Reason(int32_t code) {
    switch (code) {
    case KOWEN_ERR_MEMORY:
    case KOWEN_ERR_WORK_MEMORY:
    case -1:
        return "not enough memory for the export";
    case KOWEN_ERR_OUTPUT:
        return "the filter could not open or close its output";
    case KOWEN_ERR_CANCELLED:
        return "the export was stopped";
    default:
        return "the filter gave up the export";
    }
}

} // namespace

// Needs no alignment; what is not put is 0.
class RasterDoor::Request {
public:
    explicit Request(uint32_t opcode, size_t size = kRequestBytes) : bytes(size) {
        Put(offsetof(DdRequest, opcode), opcode);
    }

    template <typename Value> void Put(size_t offset, Value value) {
        PutBytes(offset, &value, sizeof value);
    }

    void PutBytes(size_t offset, const void *source, size_t count) {
        std::memcpy(bytes.data() + offset, source, count);
    }

    void *Data() { return bytes.data(); }

private:
    std::vector<uint8_t> bytes;
};

RasterDoor::RasterDoor(const FilterModule &filter, const Setup &exportSetup,
                       Progress *shownProgress, const std::string &outputName)
    : module(filter), setup(exportSetup), progress(shownProgress), name(outputName) {
    module.rasterDoor(KOWEN_DOOR_ADDRESS, &device, 0);
}

RasterDoor::~RasterDoor() {
    if (initialised)
        device(0, KOWEN_DD_TERMINATE, nullptr);
}

void RasterDoor::ToStore(const Bitmap &bitmap, int resolution, const Page &page, ByteStore *store) {
    target = store;
    setup.SetHostIo(HostIo);
    // The bitmap door has the page in its cell record; here the page is told beforehand.
    module.setDisplayInfo(page.width, page.height, page.dpi, page.dpi);
    progress->Show("exporting", 0);
    Initialise();
    Send(KOWEN_REQUEST_OPEN_DEVICE);
    Send(KOWEN_REQUEST_BEGIN_PICTURE);
    DescribePicture(bitmap, resolution);
    Send(KOWEN_REQUEST_BEGIN_BODY);
    SetColours(bitmap);
    DrawPicture(bitmap);
    Send(KOWEN_REQUEST_END_PICTURE);
    Send(KOWEN_REQUEST_CLOSE_DEVICE);
}

void RasterDoor::Initialise() {
    status.context = reinterpret_cast<uintptr_t>(progress);
    status.statusCallback = OnExportStatus;
    status.ioContext = reinterpret_cast<uintptr_t>(target);
    char outputName[] = "picture.jpg"; // the procedure's output has no other
    int32_t capabilities[kCapabilities] = {};
    OpenRecord record = {};
    record.outputName = outputName;
    record.returnAreaSize = kReturnBytes;
    record.setup = setup.Handle();
    record.exportRecord = &status;
    record.capabilities = capabilities;
    Check(device(0, KOWEN_DD_INITIALISE, &record));
    initialised = true;
}

void RasterDoor::DescribePicture(const Bitmap &bitmap, int resolution) {
    Request window(KOWEN_REQUEST_SET_WINDOW);
    window.Put(kWindowX2, double(bitmap.Width() - 1));
    window.Put(kWindowY2, double(bitmap.Height() - 1));
    Send(&window);
    Request viewport(KOWEN_REQUEST_SET_VIEWPORT_MODE);
    viewport.Put(kViewportMode, kMetric);
    viewport.Put(kViewportScale, kMillimetresPerInch / resolution);
    Send(&viewport);
}

void RasterDoor::SetColours(const Bitmap &bitmap) {
    const size_t count = bitmap.Colours();
    if (count == 0)
        return;
    Request request(KOWEN_REQUEST_SET_COLORS, kColours + count * 3);
    request.Put(offsetof(DdRequest, argumentCount), static_cast<uint32_t>(2 + count * 3));
    request.Put(kFirstColour, uint32_t{0});
    request.PutBytes(kColours, bitmap.Palette(), count * 3);
    Send(&request);
}

void RasterDoor::DrawPicture(const Bitmap &bitmap) {
    Request open(KOWEN_REQUEST_PRIMITIVE);
    open.Put(kPrimitive, int32_t{KOWEN_PRIMITIVE_OPEN_PICTURE});
    open.Put(kPrimitiveDataBytes, kPictureDataBytes);
    open.Put(kPictureWidth, bitmap.Width());
    open.Put(kPictureHeight, bitmap.Height());
    open.Put(kPictureDepth, bitmap.Depth());
    Send(&open);
    for (int row = 0; row < bitmap.Height(); row += kStripRows) {
        StopIfCancelled(); // the device asks only when it writes
        Request strip(KOWEN_REQUEST_CELL_ARRAY);
        strip.Put(kCellColumns, bitmap.Width());
        strip.Put(kCellRows, std::min(kStripRows, bitmap.Height() - row));
        strip.Put(kCellPrecision, -bitmap.Depth()); // negative: an address, not the cells
        strip.Put(kCells, bitmap.Row(row));
        Send(&strip);
    }
    Request write(KOWEN_REQUEST_PRIMITIVE);
    write.Put(kPrimitive, int32_t{KOWEN_PRIMITIVE_WRITE_PICTURE});
    Send(&write);
}

void RasterDoor::Send(uint32_t opcode) {
    Request request(opcode);
    Send(&request);
}

void RasterDoor::Send(Request *request) {
    Check(device(0, KOWEN_DD_DISPATCH, request->Data()));
}

// What the store has met says more than the code that the device makes of it.
void RasterDoor::Check(int32_t result) {
    if (result == KOWEN_OK)
        return;
    StopIfCancelled();
    if (const int failed = target->Finish(); failed != 0)
        FailWith(name, failed);
    throw HostError(name + ": " + Reason(result) + " (code " + std::to_string(result) + ")");
}

} // namespace kowen::host
