/**
 * kowen/records.h - the records and procedure types that a host and the filter share.
 *
 * Layout rule: a field that holds an address, a procedure, a memory or file handle, or a host
 * context or host value is pointer-sized; every other field keeps its width; fields stand in
 * order with natural alignment. Reserved fields are neither read nor written.
 *
 * Usable from C99 and C++. Part of kowen.h, which says what holds for all of it.
 */
#ifndef KOWEN_RECORDS_H
#define KOWEN_RECORDS_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Names a block of global memory; opaque, 0 for none. See memory.h. */
typedef uintptr_t MemoryHandle;

/**
 * The host's status procedure: progress and cancel.
 *
 * context  the export record's context value.
 * command  KOWEN_STATUS_PROGRESS or KOWEN_STATUS_CONFIRM_STOP.
 * code     0, KOWEN_STATUS_CODE_CONFIRM or KOWEN_STATUS_CODE_RANGE.
 * value2   with KOWEN_STATUS_PROGRESS the percentage done, 0 to 100. The raster device's last call
 *          comes when it is closed and says 0.
 * reply    null, or with KOWEN_STATUS_CONFIRM_STOP ten zeroed 32-bit words that are ignored.
 *
 * Returns 0 to go on. A refused progress call is asked once more with
 * KOWEN_STATUS_CONFIRM_STOP; the export stops when that answer is non-zero too.
 */
typedef int32_t (*StatusCallback)(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                                  int32_t value2, int32_t value3, void *reply);

/**
 * The host's I/O procedure: serves one file completely. Operations, arguments and answers are
 * listed at KOWEN_IO_OPEN.
 *
 * handleOrContext  the export record's ioContext for KOWEN_IO_OPEN, 0 for KOWEN_IO_EXISTS and
 *                  KOWEN_IO_DELETE, else what KOWEN_IO_OPEN answered.
 * argument         what the operation says; for KOWEN_IO_SEEK the address of an int32_t offset.
 *
 * Kept deliberately: an open that answers 0 does not end the export. A disk file of that name is
 * created, or emptied when it exists, and stays empty; all writes and the close come to the
 * procedure with handle 0, and the results are as if it had taken the file. Only when there can be
 * no such disk file is the result KOWEN_ERR_OUTPUT (303): an empty name, a missing directory. So a
 * host whose procedure refuses keeps that in mind itself, and looks after the empty file.
 */
typedef intptr_t (*HostIoProcedure)(uintptr_t handleOrContext, int32_t operation, void *argument,
                                    int32_t count);

/** One row of the table of entries. Static, owned by the module, valid until it is unloaded. */
typedef struct TableEntry {
    const char *name;
    uint16_t ordinal;
    uint16_t reserved;
    const void *address; /**< the function; for "szDLLName" a char[260] the host writes */
} TableEntry;

/** Filled by fltLoadPointers, which writes entryCount and entries and touches nothing else. */
typedef struct EntryPointRecord {
    uint32_t reserved0;
    uint16_t entryCount;
    uint16_t reserved1;
    const TableEntry *entries;
} EntryPointRecord;

/**
 * The host's picture on the bitmap door.
 *
 * Rows are stored one after another, the bottom row of the picture first, each padded to a
 * multiple of 4 bytes; what the padding holds does not matter. In a row, from the left:
 *
 *   depth  1   8 pixels a byte, the leftmost in the most significant bit
 *          4   2 pixels a byte, the left one in the high nibble
 *          8   1 byte a pixel
 *         24   3 bytes a pixel: red, green, blue
 *         32   4 bytes a pixel: red, green, blue, and one that is ignored
 *
 * At depths 1, 4 and 8 a pixel is an entry of the palette: 2, 16 or 256 entries of 3 bytes, red,
 * green, blue. Entries that a shorter one lacks are black, so with palette 0 the whole picture is.
 * At 24 and 32 the palette is not looked at.
 */
typedef struct BitmapRecord {
    uint16_t depth;       /**< bits per pixel: 1, 4, 8, 24 or 32 */
    uint16_t width;       /**< pixels */
    uint16_t height;      /**< rows */
    uint16_t resolution;  /**< overwritten from the cell: dots per inch */
    double targetWidth;   /**< overwritten from the cell: pixels */
    double targetHeight;  /**< overwritten from the cell: pixels */
    MemoryHandle palette; /**< see above; or 0. Stays the host's */
    MemoryHandle pixels;  /**< stays the host's; the pixels may be changed, see ExportCellData */
} BitmapRecord;

/** Where the picture goes; read only. */
typedef struct CellRecord {
    uint16_t reserved0;
    int16_t resolution; /**< of the page, dots per inch, both directions */
    uint16_t reserved1[3];
    uint16_t targetResolution; /**< dots per inch; 0 = not known */
    int32_t targetWidth;       /**< pixels */
    int32_t targetHeight;      /**< pixels */
    int32_t pageWidth;         /**< pixels */
    int32_t pageHeight;        /**< pixels */
} CellRecord;

/** The host's export record: progress, cancel and where the output went. */
typedef struct ExportRecord {
    uint32_t reserved0;
    uintptr_t context;             /**< first argument of every status call */
    StatusCallback statusCallback; /**< or null */
    uint32_t reserved1;
    uintptr_t hostValue; /**< copied by the export driver, not interpreted */
    uint32_t reserved2;
    MemoryHandle memoryBlock; /**< out: the block that holds the JPEG after memory output */
    int32_t picture[5];       /**< left, top, right, bottom, units per inch; metafiles only */
    uintptr_t ioContext;      /**< handed to the host I/O procedure's open */
} ExportRecord;

/** Names the setup and the export record of one call of ExportCellData. */
typedef struct HostRecord {
    uint32_t reserved0[2];
    MemoryHandle setup; /**< from CreateSetup */
    uint32_t reserved1[3];
    ExportRecord *exportRecord; /**< or null */
} HostRecord;

/** Given to the device doors with KOWEN_DD_INITIALISE. */
typedef struct OpenRecord {
    uint32_t reserved0;
    uintptr_t hostValue1;
    uint32_t reserved1;
    char *outputName; /**< zero-terminated; empty for memory. The export door empties it */
    uint32_t reserved2;
    uintptr_t hostValue2;
    uint32_t reserved3[3];
    uint32_t returnAreaSize; /**< bytes of inquiry answers the host wants room for */
    void *returnArea;        /**< out: the raster driver's return area */
    uint32_t reserved4[2];
    MemoryHandle setup; /**< in: from CreateSetup; the export door overwrites it */
    ExportRecord *exportRecord;
    int32_t *capabilities; /**< out, raster door: at least 60 words, or null */
} OpenRecord;

/** The same record by the name that device drivers know it by. */
typedef OpenRecord DdInitRecord;

/**
 * The head of one device request. The opcode's arguments follow directly, from byte 16, at the
 * byte offsets that docs/device.md lists; they need no alignment.
 */
typedef struct DdRequest {
    uint32_t opcode;
    uint32_t argumentCount;
    uint32_t reserved[2];
} DdRequest;

/** Input of KOWEN_ESCAPE_RASTER_QUERY; of the resolutions the low 16 bits count. */
typedef struct RasterQuery {
    int32_t displayResolution; /**< dots per inch, 0 = not known */
    int32_t reserved;
    int32_t pictureResolution; /**< dots per inch, 0 = not known */
    int32_t pictureWidth;      /**< pixels */
    int32_t pictureHeight;     /**< pixels */
    int32_t displayWidth;      /**< pixels */
    int32_t displayHeight;     /**< pixels */
} RasterQuery;

/** Output of KOWEN_ESCAPE_RASTER_QUERY. */
typedef struct RasterAnswer {
    int32_t width;        /**< pixels */
    int32_t height;       /**< pixels */
    int32_t bitsPerPixel; /**< always 24 */
} RasterAnswer;

#ifdef __cplusplus
} /* extern "C" */
#endif

/* Both word sizes: KOWEN_OFFSET(record, field, offset on 32-bit, offset on 64-bit). */
#ifdef __cplusplus
#define KOWEN_STATIC_ASSERT(condition) static_assert(condition, #condition)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define KOWEN_STATIC_ASSERT(condition) _Static_assert(condition, #condition)
#else
#define KOWEN_STATIC_ASSERT(condition) struct KowenStaticAssertUnused
#endif
#define KOWEN_BY_WORD(on32, on64) (sizeof(void *) == 4 ? (on32) : (on64))
#define KOWEN_OFFSET(record, field, on32, on64) \
    KOWEN_STATIC_ASSERT(offsetof(record, field) == KOWEN_BY_WORD(on32, on64))
#define KOWEN_SIZE(record, on32, on64) \
    KOWEN_STATIC_ASSERT(sizeof(record) == KOWEN_BY_WORD(on32, on64))

KOWEN_OFFSET(TableEntry, ordinal, 4, 8);
KOWEN_OFFSET(TableEntry, address, 8, 16);
KOWEN_SIZE(TableEntry, 12, 24);
KOWEN_OFFSET(EntryPointRecord, entryCount, 4, 4);
KOWEN_OFFSET(EntryPointRecord, entries, 8, 8);
KOWEN_OFFSET(BitmapRecord, width, 2, 2);
KOWEN_OFFSET(BitmapRecord, height, 4, 4);
KOWEN_OFFSET(BitmapRecord, resolution, 6, 6);
KOWEN_OFFSET(BitmapRecord, targetWidth, 8, 8);
KOWEN_OFFSET(BitmapRecord, targetHeight, 16, 16);
KOWEN_OFFSET(BitmapRecord, palette, 24, 24);
KOWEN_OFFSET(BitmapRecord, pixels, 28, 32);
KOWEN_OFFSET(CellRecord, resolution, 2, 2);
KOWEN_OFFSET(CellRecord, targetResolution, 10, 10);
KOWEN_OFFSET(CellRecord, targetWidth, 12, 12);
KOWEN_OFFSET(CellRecord, targetHeight, 16, 16);
KOWEN_OFFSET(CellRecord, pageWidth, 20, 20);
KOWEN_OFFSET(CellRecord, pageHeight, 24, 24);
KOWEN_SIZE(CellRecord, 28, 28);
KOWEN_OFFSET(HostRecord, setup, 8, 8);
KOWEN_OFFSET(HostRecord, exportRecord, 24, 32);
KOWEN_OFFSET(ExportRecord, context, 4, 8);
KOWEN_OFFSET(ExportRecord, statusCallback, 8, 16);
KOWEN_OFFSET(ExportRecord, hostValue, 16, 32);
KOWEN_OFFSET(ExportRecord, memoryBlock, 24, 48);
KOWEN_OFFSET(ExportRecord, picture, 28, 56);
KOWEN_OFFSET(ExportRecord, ioContext, 48, 80);
KOWEN_SIZE(ExportRecord, 52, 88);
KOWEN_OFFSET(OpenRecord, hostValue1, 4, 8);
KOWEN_OFFSET(OpenRecord, outputName, 12, 24);
KOWEN_OFFSET(OpenRecord, hostValue2, 20, 40);
KOWEN_OFFSET(OpenRecord, returnAreaSize, 36, 60);
KOWEN_OFFSET(OpenRecord, returnArea, 40, 64);
KOWEN_OFFSET(OpenRecord, setup, 52, 80);
KOWEN_OFFSET(OpenRecord, exportRecord, 56, 88);
KOWEN_OFFSET(OpenRecord, capabilities, 60, 96);
KOWEN_SIZE(OpenRecord, 64, 104);
KOWEN_OFFSET(DdInitRecord, outputName, 12, 24);
KOWEN_OFFSET(DdInitRecord, returnAreaSize, 36, 60);
KOWEN_OFFSET(DdInitRecord, returnArea, 40, 64);
KOWEN_OFFSET(DdInitRecord, setup, 52, 80);
KOWEN_OFFSET(DdInitRecord, exportRecord, 56, 88);
KOWEN_OFFSET(DdInitRecord, capabilities, 60, 96);
KOWEN_SIZE(DdInitRecord, 64, 104);
KOWEN_SIZE(DdRequest, 16, 16);
KOWEN_OFFSET(RasterQuery, pictureResolution, 8, 8);
KOWEN_OFFSET(RasterQuery, displayHeight, 24, 24);
KOWEN_SIZE(RasterQuery, 28, 28);
KOWEN_SIZE(RasterAnswer, 12, 12);

#undef KOWEN_SIZE
#undef KOWEN_OFFSET
#undef KOWEN_BY_WORD
#undef KOWEN_STATIC_ASSERT

#endif /* KOWEN_RECORDS_H */
