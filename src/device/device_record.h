// The raster device record: all state of the raster driver, from initialisation to termination.
#pragma once

#include "device/error_stack.h"
#include "io/file_handle.h"
#include "kowen/records.h"

#include <cstdint>

namespace kowen {

/// Device states: one bit each, so that a mask can name a set of them.
enum DeviceState : int32_t {
    kStateInitialised = 1, ///< no device open
    kStateOpen = 2,
    kStatePictureBegun = 4, ///< the picture's description may be set
    kStatePictureBody = 8,  ///< drawing
    kStatePictureEnded = 16,
};

inline constexpr uint32_t kColorTableEntries = 256;
inline constexpr uint32_t kColorBytes = 3;
inline constexpr uint32_t kColorTableBytes = kColorTableEntries * kColorBytes;
inline constexpr uint32_t kDeviceNameBytes = 144;

/// Two opposite corners, in the host's device units.
struct DeviceRectangle {
    double x1, y1, z1;
    double x2, y2, z2;
};
static_assert(sizeof(DeviceRectangle) == 48);

/// One zero-filled block of global memory, made by AllocGlobal and named by hEMData and lpEMData.
struct EMData {
    FileHandle outputFile;                ///< opened by d_opdv, closed by d_cldv
    MemoryHandle pictureBitmap;           ///< the bitmap being drawn; 0 = none
    uint32_t pictureOpen;                 ///< 1 between the primitives -5 and -6, else 0
    uint32_t rowsDone;                    ///< row counter of the cell arrays of a picture
    uint8_t colorTable[kColorTableBytes]; ///< red, green, blue
    uint8_t background[kColorBytes];
    ErrorStack errorStack;
    DeviceRectangle window;
    DeviceRectangle viewport; ///< z1 and z2 are never written
    int32_t stateWord;        ///< DeviceState
    uint32_t currentOpcode;   ///< read by push_er; nothing writes it, so it stays 0
    ReturnArea returnArea;
    char outputName[kDeviceNameBytes]; ///< empty = memory
    uint32_t pictureWidth;             ///< pixels
    uint32_t pictureHeight;            ///< rows
    uint32_t pictureDepth;             ///< bits per pixel
    ExportRecord *statusRecord;        ///< the host's, or null
    int32_t colorMode;                 ///< mode of rev_rgb, 0 to 4
    MemoryHandle setup;                ///< the host's
    int32_t resolution;                ///< dots per inch; 0 = not given
    int32_t pictureFlags;              ///< of primitive -5
    void *outputBlock;                 ///< locked block of memory output; see OpenOutput
    bool nameTooLong;                  ///< the host's name does not fit: it cannot be opened
};

/// The record, from RASTER_initdvr to RASTER_termdvr; 0 and null before and after.
extern MemoryHandle hEMData;
extern EMData *lpEMData;

/// Makes the device record. While hCommon is not 0 it makes nothing. Returns 0; lpEMData is null
/// afterwards when memory is exhausted.
int32_t AllocGlobal() noexcept;

/// Frees the device record, if there is one, and clears hEMData and lpEMData. Returns 0.
int32_t FreeGlobal() noexcept;

/// The record stays locked from AllocGlobal to FreeGlobal, so these do nothing and return 0.
/// Not on the export path.
int32_t LockGlobal(uint32_t ignored) noexcept;
int32_t UnlockGlobal(uint32_t ignored) noexcept;

} // namespace kowen
