// Requests to a device, and what they answer.
#include "decode.h"
#include "names.h"

namespace kowen::check {
namespace {

constexpr uint32_t kMostPoints = 1000;
constexpr uint32_t kMostColors = 256;
constexpr uint32_t kColorArguments = 2;
constexpr int kCorners = 6;
constexpr int kPoint = 3;

Json Doubles(const void *bytes, size_t offset, int count) {
    Json values = Json::array();
    for (int i = 0; i < count; ++i)
        values.push_back(ValueAt<double>(bytes, offset + sizeof(double) * static_cast<size_t>(i)));
    return values;
}

Json Color(const void *bytes, size_t offset) {
    return {ValueAt<uint8_t>(bytes, offset), ValueAt<uint8_t>(bytes, offset + 1),
            ValueAt<uint8_t>(bytes, offset + 2)};
}

Json DescribePrimitive(const void *request) {
    Json described = {{"primitive", PrimitiveName(ValueAt<int32_t>(request, 16))},
                      {"points", ValueAt<uint32_t>(request, 20)}};
    if (ValueAt<int32_t>(request, 16) != KOWEN_PRIMITIVE_OPEN_PICTURE)
        return described;
    if (const std::optional<PictureData> picture = ReadPicture(request)) {
        described["width"] = picture->width;
        described["height"] = picture->height;
        described["bits"] = picture->bits;
    }
    return described;
}

Json DescribeCells(const void *request) {
    return {{"p", Doubles(request, 16, kPoint)},
            {"q", Doubles(request, 40, kPoint)},
            {"columns", ValueAt<uint32_t>(request, 88)},
            {"rows", ValueAt<uint32_t>(request, 92)},
            {"bits", ValueAt<int32_t>(request, 96)}};
}

/// The colours too, when their count can be that of a table.
Json DescribeColors(const void *request) {
    const auto arguments = ValueAt<uint32_t>(request, 4);
    Json described = {{"arguments", arguments}, {"first", ValueAt<uint32_t>(request, 16)}};
    if (arguments < kColorArguments || (arguments - kColorArguments) % 3 != 0 ||
        (arguments - kColorArguments) / 3 > kMostColors)
        return described;
    Json colors = Json::array();
    for (uint32_t i = 0; i < (arguments - kColorArguments) / 3; ++i)
        colors.push_back(Color(request, 20 + size_t{i} * 3));
    described["colours"] = std::move(colors);
    return described;
}

Json DescribeResolution(const void *request) {
    return {{"mode", ValueAt<int16_t>(request, 16)},
            {"millimetresPerUnit", ValueAt<double>(request, 24)}};
}

Json DescribeArguments(const void *request) {
    switch (ValueAt<uint32_t>(request)) {
    case KOWEN_REQUEST_SET_WINDOW:
    case KOWEN_REQUEST_SET_VIEWPORT:
        return {{"corners", Doubles(request, 16, kCorners)}};
    case KOWEN_REQUEST_SET_BACKGROUND:
        return {{"colour", Color(request, 16)}};
    case KOWEN_REQUEST_SET_VIEWPORT_MODE:
        return DescribeResolution(request);
    case KOWEN_REQUEST_SET_COLORS:
        return DescribeColors(request);
    case KOWEN_REQUEST_CELL_ARRAY:
        return DescribeCells(request);
    case KOWEN_REQUEST_PRIMITIVE:
        return DescribePrimitive(request);
    case KOWEN_REQUEST_POP_ERRORS:
        return {{"atMost", ValueAt<int32_t>(request, 16)}};
    default:
        return Json::object();
    }
}

} // namespace

std::optional<PictureData> ReadPicture(const void *request) {
    const auto points = ValueAt<uint32_t>(request, 20);
    const size_t data = 24 + size_t{points} * 24;
    if (points > kMostPoints || ValueAt<uint32_t>(request, data) < 12)
        return std::nullopt;
    return PictureData{ValueAt<uint32_t>(request, data + 4), ValueAt<uint32_t>(request, data + 8),
                       ValueAt<int32_t>(request, data + 12)};
}

Json DescribeRequest(const void *request, bool withArguments) {
    if (request == nullptr)
        return nullptr;
    Json described = {{"opcode", OpcodeName(ValueAt<uint32_t>(request))}};
    if (withArguments)
        described.update(DescribeArguments(request));
    return described;
}

Json DescribeAnswer(const void *bytes, uint32_t count) {
    if (count == kCorners * sizeof(double))
        return Doubles(bytes, 0, kCorners);
    return ValueAt<int32_t>(bytes);
}

} // namespace kowen::check
