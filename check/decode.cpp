#include "decode.h"

#include "blocks.h"
#include "names.h"
#include "setups.h"

namespace kowen::check {
namespace {

Json Doubles(const void *bytes, size_t offset, int count) {
    Json values = Json::array();
    for (int i = 0; i < count; ++i)
        values.push_back(ValueAt<double>(bytes, offset + sizeof(double) * static_cast<size_t>(i)));
    return values;
}

Json DescribeQuery(const void *in) {
    const auto query = ValueAt<RasterQuery>(in);
    return {{"displayResolution", query.displayResolution},
            {"pictureResolution", query.pictureResolution},
            {"pictureWidth", query.pictureWidth},
            {"pictureHeight", query.pictureHeight},
            {"displayWidth", query.displayWidth},
            {"displayHeight", query.displayHeight}};
}

Json DescribePrimitive(const void *request) {
    const auto primitive = ValueAt<int32_t>(request, 16);
    const auto points = ValueAt<uint32_t>(request, 20);
    Json described = {{"primitive", PrimitiveName(primitive)}};
    if (primitive == KOWEN_PRIMITIVE_OPEN_PICTURE && points == 0 &&
        ValueAt<uint32_t>(request, 24) >= 12) {
        described["width"] = ValueAt<uint32_t>(request, 28);
        described["height"] = ValueAt<uint32_t>(request, 32);
        described["bits"] = ValueAt<int32_t>(request, 36);
    }
    return described;
}

Json DescribeCells(const void *request) {
    return {{"columns", ValueAt<uint32_t>(request, 88)},
            {"rows", ValueAt<uint32_t>(request, 92)},
            {"bits", ValueAt<int32_t>(request, 96)}};
}

Json DescribeColors(const void *request) {
    return {{"arguments", ValueAt<uint32_t>(request, 4)},
            {"first", ValueAt<uint32_t>(request, 16)}};
}

Json DescribeResolution(const void *request) {
    return {{"mode", ValueAt<int16_t>(request, 16)},
            {"millimetresPerUnit", ValueAt<double>(request, 24)}};
}

} // namespace

Json DescribeText(const char *text) {
    return text != nullptr ? Json(std::string(text)) : Json(nullptr);
}

Json DescribeBitmap(const BitmapRecord *bitmap) {
    if (bitmap == nullptr)
        return nullptr;
    return {{"depth", bitmap->depth},
            {"width", bitmap->width},
            {"height", bitmap->height},
            {"palette", DescribeBlock(bitmap->palette)},
            {"pixels", DescribeBlock(bitmap->pixels)}};
}

Json DescribeCell(const CellRecord *cell) {
    if (cell == nullptr)
        return nullptr;
    return {{"resolution", cell->resolution},   {"targetResolution", cell->targetResolution},
            {"targetWidth", cell->targetWidth}, {"targetHeight", cell->targetHeight},
            {"pageWidth", cell->pageWidth},     {"pageHeight", cell->pageHeight}};
}

Json DescribeExportRecord(const ExportRecord *record) {
    if (record == nullptr)
        return nullptr;
    return {{"context", record->context != 0},
            {"statusCallback", record->statusCallback != nullptr},
            {"ioContext", record->ioContext != 0}};
}

Json DescribeHost(const HostRecord *host) {
    if (host == nullptr)
        return nullptr;
    return {{"setup", DescribeSetup(host->setup)},
            {"exportRecord", DescribeExportRecord(host->exportRecord)}};
}

Json DescribeOpenRecord(const OpenRecord *record) {
    if (record == nullptr)
        return nullptr;
    return {{"outputName", DescribeText(record->outputName)},
            {"setup", DescribeSetup(record->setup)},
            {"exportRecord", DescribeExportRecord(record->exportRecord)},
            {"returnAreaSize", record->returnAreaSize},
            {"capabilities", record->capabilities != nullptr}};
}

Json DescribeEscapeInput(int32_t code, uint32_t size, const void *in) {
    switch (code) {
    case KOWEN_ESCAPE_SET_HOST_IO:
    case KOWEN_ESCAPE_SET_HOST_VALUE:
        return in != nullptr ? "address" : "null";
    case KOWEN_ESCAPE_RASTER_QUERY:
        return in != nullptr ? DescribeQuery(in) : Json(nullptr);
    default:
        if (in == nullptr)
            return nullptr;
        if (size == sizeof(double))
            return ValueAt<double>(in);
        return size == sizeof(int32_t) ? Json(ValueAt<int32_t>(in)) : Json("not read");
    }
}

Json DescribeEscapeOutput(int32_t code, const void *out) {
    if (out == nullptr)
        return nullptr;
    switch (code) {
    case KOWEN_ESCAPE_GET_RESOLUTION:
        return {ValueAt<int32_t>(out), ValueAt<int32_t>(out, 4)};
    case KOWEN_ESCAPE_GET_SIZE:
        return Doubles(out, 0, 2);
    case KOWEN_ESCAPE_GET_HOST_VALUE:
    case KOWEN_ESCAPE_GET_QUALITY:
    case KOWEN_ESCAPE_GET_COLOR_MODE:
        return ValueAt<int32_t>(out);
    case KOWEN_ESCAPE_RASTER_QUERY:
        return {{"width", ValueAt<int32_t>(out)}, {"height", ValueAt<int32_t>(out, 4)}};
    default:
        return nullptr;
    }
}

Json DescribeRequest(const void *request) {
    if (request == nullptr)
        return nullptr;
    const auto opcode = ValueAt<uint32_t>(request);
    Json described = {{"opcode", OpcodeName(opcode)}};
    Json more = Json::object();
    switch (opcode) {
    case KOWEN_REQUEST_SET_WINDOW:
    case KOWEN_REQUEST_SET_VIEWPORT:
        more = {{"corners", Doubles(request, 16, 6)}};
        break;
    case KOWEN_REQUEST_SET_VIEWPORT_MODE:
        more = DescribeResolution(request);
        break;
    case KOWEN_REQUEST_SET_COLORS:
        more = DescribeColors(request);
        break;
    case KOWEN_REQUEST_CELL_ARRAY:
        more = DescribeCells(request);
        break;
    case KOWEN_REQUEST_PRIMITIVE:
        more = DescribePrimitive(request);
        break;
    default:
        break;
    }
    described.update(more);
    return described;
}

} // namespace kowen::check
