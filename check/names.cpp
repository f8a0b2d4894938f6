#include "names.h"

#include "kowen/codes.h"

#include <span>

namespace kowen::check {
namespace {

struct CodeName {
    int64_t code;
    const char *name;
};

std::string Find(std::span<const CodeName> names, int64_t code) {
    for (const CodeName &row : names)
        if (row.code == code)
            return row.name;
    return std::to_string(code);
}

#define KOWEN_NAMED(name) \
    { name, #name }

constexpr CodeName kResults[] = {
    KOWEN_NAMED(KOWEN_OK),
    KOWEN_NAMED(KOWEN_ERR_MEMORY_OUTPUT),
    KOWEN_NAMED(KOWEN_ERR_SETUP),
    KOWEN_NAMED(KOWEN_ERR_WORK_MEMORY),
    KOWEN_NAMED(KOWEN_ERR_MEMORY),
    KOWEN_NAMED(KOWEN_ERR_OUTPUT),
    KOWEN_NAMED(KOWEN_ERR_CANCELLED),
};

constexpr CodeName kEscapes[] = {
    KOWEN_NAMED(KOWEN_ESCAPE_SET_COLOR_MODE),      KOWEN_NAMED(KOWEN_ESCAPE_SET_COLOR_FORMAT),
    KOWEN_NAMED(KOWEN_ESCAPE_SET_X_RESOLUTION),    KOWEN_NAMED(KOWEN_ESCAPE_SET_Y_RESOLUTION),
    KOWEN_NAMED(KOWEN_ESCAPE_SET_WIDTH),           KOWEN_NAMED(KOWEN_ESCAPE_SET_HEIGHT),
    KOWEN_NAMED(KOWEN_ESCAPE_GET_RESOLUTION),      KOWEN_NAMED(KOWEN_ESCAPE_GET_SIZE),
    KOWEN_NAMED(KOWEN_ESCAPE_SET_RESOLUTION_MODE), KOWEN_NAMED(KOWEN_ESCAPE_SET_SIZE_MODE),
    KOWEN_NAMED(KOWEN_ESCAPE_SET_HOST_VALUE),      KOWEN_NAMED(KOWEN_ESCAPE_GET_HOST_VALUE),
    KOWEN_NAMED(KOWEN_ESCAPE_SET_QUALITY),         KOWEN_NAMED(KOWEN_ESCAPE_GET_QUALITY),
    KOWEN_NAMED(KOWEN_ESCAPE_SET_QUALITY_MODE),    KOWEN_NAMED(KOWEN_ESCAPE_RASTER_QUERY),
    KOWEN_NAMED(KOWEN_ESCAPE_GET_COLOR_MODE),      KOWEN_NAMED(KOWEN_ESCAPE_SET_HOST_IO),
};

constexpr CodeName kOpcodes[] = {
    KOWEN_NAMED(KOWEN_REQUEST_OPEN_DEVICE),       KOWEN_NAMED(KOWEN_REQUEST_CLOSE_DEVICE),
    KOWEN_NAMED(KOWEN_REQUEST_BEGIN_PICTURE),     KOWEN_NAMED(KOWEN_REQUEST_BEGIN_BODY),
    KOWEN_NAMED(KOWEN_REQUEST_END_PICTURE),       KOWEN_NAMED(KOWEN_REQUEST_SET_WINDOW),
    KOWEN_NAMED(KOWEN_REQUEST_SET_BACKGROUND),    KOWEN_NAMED(KOWEN_REQUEST_SET_VIEWPORT),
    KOWEN_NAMED(KOWEN_REQUEST_SET_VIEWPORT_MODE), KOWEN_NAMED(KOWEN_REQUEST_QUERY_VIEWPORT),
    KOWEN_NAMED(KOWEN_REQUEST_QUERY_WINDOW),      KOWEN_NAMED(KOWEN_REQUEST_CELL_ARRAY),
    KOWEN_NAMED(KOWEN_REQUEST_PRIMITIVE),         KOWEN_NAMED(KOWEN_REQUEST_SET_COLORS),
    KOWEN_NAMED(KOWEN_REQUEST_POP_ERRORS),        KOWEN_NAMED(KOWEN_REQUEST_EMPTY_ERRORS),
};

constexpr CodeName kPrimitives[] = {
    KOWEN_NAMED(KOWEN_PRIMITIVE_OPEN_PICTURE),
    KOWEN_NAMED(KOWEN_PRIMITIVE_WRITE_PICTURE),
};

constexpr CodeName kIoOperations[] = {
    KOWEN_NAMED(KOWEN_IO_OPEN),   KOWEN_NAMED(KOWEN_IO_READ),  KOWEN_NAMED(KOWEN_IO_WRITE),
    KOWEN_NAMED(KOWEN_IO_SEEK),   KOWEN_NAMED(KOWEN_IO_CLOSE), KOWEN_NAMED(KOWEN_IO_EXISTS),
    KOWEN_NAMED(KOWEN_IO_DELETE),
};

constexpr CodeName kStatusCommands[] = {
    KOWEN_NAMED(KOWEN_STATUS_PROGRESS),
    KOWEN_NAMED(KOWEN_STATUS_CONFIRM_STOP),
};

constexpr CodeName kDoorFunctions[] = {
    KOWEN_NAMED(KOWEN_DD_INITIALISE), KOWEN_NAMED(KOWEN_DD_NOTHING),
    KOWEN_NAMED(KOWEN_DD_DISPATCH),   KOWEN_NAMED(KOWEN_DD_VERSION),
    KOWEN_NAMED(KOWEN_DD_TERMINATE),
};

constexpr CodeName kShortDoorFunctions[] = {
    KOWEN_NAMED(KOWEN_DOOR_VERSION),
    KOWEN_NAMED(KOWEN_DOOR_ADDRESS),
};

#undef KOWEN_NAMED

} // namespace

std::string ResultName(int32_t code) {
    return Find(kResults, code);
}
std::string EscapeName(int32_t code) {
    return Find(kEscapes, code);
}
std::string OpcodeName(uint32_t opcode) {
    return Find(kOpcodes, opcode);
}
std::string PrimitiveName(int32_t primitive) {
    return Find(kPrimitives, primitive);
}
std::string IoOperationName(int32_t operation) {
    return Find(kIoOperations, operation);
}
std::string StatusCommandName(int32_t command) {
    return Find(kStatusCommands, command);
}
std::string DoorFunctionName(uint16_t function) {
    return Find(kDoorFunctions, function);
}
std::string ShortDoorFunctionName(int16_t function) {
    return Find(kShortDoorFunctions, function);
}

} // namespace kowen::check
