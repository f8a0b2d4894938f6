/* Uses something of every public header, in the common part of C and C++. Never run. */
#include "kowen/kowen.h"
/* Twice, as hosts do. */
#include "kowen/codes.h"
#include "kowen/entries.h"
#include "kowen/memory.h"
#include "kowen/records.h"

static int32_t Answer(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                      int32_t value2, int32_t value3, void *reply) {
    (void)context, (void)value1, (void)value2, (void)value3, (void)reply;
    return command == KOWEN_STATUS_CONFIRM_STOP || code == KOWEN_STATUS_CODE_RANGE;
}

static intptr_t Serve(uintptr_t handleOrContext, int32_t operation, void *argument, int32_t count) {
    (void)handleOrContext, (void)argument;
    return operation == KOWEN_IO_WRITE ? count : operation == KOWEN_IO_OPEN;
}

static int UseHeaders(void) {
    EntryPointRecord table = {0, 0, 0, NULL};
    ExportRecord exportRecord = {0, 1, Answer, 0, 0, 0, 0, {0, 0, 0, 0, 0}, 0};
    HostIoProcedure procedure = Serve;
    RasterQuery query = {96, 0, 96, 10, 10, 20, 20};
    RasterAnswer answer = {0, 0, 0};
    BitmapRecord bitmap = {24, 1, 1, 0, 0.0, 0.0, 0, 0};
    CellRecord cell = {0, 96, {0, 0, 0}, 96, 1, 1, 1, 1};
    HostRecord host = {{0, 0}, 0, {0, 0, 0}, NULL};
    DdRequest request = {1034, 0, {0, 0}};
    OpenRecord opening;
    fltLoadPointers(&table);
    host.setup = CreateSetup(0, NULL, NULL, NULL);
    host.exportRecord = &exportRecord;
    opening.setup = host.setup;
    bitmap.pixels = GlobalAlloc(KOWEN_GLOBAL_FLAGS, 4);
    if (EscapeSetup(host.setup, KOWEN_ESCAPE_RASTER_QUERY, 0, &query, &answer, 0) != 1)
        return KOWEN_ERR_SETUP;
    return ExportCellData("a.jpg", &bitmap, &cell, &host) + (int)request.opcode +
           (procedure != NULL) + (opening.setup != 0) + table.entryCount;
}
