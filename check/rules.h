// The rules that a host can break, each with the sentence of the guides that says it.
#pragma once

#include <cstddef>
#include <span>

namespace kowen::check {

enum class Rule {
    kTableRecord,
    kModuleName,
    kUnload,
    kOneThread,
    kCallbackCalls,
    kCallbackReturns,
    kSetupText,
    kSetupZero,
    kSetupHandle,
    kSetupOutlives,
    kSetupDriver,
    kBlockHandle,
    kBlockOrigin,
    kBlockInUse,
    kBlockFlags,
    kBlockAddress,
    kExportRecords,
    kMemoryOutput,
    kOutputName,
    kDepth,
    kPixelRows,
    kPalette,
    kEmpty,
    kTooLarge,
    kIoOpen,
    kIoAnswer,
    kWriteAnswer,
    kSizePointers,
    kEscapeCode,
    kEscapeSize,
    kEscapePointers,
    kEscapeValue,
    kRasterQuery,
    kDoorFunction,
    kDoorPlace,
    kDeviceRecord,
    kDeviceRuns,
    kDeviceAgain,
    kDeviceSetup,
    kDeviceName,
    kExportDeviceName,
    kDeviceOutput,
    kRequestState,
    kWindow,
    kPrimitives,
    kRows,
    kCellAddress,
    kColourCount,
    kReturnArea,
    kCount
};

struct RuleText {
    Rule rule;
    const char *name;     ///< as reports have it
    const char *page;     ///< of docs/
    const char *sentence; ///< stands there word for word; a test looks
};

/// Never fails.
const RuleText &TextOf(Rule rule) noexcept;

std::span<const RuleText> AllRules() noexcept;

} // namespace kowen::check
