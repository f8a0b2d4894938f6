// The rules that a host can break, each with the sentence of the guides that says it.
#pragma once

#include <cstddef>
#include <span>

namespace kowen::check {

enum class Rule {
    kModuleName,
    kUnload,
    kOneThread,
    kCallbackCalls,
    kCallbackReturns,
    kSetupHandle,
    kSetupOutlives,
    kBlockHandle,
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
    kWriteAnswer,
    kEscapeCode,
    kEscapeSize,
    kEscapePointers,
    kRasterQuery,
    kDeviceRecord,
    kDeviceRuns,
    kDeviceAgain,
    kDeviceSetup,
    kDeviceName,
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
