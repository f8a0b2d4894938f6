#include "requests.h"

#include "decode.h"
#include "kowen/codes.h"
#include "names.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <optional>

namespace kowen::check {
namespace {

constexpr int32_t kInitialised = 1;
constexpr int32_t kOpen = 2;
constexpr int32_t kPictureBegun = 4;
constexpr int32_t kBody = 8;
constexpr int32_t kPictureEnded = 16;
constexpr int32_t kEvery = 31;
constexpr int32_t kOneBit = -32768;
constexpr uint32_t kTableColors = 256;
constexpr uint32_t kColorArguments = 2;
constexpr uint32_t kCornersBytes = 48;
constexpr uint32_t kNumberBytes = 4; // of errors; none follow

/// Opcodes from first to last, and the states in which they run.
struct States {
    uint32_t first, last;
    int32_t states;
};

constexpr States kStates[] = {
    {1, 1, kInitialised},
    {2, 2, kOpen | kPictureBegun | kBody | kPictureEnded},
    {3, 3, kOpen | kPictureEnded},
    {4, 4, kPictureBegun},
    {5, 5, kBody},
    {8, 8, kBody},
    {255, 255, kInitialised},
    {269, 270, kOpen},
    {518, 521, kPictureBegun},
    {765, 765, kOpen | kPictureBegun | kBody | kPictureEnded},
    {766, 766, kPictureBegun | kBody},
    {767, 767, kOpen | kPictureBegun | kBody | kPictureEnded},
    {771, 774, kBody},
    {1025, 1031, kBody},
    {1033, 1043, kBody},
    {1282, 1284, kBody},
    {1286, 1288, kBody},
    {1290, 1299, kBody},
    {1302, 1305, kBody},
    {1307, 1312, kBody},
    {1314, 1314, kBody},
    {1323, 1323, kBody},
    {1537, 1537, kEvery},
    {1788, 1788, kBody},
    {2310, 2310, kBody},
    {3841, 3843, kEvery},
};

int32_t StatesOf(uint32_t opcode) {
    for (const States &row : kStates)
        if (opcode >= row.first && opcode <= row.last)
            return row.states;
    return 0;
}

uint32_t DepthOf(int32_t precision) {
    if (precision == kOneBit)
        return 1;
    return static_cast<uint32_t>(std::abs(static_cast<int64_t>(precision)));
}

bool CellsAreElsewhere(int32_t precision) {
    return precision < 0 && precision != kOneBit;
}

bool IsReversed(const DeviceState &device, const void *request) {
    const auto p = ValueAt<double>(request, 24);
    const auto q = ValueAt<double>(request, 48);
    return (q < p && device.windowY2 > device.windowY1) ||
           (q > p && device.windowY2 < device.windowY1);
}

void CheckState(const Call &call, const DeviceState &device, uint32_t opcode) {
    const int32_t states = StatesOf(opcode);
    if (states == 0)
        call.Mistake(Rule::kRequestState, "there is no opcode " + std::to_string(opcode));
    else if ((states & device.state) == 0)
        call.Mistake(Rule::kRequestState,
                     OpcodeName(opcode) + " does not run in state " + std::to_string(device.state));
}

void CheckCells(const Call &call, const DeviceState &device, const void *request) {
    const auto precision = ValueAt<int32_t>(request, 96);
    if (CellsAreElsewhere(precision) && ValueAt<const void *>(request, 102) == nullptr)
        call.Mistake(Rule::kCellAddress, "the address of the cells is null");
    if (!device.pictureOpen) {
        call.Mistake(Rule::kPrimitives, "there is no open picture");
        return;
    }
    if (DepthOf(precision) != device.pictureDepth)
        call.Mistake(Rule::kRows, "cells of " + std::to_string(DepthOf(precision)) +
                                      " bits in a picture of " +
                                      std::to_string(device.pictureDepth));
    const uint64_t rows = device.rowsDrawn + ValueAt<uint32_t>(request, 92);
    if (!device.rowsReversed && !IsReversed(device, request) && rows > device.pictureRows)
        call.Mistake(Rule::kRows, std::to_string(rows) + " rows are drawn in a picture of " +
                                      std::to_string(device.pictureRows));
}

void CheckOpenPicture(const Call &call, const DeviceState &device, const void *request) {
    const std::optional<PictureData> picture = ReadPicture(request);
    if (!picture)
        call.Mistake(Rule::kPrimitives, "its data have no width, height and depth");
    else if (picture->width > device.windowColumns)
        call.Mistake(Rule::kWindow, "a picture of " + std::to_string(picture->width) +
                                        " columns in a window of " +
                                        std::to_string(device.windowColumns));
}

void CheckWritePicture(const Call &call, const DeviceState &device) {
    if (!device.pictureOpen)
        call.Mistake(Rule::kPrimitives, "there is no open picture");
    else if (!device.rowsReversed && device.rowsDrawn < device.pictureRows)
        call.Mistake(Rule::kRows, std::to_string(device.rowsDrawn) + " of " +
                                      std::to_string(device.pictureRows) + " rows were drawn");
}

/// A host that was told of an error, or that terminates the device, has given the picture up.
void CheckPictureWritten(const Call &call, const DeviceState &device) {
    if (device.lacksPicture)
        call.Mistake(Rule::kPrimitives, std::string("no picture was written: there was no -6") +
                                            (device.pictureOpen ? " after -5" : ""));
}

void CheckPrimitive(const Call &call, const DeviceState &device, const void *request) {
    switch (ValueAt<int32_t>(request, 16)) {
    case KOWEN_PRIMITIVE_OPEN_PICTURE:
        return CheckOpenPicture(call, device, request);
    case KOWEN_PRIMITIVE_WRITE_PICTURE:
        return CheckWritePicture(call, device);
    default:
        break;
    }
}

void CheckColors(const Call &call, const void *request) {
    const auto arguments = ValueAt<uint32_t>(request, 4);
    const auto first = ValueAt<uint32_t>(request, 16);
    if (arguments < kColorArguments || (arguments - kColorArguments) % 3 != 0)
        call.Mistake(Rule::kColourCount, "the count is " + std::to_string(arguments));
    else if (first + uint64_t{(arguments - kColorArguments) / 3} > kTableColors)
        call.Mistake(Rule::kColourCount, "there is no room for " +
                                             std::to_string((arguments - kColorArguments) / 3) +
                                             " colours from " + std::to_string(first));
}

/// Of requests that run.
uint32_t BytesAnswered(uint32_t opcode) {
    switch (opcode) {
    case KOWEN_REQUEST_QUERY_VIEWPORT:
    case KOWEN_REQUEST_QUERY_WINDOW:
        return kCornersBytes;
    case KOWEN_REQUEST_POP_ERRORS:
        return kNumberBytes;
    default:
        return 0;
    }
}

void CheckAnswer(const Call &call, const DeviceState &device, uint32_t bytes) {
    if (bytes > device.returnAreaSize - device.returnAreaUsed)
        call.Mistake(Rule::kReturnArea, "of " + std::to_string(device.returnAreaSize) + " bytes " +
                                            std::to_string(device.returnAreaUsed) +
                                            " are used, the answer has " + std::to_string(bytes));
}

int64_t ColumnsOf(const void *request) {
    const double columns = std::fabs(std::trunc(ValueAt<double>(request, 40)) -
                                     std::trunc(ValueAt<double>(request, 16))) +
                           1;
    return columns < 4e9 ? static_cast<int64_t>(columns) : int64_t{4000000000};
}

void FollowPrimitive(DeviceState *device, const void *request, int32_t result) {
    const auto primitive = ValueAt<int32_t>(request, 16);
    if (primitive == KOWEN_PRIMITIVE_WRITE_PICTURE) {
        device->pictureOpen = device->pictureOpen && result == KOWEN_ERR_MEMORY; // kept for another
        device->lacksPicture = false;
    }
    if (primitive != KOWEN_PRIMITIVE_OPEN_PICTURE)
        return;
    const std::optional<PictureData> picture = ReadPicture(request);
    if (!picture)
        return;
    device->pictureRows = picture->height;
    device->pictureDepth = DepthOf(picture->bits);
    device->pictureOpen = true;
    device->rowsDrawn = 0;
    device->rowsReversed = false;
}

void FollowState(DeviceState *device, uint32_t opcode) {
    constexpr int32_t kAfter[] = {0, kOpen, kInitialised, kPictureBegun, kBody, kPictureEnded};
    if (opcode >= 1 && opcode <= 5)
        device->state = kAfter[opcode];
}

void FollowLack(DeviceState *device, uint32_t opcode, int32_t result) {
    if (opcode == KOWEN_REQUEST_OPEN_DEVICE)
        device->lacksPicture = true;
    if (opcode == KOWEN_REQUEST_END_PICTURE || opcode == KOWEN_REQUEST_CLOSE_DEVICE ||
        result != KOWEN_OK)
        device->lacksPicture = false;
}

} // namespace

bool RequestRuns(const DeviceState &device, const void *request) {
    return (StatesOf(ValueAt<uint32_t>(request)) & device.state) != 0;
}

void CheckRequest(Call &call, const DeviceState &device, const void *request) {
    const auto opcode = ValueAt<uint32_t>(request);
    CheckState(call, device, opcode);
    if (!RequestRuns(device, request))
        return;
    if (opcode == KOWEN_REQUEST_CELL_ARRAY)
        CheckCells(call, device, request);
    else if (opcode == KOWEN_REQUEST_PRIMITIVE)
        CheckPrimitive(call, device, request);
    else if (opcode == KOWEN_REQUEST_SET_COLORS)
        CheckColors(call, request);
    else if (opcode == KOWEN_REQUEST_END_PICTURE || opcode == KOWEN_REQUEST_CLOSE_DEVICE)
        CheckPictureWritten(call, device);
    else
        CheckAnswer(call, device, BytesAnswered(opcode));
}

uint32_t AnswerBytes(const DeviceState &device, const void *request) {
    return RequestRuns(device, request) ? BytesAnswered(ValueAt<uint32_t>(request)) : 0;
}

void FollowRequest(DeviceState *device, const void *request, int32_t result) {
    const auto opcode = ValueAt<uint32_t>(request);
    if (!RequestRuns(*device, request))
        return;
    FollowState(device, opcode);
    FollowLack(device, opcode, result);
    if (opcode == KOWEN_REQUEST_SET_WINDOW) {
        device->windowColumns = ColumnsOf(request);
        device->windowY1 = ValueAt<double>(request, 24);
        device->windowY2 = ValueAt<double>(request, 48);
    } else if (opcode == KOWEN_REQUEST_CELL_ARRAY) {
        device->rowsReversed = device->rowsReversed || IsReversed(*device, request);
        device->rowsDrawn += result == KOWEN_OK ? ValueAt<uint32_t>(request, 92) : 0;
    } else if (opcode == KOWEN_REQUEST_PRIMITIVE) {
        FollowPrimitive(device, request, result);
    }
    device->returnAreaUsed +=
        std::min(BytesAnswered(opcode), device->returnAreaSize - device->returnAreaUsed);
}

} // namespace kowen::check
