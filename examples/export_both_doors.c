/*
 * export_both_doors MODULE CELL.jpg DEVICE.jpg
 *
 * Loads the filter, draws a picture and exports it twice: as one bitmap through ExportCellData,
 * and in strips through the raster device. Both files are the same.
 *
 *     cc -I include examples/export_both_doors.c -o export_both_doors -ldl
 */
#include "kowen/kowen.h"

#include <dlfcn.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { WIDTH = 160, HEIGHT = 120, STRIP_ROWS = 32, DOTS_PER_INCH = 100, STRIDE = WIDTH * 3 };

static CreateSetupFunction createSetup;
static DestroySetupFunction destroySetup;
static ExportCellDataFunction exportCellData;
static ShortDoorFunction rasterDoor;
static char *moduleName; /* 260 bytes */
static GlobalAllocFunction globalAlloc;
static GlobalLockFunction globalLock;
static GlobalFreeFunction globalFree;

static void Fail(const char *what) {
    fprintf(stderr, "export_both_doors: %s\n", what);
    exit(1);
}

/* Stores an address in a pointer of any kind: C has no cast for those to functions. */
static void Bind(void *function, const void *address, const char *name) {
    if (address == NULL) {
        fprintf(stderr, "export_both_doors: the module has no %s\n", name);
        exit(1);
    }
    memcpy(function, &address, sizeof address);
}

static void BindEntry(void *function, const EntryPointRecord *table, const char *name) {
    const void *address = NULL;
    for (int i = 0; i < table->entryCount; ++i)
        if (strcmp(table->entries[i].name, name) == 0)
            address = table->entries[i].address;
    Bind(function, address, name);
}

static void LoadFilter(const char *path) {
    void *module = dlopen(path, RTLD_NOW);
    LoadPointersFunction loadPointers;
    EntryPointRecord table;
    if (module == NULL)
        Fail(dlerror());
    Bind(&loadPointers, dlsym(module, "fltLoadPointers"), "fltLoadPointers");
    loadPointers(&table);
    BindEntry(&createSetup, &table, "CreateSetup");
    BindEntry(&destroySetup, &table, "DestroySetup");
    BindEntry(&exportCellData, &table, "ExportCellData");
    BindEntry(&rasterDoor, &table, "RASTER_dd_entry");
    BindEntry(&moduleName, &table, "szDLLName");
    strncpy(moduleName, path, 259); /* the last byte stays 0 */
    Bind(&globalAlloc, dlsym(module, "GlobalAlloc"), "GlobalAlloc");
    Bind(&globalLock, dlsym(module, "GlobalLock"), "GlobalLock");
    Bind(&globalFree, dlsym(module, "GlobalFree"), "GlobalFree");
}

/* Rows of red, green, blue, the bottom row of the picture first. */
static void DrawPicture(unsigned char *pixels) {
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) {
            unsigned char *pixel = pixels + y * STRIDE + x * 3;
            pixel[0] = (unsigned char)(x * 255 / (WIDTH - 1));
            pixel[1] = (unsigned char)(y * 255 / (HEIGHT - 1));
            pixel[2] = (unsigned char)((x / 20 + y / 20) % 2 * 200);
        }
}

/* Answers 0: go on. A device asks once more when it is closed, with 0 percent. */
static int32_t ShowProgress(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                            int32_t value2, int32_t value3, void *reply) {
    (void)value1, (void)value3, (void)reply;
    if (command == KOWEN_STATUS_PROGRESS && code == 0)
        printf("%s: %d %%\n", (const char *)context, (int)value2);
    return 0;
}

static ExportRecord MakeExportRecord(const char *title) {
    ExportRecord record;
    memset(&record, 0, sizeof record);
    record.context = (uintptr_t)title;
    record.statusCallback = ShowProgress;
    return record;
}

/* A full disk is no error of the bitmap door: a JPEG is whole when it ends with FF D9. */
static void RequireWholeJpeg(const char *path) {
    unsigned char end[2] = {0, 0};
    FILE *file = fopen(path, "rb");
    if (file == NULL || fseek(file, -2, SEEK_END) != 0 || fread(end, 1, 2, file) != 2 ||
        end[0] != 0xFF || end[1] != 0xD9)
        Fail("the file is not whole; is there no space left?");
    fclose(file);
}

static void ExportThroughTheBitmapDoor(MemoryHandle setup, MemoryHandle pixels, const char *path) {
    ExportRecord exportRecord = MakeExportRecord("bitmap door");
    BitmapRecord bitmap = {0};
    CellRecord cell = {0};
    HostRecord host = {0};
    bitmap.depth = 24;
    bitmap.width = WIDTH;
    bitmap.height = HEIGHT;
    bitmap.pixels = pixels;
    cell.targetResolution = DOTS_PER_INCH;
    cell.targetWidth = cell.pageWidth = WIDTH;
    cell.targetHeight = cell.pageHeight = HEIGHT;
    cell.resolution = DOTS_PER_INCH;
    host.setup = setup;
    host.exportRecord = &exportRecord;
    if (exportCellData(path, &bitmap, &cell, &host) != KOWEN_OK)
        Fail("the bitmap door could not export the picture");
    RequireWholeJpeg(path);
}

static DeviceDoorFunction device;
static unsigned char request[128]; /* one request at a time; requests need no alignment */

static void Put(size_t offset, const void *value, size_t bytes) {
    memcpy(request + offset, value, bytes);
}
static void PutWord(size_t offset, int32_t value) {
    Put(offset, &value, sizeof value);
}
static void PutDouble(size_t offset, double value) {
    Put(offset, &value, sizeof value);
}

/* Sends the arguments that were put, and clears them. */
static void Send(int32_t opcode) {
    PutWord(0, opcode);
    if (device(0, KOWEN_DD_DISPATCH, request) != KOWEN_OK)
        Fail("the device refused a request");
    memset(request, 0, sizeof request);
}

static void BeginPicture(void) {
    const int16_t metric = 1;
    Send(KOWEN_REQUEST_OPEN_DEVICE);
    Send(KOWEN_REQUEST_BEGIN_PICTURE);
    PutDouble(40, WIDTH - 1); /* the window runs from (0, 0) to here */
    PutDouble(48, HEIGHT - 1);
    Send(KOWEN_REQUEST_SET_WINDOW);
    Put(16, &metric, sizeof metric);
    PutDouble(24, 25.4 / DOTS_PER_INCH);
    Send(KOWEN_REQUEST_SET_VIEWPORT_MODE);
    Send(KOWEN_REQUEST_BEGIN_BODY);
    PutWord(16, KOWEN_PRIMITIVE_OPEN_PICTURE);
    PutWord(24, 28); /* bytes of data that follow */
    PutWord(28, WIDTH);
    PutWord(32, HEIGHT);
    PutWord(36, 24);
    Send(KOWEN_REQUEST_PRIMITIVE);
}

static void SendStrip(const unsigned char *cells, int32_t rows) {
    PutWord(88, WIDTH);
    PutWord(92, rows);
    PutWord(96, -24); /* 24 bits a cell, and the cells are not in the request */
    Put(102, &cells, sizeof cells);
    Send(KOWEN_REQUEST_CELL_ARRAY);
}

static void EndPicture(void) {
    PutWord(16, KOWEN_PRIMITIVE_WRITE_PICTURE);
    Send(KOWEN_REQUEST_PRIMITIVE);
    Send(KOWEN_REQUEST_END_PICTURE);
    Send(KOWEN_REQUEST_CLOSE_DEVICE);
}

static void ExportThroughTheDevice(MemoryHandle setup, const unsigned char *pixels, char *path) {
    ExportRecord exportRecord = MakeExportRecord("device");
    OpenRecord record;
    memset(&record, 0, sizeof record);
    record.outputName = path;
    record.setup = setup;
    record.exportRecord = &exportRecord;
    rasterDoor(KOWEN_DOOR_ADDRESS, &device, 0);
    if (device == NULL)
        Fail("the module has no raster device");
    if (device(0, KOWEN_DD_INITIALISE, &record) != KOWEN_OK)
        Fail("the device could not be initialised");
    BeginPicture();
    for (int row = 0; row < HEIGHT; row += STRIP_ROWS)
        SendStrip(pixels + row * STRIDE, HEIGHT - row < STRIP_ROWS ? HEIGHT - row : STRIP_ROWS);
    EndPicture();
    device(0, KOWEN_DD_TERMINATE, NULL);
    RequireWholeJpeg(path);
}

int main(int argc, char **argv) {
    if (argc != 4)
        Fail("usage: export_both_doors MODULE CELL.jpg DEVICE.jpg");
    LoadFilter(argv[1]);
    const MemoryHandle setup = createSetup(0, NULL, NULL, NULL);
    const MemoryHandle pixels = globalAlloc(KOWEN_GLOBAL_FLAGS, STRIDE * HEIGHT);
    if (setup == 0 || pixels == 0)
        Fail("not enough memory");
    DrawPicture(globalLock(pixels));
    ExportThroughTheBitmapDoor(setup, pixels, argv[2]);
    DrawPicture(globalLock(pixels)); /* the bitmap door has changed the pixels */
    ExportThroughTheDevice(setup, globalLock(pixels), argv[3]);
    globalFree(pixels);
    destroySetup(setup);
    return 0;
}
