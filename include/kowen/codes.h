/**
 * kowen/codes.h - every number that crosses the boundary between a host and the filter.
 *
 * Usable from C99 and C++. Part of kowen.h, which says what holds for all of it.
 */
#ifndef KOWEN_CODES_H
#define KOWEN_CODES_H

/** Ordinals of the table of entries. 1007 is deliberately absent. */
enum {
    KOWEN_ORDINAL_CREATE_SETUP = 1001,
    KOWEN_ORDINAL_DESTROY_SETUP = 1002,
    KOWEN_ORDINAL_EDIT_SETUP = 1003,
    KOWEN_ORDINAL_ESCAPE_SETUP = 1004,
    KOWEN_ORDINAL_GET_FILTER_VERSION = 1005,
    KOWEN_ORDINAL_DD_ENTRY = 1006,
    KOWEN_ORDINAL_RASTER_DD_ENTRY = 1008,
    KOWEN_ORDINAL_EXPORT_CELL_DATA = 1009,
    KOWEN_ORDINAL_DLL_NAME = 1010
};

/** Results of the export functions and of the device doors. */
enum {
    KOWEN_OK = 0,
    KOWEN_ERR_MEMORY_OUTPUT = 21, /**< the block for memory output could not be allocated */
    KOWEN_ERR_SETUP = 22,         /**< no setup: the handle is 0 or could not be locked */
    KOWEN_ERR_WORK_MEMORY = 27,   /**< no working memory while drawing or coding */
    KOWEN_ERR_MEMORY = 300,       /**< memory could not be allocated, or nothing to output */
    KOWEN_ERR_OUTPUT = 303,       /**< the output could not be opened or closed, or lacks bytes */
    KOWEN_ERR_CANCELLED = 901     /**< the status callback asked to stop */
};

/** Colour mode, profile key "Color Mode". */
enum {
    KOWEN_COLOR_UNCHANGED = 103,
    KOWEN_COLOR_INVERTED = 104,
    KOWEN_COLOR_GREYS_INVERTED = 105,
    KOWEN_COLOR_GREY_SCALE = 106,
    KOWEN_COLOR_GREY_SCALE_INVERTED = 107
};

/** Line mode, profile key "Line Mode". */
enum { KOWEN_LINE_DEFAULT = 119 };

/**
 * Colour format, profile key "Color Format". For pictures that every program opens and shows in
 * their colours there is one: KOWEN_FORMAT_YCC422. docs/settings.md says what decoders make of
 * each.
 */
enum {
    /** Luminance and chroma, of which every second column is kept; 3 components. The transform is
     * the filter's own: chroma is 0.88 of what decoders expect, and (255, 0, 0) shows as (232, 10,
     * 9). */
    KOWEN_FORMAT_YCC422 = 212,
    /** One grey component. The frame header says 24 bits a sample, which decoders refuse. */
    KOWEN_FORMAT_GREY = 215,
    /** Three full-size components, bytes swapped but not transformed; decoders garble it. */
    KOWEN_FORMAT_RGB444 = 222
};

/** Quality mode, profile key "Quality Mode". */
enum {
    KOWEN_QUALITY_FIXED = 241, /**< quality 100 */
    KOWEN_QUALITY_USER = 242   /**< the setting "Quality", 1 to 100 */
};

/** Operation, profile key "Operation". */
enum {
    KOWEN_OPERATION_SEQUENTIAL = 245, /**< baseline, one interleaved scan */
    KOWEN_OPERATION_PROGRESSIVE = 246 /**< four scans; colour format 212 only */
};

/** Resolution mode, profile key "Resolution Mode". */
enum {
    KOWEN_RESOLUTION_FROM_DISPLAY = 307,
    KOWEN_RESOLUTION_FROM_PRINTER = 308,
    KOWEN_RESOLUTION_FROM_PICTURE = 309,
    KOWEN_RESOLUTION_USER = 310
};

/** Size mode, profile key "Size Mode". */
enum {
    KOWEN_SIZE_FROM_DISPLAY = 600,
    KOWEN_SIZE_FROM_PRINTER = 601,
    KOWEN_SIZE_FROM_PICTURE = 602,
    KOWEN_SIZE_USER = 603
};

/** Escape codes of EscapeSetup. */
enum {
    KOWEN_ESCAPE_SET_COLOR_MODE = 1,
    KOWEN_ESCAPE_SET_COLOR_FORMAT = 9,
    KOWEN_ESCAPE_SET_X_RESOLUTION = 11,
    KOWEN_ESCAPE_SET_Y_RESOLUTION = 12,
    KOWEN_ESCAPE_SET_WIDTH = 13,
    KOWEN_ESCAPE_SET_HEIGHT = 14,
    KOWEN_ESCAPE_GET_RESOLUTION = 16,
    KOWEN_ESCAPE_GET_SIZE = 17,
    KOWEN_ESCAPE_SET_RESOLUTION_MODE = 18,
    KOWEN_ESCAPE_SET_SIZE_MODE = 19,
    KOWEN_ESCAPE_SET_HOST_VALUE = 25,
    KOWEN_ESCAPE_GET_HOST_VALUE = 26,
    KOWEN_ESCAPE_SET_QUALITY = 44,
    KOWEN_ESCAPE_GET_QUALITY = 45,
    KOWEN_ESCAPE_SET_QUALITY_MODE = 46,
    KOWEN_ESCAPE_RASTER_QUERY = 56,
    KOWEN_ESCAPE_GET_COLOR_MODE = 57,
    KOWEN_ESCAPE_SET_HOST_IO = 81
};

/** Inputs of KOWEN_ESCAPE_SET_COLOR_FORMAT. */
enum {
    KOWEN_ESCAPE_FORMAT_GREY = 140,
    KOWEN_ESCAPE_FORMAT_RGB444 = 146,
    KOWEN_ESCAPE_FORMAT_YCC422 = 147
};

/** Inputs of KOWEN_ESCAPE_SET_COLOR_MODE, and what KOWEN_ESCAPE_GET_COLOR_MODE answers. */
enum {
    KOWEN_ESCAPE_COLOR_UNCHANGED = 101,
    KOWEN_ESCAPE_COLOR_INVERTED = 102,
    KOWEN_ESCAPE_COLOR_GREYS_INVERTED = 103,
    KOWEN_ESCAPE_COLOR_GREY_SCALE = 104,
    KOWEN_ESCAPE_COLOR_GREY_SCALE_INVERTED = 105
};

/** Inputs of KOWEN_ESCAPE_SET_RESOLUTION_MODE. The profile's KOWEN_RESOLUTION_... change nothing.
 */
enum {
    KOWEN_ESCAPE_RESOLUTION_FROM_DISPLAY = 0,
    KOWEN_ESCAPE_RESOLUTION_FROM_PRINTER = 1,
    KOWEN_ESCAPE_RESOLUTION_FROM_PICTURE = 2,
    KOWEN_ESCAPE_RESOLUTION_USER = 3
};

/** Inputs of KOWEN_ESCAPE_SET_SIZE_MODE. The profile's KOWEN_SIZE_... change nothing. */
enum {
    KOWEN_ESCAPE_SIZE_FROM_DISPLAY = 0,
    KOWEN_ESCAPE_SIZE_FROM_PRINTER = 1,
    KOWEN_ESCAPE_SIZE_FROM_PICTURE = 2,
    KOWEN_ESCAPE_SIZE_USER = 3
};

/** Inputs of KOWEN_ESCAPE_SET_QUALITY_MODE. The profile's KOWEN_QUALITY_... change nothing. */
enum { KOWEN_ESCAPE_QUALITY_FIXED = 0, KOWEN_ESCAPE_QUALITY_USER = 1 };

/** Limits of the settings; all inclusive. */
#define KOWEN_MIN_RESOLUTION 32
#define KOWEN_MAX_RESOLUTION 400
#define KOWEN_MIN_INCHES 0.03125
#define KOWEN_MAX_INCHES 22.0
#define KOWEN_MIN_QUALITY 1
#define KOWEN_MAX_QUALITY 100

/** Commands of the status callback. */
enum {
    /** Progress or poll; a non-zero answer asks to stop. The raster device polls once more when it
     * is closed, with 0 percent: 100 is followed by 0. */
    KOWEN_STATUS_PROGRESS = 0,
    KOWEN_STATUS_CONFIRM_STOP = 2 /**< asked once more after a refusal; non-zero stops */
};

/** Code that goes with KOWEN_STATUS_CONFIRM_STOP. */
#define KOWEN_STATUS_CODE_CONFIRM 61
/** Code of the raster driver's announcement of its progress range. */
#define KOWEN_STATUS_CODE_RANGE (-2)

/**
 * Operations of a host I/O procedure. An export opens its output, writes it from the first byte to
 * the last and closes it; it reads nothing and seeks nowhere, so a pipe will do. A procedure that
 * serves the other operations as well is a complete file.
 */
enum {
    /** argument: name; count: KOWEN_MODE_CREATE | KOWEN_MODE_WRITE. Answers the host's handle of
     * the file, which every later operation on it gets; 0 refuses, see HostIoProcedure. */
    KOWEN_IO_OPEN = 1,
    KOWEN_IO_READ = 2,   /**< argument: buffer; count: bytes; answers the bytes read */
    KOWEN_IO_WRITE = 3,  /**< argument: buffer; count: bytes; answers the bytes written */
    KOWEN_IO_SEEK = 4,   /**< argument: int32_t offset; count: KOWEN_SEEK_...; answers the new
                            position from the start, or -1 */
    KOWEN_IO_CLOSE = 5,  /**< count 0, or KOWEN_MODE_DELETE to delete as well; answers 0 */
    KOWEN_IO_EXISTS = 6, /**< argument: name; answers non-zero if it exists */
    KOWEN_IO_DELETE = 7  /**< argument: name; the answer is passed on */
};

/** What the offset of KOWEN_IO_SEEK counts from. */
enum {
    KOWEN_SEEK_START = 0,   /**< the first byte */
    KOWEN_SEEK_CURRENT = 1, /**< the present position; the offset may be negative */
    KOWEN_SEEK_END = 2      /**< behind the last byte; the offset may be negative */
};

/** What a host I/O procedure is told with KOWEN_IO_OPEN and KOWEN_IO_CLOSE. */
enum {
    KOWEN_MODE_WRITE = 1,    /**< the file is written */
    KOWEN_MODE_DELETE = 512, /**< the file is deleted when it is closed: the export was stopped */
    KOWEN_MODE_CREATE = 4096 /**< the file is created, or emptied when it exists */
};

/** Functions of the short device doors dd_entry and RASTER_dd_entry. */
enum { KOWEN_DOOR_VERSION = -2, KOWEN_DOOR_ADDRESS = -3 };

/** Functions of the 32-bit device doors. */
enum {
    KOWEN_DD_INITIALISE = 0,
    KOWEN_DD_NOTHING = 1,
    KOWEN_DD_DISPATCH = 2,
    KOWEN_DD_VERSION = 0xFFFE,
    KOWEN_DD_TERMINATE = 0xFFFF
};

/** Opcodes of the device requests that do something; docs/device.md lists their arguments. */
enum {
    KOWEN_REQUEST_OPEN_DEVICE = 1,
    KOWEN_REQUEST_CLOSE_DEVICE = 2,
    KOWEN_REQUEST_BEGIN_PICTURE = 3,
    KOWEN_REQUEST_BEGIN_BODY = 4,
    KOWEN_REQUEST_END_PICTURE = 5,
    KOWEN_REQUEST_SET_WINDOW = 518,
    KOWEN_REQUEST_SET_BACKGROUND = 519,
    KOWEN_REQUEST_SET_VIEWPORT = 520,
    KOWEN_REQUEST_SET_VIEWPORT_MODE = 521,
    KOWEN_REQUEST_QUERY_VIEWPORT = 765,
    KOWEN_REQUEST_QUERY_WINDOW = 767,
    KOWEN_REQUEST_CELL_ARRAY = 1033,
    KOWEN_REQUEST_PRIMITIVE = 1034,
    KOWEN_REQUEST_SET_COLORS = 1314,
    KOWEN_REQUEST_POP_ERRORS = 3842,
    KOWEN_REQUEST_EMPTY_ERRORS = 3843
};

/** Primitives of KOWEN_REQUEST_PRIMITIVE: open the picture's bitmap, write it to the output. */
enum { KOWEN_PRIMITIVE_OPEN_PICTURE = -5, KOWEN_PRIMITIVE_WRITE_PICTURE = -6 };

/** Flags of every block the filter allocates: moveable and zero-filled. */
#define KOWEN_GLOBAL_FLAGS 66

#endif /* KOWEN_CODES_H */
