#include "decode.h"

#include "blocks.h"
#include "names.h"
#include "setups.h"

namespace kowen::check {
namespace {

Json DescribeQuery(const void *in) {
    const auto query = ValueAt<RasterQuery>(in);
    return {{"displayResolution", query.displayResolution},
            {"pictureResolution", query.pictureResolution},
            {"pictureWidth", query.pictureWidth},
            {"pictureHeight", query.pictureHeight},
            {"displayWidth", query.displayWidth},
            {"displayHeight", query.displayHeight}};
}

bool TakesName(int32_t operation) {
    return operation == KOWEN_IO_OPEN || operation == KOWEN_IO_EXISTS ||
           operation == KOWEN_IO_DELETE;
}

/// The count of an I/O operation is a mode, an origin or a number of bytes.
Json DescribeCount(int32_t operation, int32_t count) {
    switch (operation) {
    case KOWEN_IO_OPEN:
    case KOWEN_IO_CLOSE:
        return FileModeNames(count);
    case KOWEN_IO_SEEK:
        return SeekName(count);
    default:
        return count;
    }
}

/// A number, and the name of what it means: "1 (KOWEN_COLOR_INVERTED)".
Json Meaning(int32_t number, const std::string &name) {
    const bool isNamed = name.compare(0, 6, "KOWEN_") == 0;
    return isNamed ? Json(std::to_string(number) + " (" + name + ")") : Json(number);
}

constexpr size_t kColorModeWord = 47; ///< of the capabilities

/// Of all other escapes "in" is nobody's: it may be anything.
bool TakesValue(int32_t code) {
    switch (code) {
    case KOWEN_ESCAPE_SET_COLOR_MODE:
    case KOWEN_ESCAPE_SET_COLOR_FORMAT:
    case KOWEN_ESCAPE_SET_X_RESOLUTION:
    case KOWEN_ESCAPE_SET_Y_RESOLUTION:
    case KOWEN_ESCAPE_SET_WIDTH:
    case KOWEN_ESCAPE_SET_HEIGHT:
    case KOWEN_ESCAPE_SET_RESOLUTION_MODE:
    case KOWEN_ESCAPE_SET_SIZE_MODE:
    case KOWEN_ESCAPE_SET_QUALITY:
    case KOWEN_ESCAPE_SET_QUALITY_MODE:
        return true;
    default:
        return false;
    }
}

/// A mode or format by its name, any other number as it is.
Json DescribeSetting(int32_t code, int32_t value) {
    const auto named = [value](const std::string &name) {
        return name.compare(0, 6, "KOWEN_") == 0 ? Json(name) : Json(value);
    };
    switch (code) {
    case KOWEN_ESCAPE_SET_COLOR_MODE:
    case KOWEN_ESCAPE_GET_COLOR_MODE:
        return named(EscapeColorName(value));
    case KOWEN_ESCAPE_SET_COLOR_FORMAT:
        return named(EscapeFormatName(value));
    case KOWEN_ESCAPE_SET_RESOLUTION_MODE:
        return named(EscapeResolutionName(value));
    case KOWEN_ESCAPE_SET_SIZE_MODE:
        return named(EscapeSizeName(value));
    case KOWEN_ESCAPE_SET_QUALITY_MODE:
        return named(EscapeQualityName(value));
    default:
        return value;
    }
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
            {"hostValue", record->hostValue != 0},
            {"memoryBlock", DescribeBlock(record->memoryBlock)},
            {"picture", record->picture},
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
            {"hostValue1", record->hostValue1 != 0},
            {"hostValue2", record->hostValue2 != 0},
            {"returnAreaSize", record->returnAreaSize},
            {"capabilities", record->capabilities != nullptr}};
}

Json DescribeOpenRecordOutputs(const OpenRecord &record, bool ofRasterDoor) {
    if (!ofRasterDoor)
        return {{"outputName", DescribeText(record.outputName)},
                {"setup", DescribeSetup(record.setup)}};
    Json described = {{"returnArea", record.returnArea != nullptr}};
    if (record.capabilities != nullptr) {
        const int32_t mode = record.capabilities[kColorModeWord];
        described["colorMode"] = Meaning(mode, ColorModeName(mode + KOWEN_COLOR_UNCHANGED));
    }
    return described;
}

Json DescribeIo(uintptr_t handleOrContext, int32_t operation, const void *argument, int32_t count) {
    Json described = {{"operation", IoOperationName(operation)}};
    if (TakesName(operation))
        described["name"] = DescribeText(static_cast<const char *>(argument));
    else
        described["handle"] = handleOrContext != 0 ? "the host's" : "0";
    if (operation == KOWEN_IO_SEEK && argument != nullptr)
        described["offset"] = ValueAt<int32_t>(argument);
    described["count"] = DescribeCount(operation, count);
    return described;
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
        if (!TakesValue(code))
            return "not read";
        if (size == sizeof(double))
            return ValueAt<double>(in);
        return size == sizeof(int32_t) ? DescribeSetting(code, ValueAt<int32_t>(in))
                                       : Json("not read");
    }
}

Json DescribeEscapeOutput(int32_t code, const void *out) {
    if (out == nullptr)
        return nullptr;
    switch (code) {
    case KOWEN_ESCAPE_GET_RESOLUTION:
        return {ValueAt<int32_t>(out), ValueAt<int32_t>(out, 4)};
    case KOWEN_ESCAPE_GET_SIZE:
        return {ValueAt<double>(out), ValueAt<double>(out, 8)};
    case KOWEN_ESCAPE_GET_HOST_VALUE:
    case KOWEN_ESCAPE_GET_QUALITY:
    case KOWEN_ESCAPE_GET_COLOR_MODE:
        return DescribeSetting(code, ValueAt<int32_t>(out));
    case KOWEN_ESCAPE_RASTER_QUERY:
        return {{"width", ValueAt<int32_t>(out)},
                {"height", ValueAt<int32_t>(out, 4)},
                {"bitsPerPixel", ValueAt<int32_t>(out, 8)}};
    default:
        return nullptr;
    }
}

} // namespace kowen::check
