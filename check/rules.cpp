#include "rules.h"

#include <iterator>

namespace kowen::check {
namespace {

constexpr char kHosts[] = "host-guide.md";
constexpr char kSettings[] = "settings.md";
constexpr char kDevice[] = "device.md";

constexpr RuleText kRules[] = {
    {Rule::kTableRecord, "table-record", kHosts,
     "`dlsym` the function `fltLoadPointers` and call it with an `EntryPointRecord`."},
    {Rule::kModuleName, "module-name", kHosts,
     "Write the module's own path into the 260 bytes that the entry `szDLLName` points at."},
    {Rule::kUnload, "unload", kHosts, "Before that, terminate devices and free setups and blocks."},
    {Rule::kOneThread, "one-thread", kHosts, "Calls come from one thread at a time."},
    {Rule::kCallbackCalls, "callback-calls", kHosts,
     "From inside one, rely on the memory functions and on nothing else of the module."},
    {Rule::kCallbackReturns, "callback-returns", kHosts,
     "Return it must: one that is left by `longjmp` leaves the doors shut for good."},
    {Rule::kSetupText, "setup-text", kSettings,
     "Each of the three strings that `CreateSetup` takes has room for 143 bytes."},
    {Rule::kSetupZero, "setup-zero", kHosts,
     "0 is no setup: a host that gets it from `CreateSetup` makes no call with it."},
    {Rule::kSetupHandle, "setup-handle", kHosts,
     "A setup's handle comes from `CreateSetup` and is void after `DestroySetup`."},
    {Rule::kSetupOutlives, "setup-outlives", kHosts,
     "A setup outlives every export and device that uses it."},
    {Rule::kSetupDriver, "setup-driver", kHosts,
     "A setup that was made from a profile whose section is missing, or lacks the key `Driver`, "
     "has "
     "zero for every setting; `CreateSetup` answers a handle all the same, and `ExportCellData` "
     "then answers 0 and leaves a file of 0 bytes."},
    {Rule::kBlockHandle, "block-handle", kHosts,
     "A block's handle is void after `GlobalFree` and `GlobalReAlloc`."},
    {Rule::kBlockOrigin, "block-origin", kHosts,
     "`GlobalAlloc` makes a block and returns its handle, `GlobalLock` the address of its data, "
     "`GlobalFree` ends it."},
    {Rule::kBlockInUse, "block-in-use", kHosts,
     "A callback ends none of the blocks that the export works with, and its memory output is not "
     "there before the call returns."},
    {Rule::kBlockFlags, "block-flags", kHosts, "Every allocation passes `KOWEN_GLOBAL_FLAGS`."},
    {Rule::kBlockAddress, "block-address", kHosts,
     "`GlobalHandle` takes an address that `GlobalLock` gave for a block that was not wrapped."},
    {Rule::kExportRecords, "export-records", kHosts,
     "`ExportCellData` needs a bitmap, a cell and a host record."},
    {Rule::kMemoryOutput, "memory-output", kHosts, "Without an export record the result is 303."},
    {Rule::kOutputName, "output-name", kHosts,
     "Names have room for 4,095 bytes on the bitmap door."},
    {Rule::kDepth, "depth", kHosts, "The depth is 1, 4, 8, 24 or 32."},
    {Rule::kPixelRows, "pixel-rows", kHosts, "The block holds all rows, padding included."},
    {Rule::kPalette, "palette", kHosts,
     "Depths 1, 4 and 8 need a palette: a block of 2, 16 or 256 entries of 3 bytes, red, green, "
     "blue."},
    {Rule::kEmpty, "empty", kHosts, "Neither the picture nor its target is empty."},
    {Rule::kTooLarge, "too-large", kHosts, "A JPEG has up to 65,535 columns and 65,534 rows."},
    {Rule::kIoOpen, "io-open", kHosts,
     "A host that cannot serve an output had better not start the export."},
    {Rule::kIoAnswer, "io-answer", kHosts,
     "An answer of -1 does not end the export either: to the open it is a handle as any other, a "
     "write has taken nothing then, and a close has failed, which a raster device tells with 303 "
     "and `ExportCellData` not at all."},
    {Rule::kWriteAnswer, "write-answer", kHosts, "No write is answered with more than its count."},
    {Rule::kSizePointers, "size-pointers", kHosts, "`ScaleImageSize` needs both of its pointers."},
    {Rule::kEscapeCode, "escape-code", kSettings, "A code that is not listed here does nothing."},
    {Rule::kEscapeSize, "escape-size", kSettings,
     "`size` must be that of the input value: 4 for an `int32_t`, 8 for a `double`."},
    {Rule::kEscapePointers, "escape-pointers", kSettings, "A setter needs `in`, a getter `out`."},
    {Rule::kEscapeValue, "escape-value", kSettings,
     "An escape whose inputs have names takes no others."},
    {Rule::kRasterQuery, "raster-query", kHosts,
     "only its raster query answers for the current one, so a host with several setups calls "
     "`EditSetup` first."},
    {Rule::kDoorFunction, "door-function", kDevice,
     "Neither kind of door has other functions than these."},
    {Rule::kDoorPlace, "door-place", kDevice,
     "The address and the version need a place to be written to."},
    {Rule::kDeviceRecord, "device-record", kDevice, "Initialising and dispatching need a record."},
    {Rule::kDeviceRuns, "device-runs", kDevice,
     "Before initialisation and after termination requests do nothing and answer 0."},
    {Rule::kDeviceAgain, "device-again", kDevice,
     "Initialising a device that runs ends it first, as termination does."},
    {Rule::kDeviceSetup, "device-setup", kDevice, "without a setup nothing is drawn."},
    {Rule::kDeviceName, "device-name", kDevice,
     "A name has room for 143 bytes; a longer one cannot be opened."},
    {Rule::kExportDeviceName, "export-device-name", kDevice, "Names have room for 4,095 bytes."},
    {Rule::kDeviceOutput, "device-output", kDevice,
     "Frees everything, the block of memory output included; that block is not handed out."},
    {Rule::kRequestState, "request-state", kDevice,
     "A request runs only in the states that its opcode allows; in any other state, and with an "
     "unknown opcode, it does nothing and answers 0."},
    {Rule::kWindow, "window", kDevice,
     "The window decides how many pixels a row has and, with a resolution, how large the picture "
     "is"},
    {Rule::kPrimitives, "primitives", kDevice,
     "Hosts use the primitives: -5 opens the picture, cell arrays draw it, -6 writes it."},
    {Rule::kRows, "rows", kDevice,
     "Several cell arrays draw one picture in strips, all of the picture's depth and together of "
     "its height."},
    {Rule::kCellAddress, "cell-address", kDevice,
     "300 means: no picture bitmap (its allocation failed), the address of the cells is null, or a "
     "row, and outside a picture bitmap all rows, do not fit into 32 bits."},
    {Rule::kColourCount, "colour-count", kDevice,
     "The argument count at byte 4 is 2 + 3 times the number of colours."},
    {Rule::kReturnArea, "return-area", kDevice,
     "What does not fit is cut off, and every later answer then is empty."},
};
static_assert(std::size(kRules) == static_cast<std::size_t>(Rule::kCount));

constexpr bool InOrder() {
    for (std::size_t i = 0; i < std::size(kRules); ++i)
        if (kRules[i].rule != static_cast<Rule>(i))
            return false;
    return true;
}
static_assert(InOrder());

} // namespace

const RuleText &TextOf(Rule rule) noexcept {
    return kRules[static_cast<std::size_t>(rule)];
}

std::span<const RuleText> AllRules() noexcept {
    return kRules;
}

} // namespace kowen::check
