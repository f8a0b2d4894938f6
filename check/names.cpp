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

constexpr CodeName kStatusCodes[] = {
    KOWEN_NAMED(KOWEN_STATUS_CODE_CONFIRM),
    KOWEN_NAMED(KOWEN_STATUS_CODE_RANGE),
};

constexpr CodeName kSeeks[] = {
    KOWEN_NAMED(KOWEN_SEEK_START),
    KOWEN_NAMED(KOWEN_SEEK_CURRENT),
    KOWEN_NAMED(KOWEN_SEEK_END),
};

constexpr CodeName kFileModes[] = {
    KOWEN_NAMED(KOWEN_MODE_CREATE),
    KOWEN_NAMED(KOWEN_MODE_WRITE),
    KOWEN_NAMED(KOWEN_MODE_DELETE),
};

constexpr CodeName kColorModes[] = {
    KOWEN_NAMED(KOWEN_COLOR_UNCHANGED),           KOWEN_NAMED(KOWEN_COLOR_INVERTED),
    KOWEN_NAMED(KOWEN_COLOR_GREYS_INVERTED),      KOWEN_NAMED(KOWEN_COLOR_GREY_SCALE),
    KOWEN_NAMED(KOWEN_COLOR_GREY_SCALE_INVERTED),
};

constexpr CodeName kEscapeFormats[] = {
    KOWEN_NAMED(KOWEN_ESCAPE_FORMAT_GREY),
    KOWEN_NAMED(KOWEN_ESCAPE_FORMAT_RGB444),
    KOWEN_NAMED(KOWEN_ESCAPE_FORMAT_YCC422),
};

constexpr CodeName kEscapeColors[] = {
    KOWEN_NAMED(KOWEN_ESCAPE_COLOR_UNCHANGED),           KOWEN_NAMED(KOWEN_ESCAPE_COLOR_INVERTED),
    KOWEN_NAMED(KOWEN_ESCAPE_COLOR_GREYS_INVERTED),      KOWEN_NAMED(KOWEN_ESCAPE_COLOR_GREY_SCALE),
    KOWEN_NAMED(KOWEN_ESCAPE_COLOR_GREY_SCALE_INVERTED),
};

constexpr CodeName kEscapeQualities[] = {
    KOWEN_NAMED(KOWEN_ESCAPE_QUALITY_FIXED),
    KOWEN_NAMED(KOWEN_ESCAPE_QUALITY_USER),
};

constexpr CodeName kEscapeResolutions[] = {
    KOWEN_NAMED(KOWEN_ESCAPE_RESOLUTION_FROM_DISPLAY),
    KOWEN_NAMED(KOWEN_ESCAPE_RESOLUTION_FROM_PRINTER),
    KOWEN_NAMED(KOWEN_ESCAPE_RESOLUTION_FROM_PICTURE),
    KOWEN_NAMED(KOWEN_ESCAPE_RESOLUTION_USER),
};

constexpr CodeName kEscapeSizes[] = {
    KOWEN_NAMED(KOWEN_ESCAPE_SIZE_FROM_DISPLAY),
    KOWEN_NAMED(KOWEN_ESCAPE_SIZE_FROM_PRINTER),
    KOWEN_NAMED(KOWEN_ESCAPE_SIZE_FROM_PICTURE),
    KOWEN_NAMED(KOWEN_ESCAPE_SIZE_USER),
};

constexpr CodeName kAllocationFlags[] = {
    KOWEN_NAMED(KOWEN_GLOBAL_FLAGS),
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

constexpr CodeName kFormats[] = {
    KOWEN_NAMED(KOWEN_FORMAT_YCC422),
    KOWEN_NAMED(KOWEN_FORMAT_GREY),
    KOWEN_NAMED(KOWEN_FORMAT_RGB444),
};

constexpr CodeName kQualityModes[] = {
    KOWEN_NAMED(KOWEN_QUALITY_FIXED),
    KOWEN_NAMED(KOWEN_QUALITY_USER),
};

constexpr CodeName kResolutionModes[] = {
    KOWEN_NAMED(KOWEN_RESOLUTION_FROM_DISPLAY),
    KOWEN_NAMED(KOWEN_RESOLUTION_FROM_PRINTER),
    KOWEN_NAMED(KOWEN_RESOLUTION_FROM_PICTURE),
    KOWEN_NAMED(KOWEN_RESOLUTION_USER),
};

constexpr CodeName kSizeModes[] = {
    KOWEN_NAMED(KOWEN_SIZE_FROM_DISPLAY),
    KOWEN_NAMED(KOWEN_SIZE_FROM_PRINTER),
    KOWEN_NAMED(KOWEN_SIZE_FROM_PICTURE),
    KOWEN_NAMED(KOWEN_SIZE_USER),
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
std::string StatusCodeName(int32_t code) {
    return Find(kStatusCodes, code);
}
std::string SeekName(int32_t origin) {
    return Find(kSeeks, origin);
}
std::string FileModeNames(int32_t mode) {
    std::string names;
    for (const CodeName &row : kFileModes)
        if ((mode & row.code) != 0) {
            names += (names.empty() ? "" : " | ") + std::string(row.name);
            mode &= ~static_cast<int32_t>(row.code);
        }
    if (mode != 0 || names.empty())
        names += (names.empty() ? "" : " | ") + std::to_string(mode);
    return names;
}
std::string ColorModeName(int32_t mode) {
    return Find(kColorModes, mode);
}
std::string FormatName(int32_t format) {
    return Find(kFormats, format);
}
std::string QualityModeName(int32_t mode) {
    return Find(kQualityModes, mode);
}
std::string ResolutionModeName(int32_t mode) {
    return Find(kResolutionModes, mode);
}
std::string SizeModeName(int32_t mode) {
    return Find(kSizeModes, mode);
}
std::string EscapeFormatName(int32_t format) {
    return Find(kEscapeFormats, format);
}
std::string EscapeColorName(int32_t mode) {
    return Find(kEscapeColors, mode);
}
std::string EscapeQualityName(int32_t mode) {
    return Find(kEscapeQualities, mode);
}
std::string EscapeResolutionName(int32_t mode) {
    return Find(kEscapeResolutions, mode);
}
std::string EscapeSizeName(int32_t mode) {
    return Find(kEscapeSizes, mode);
}
std::string AllocationFlagsName(uint32_t flags) {
    return Find(kAllocationFlags, flags);
}
std::string DoorFunctionName(uint16_t function) {
    return Find(kDoorFunctions, function);
}
std::string ShortDoorFunctionName(int16_t function) {
    return Find(kShortDoorFunctions, function);
}

} // namespace kowen::check
