// What a call did, on its way into the caller's result record.
#pragma once

#include "kowen/host.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace kowen::host {

/// A KowenResult in the making.
struct Outcome {
    int32_t code = KOWEN_HOST_OK;
    int32_t moduleCode = 0;
    int32_t systemError = 0;
    uint64_t bytes = 0;
    uint32_t width = 0;
    uint32_t height = 0;
    uint32_t xDpi = 0;
    uint32_t yDpi = 0;
    uint32_t components = 0;
    uint32_t scans = 0;
    int32_t quality = 0;
    uint32_t notes = 0;
    double clippedPercent = 0;
    std::string_view message; ///< static, or what the exception being handled holds
    std::string notesText;
    std::string profilePath;
    std::string profileSection;

    /// Notes something that the user would not expect, with a sentence for it.
    void Note(uint32_t bit, const std::string &sentence);
};

/// Copies into the caller's record, as much as it has room for; null does nothing.
void FillResult(const Outcome &outcome, KowenResult *result) noexcept;

/// Fills the record from the exception that is being handled. Returns the code.
int32_t FillFromException(Outcome *outcome, KowenResult *result) noexcept;

/// Runs a call's body where C begins: body(&outcome) may throw. Returns the code.
template <typename Body> int32_t Call(KowenResult *result, const Body &body) noexcept {
    Outcome outcome;
    try {
        body(&outcome);
        FillResult(outcome, result);
        return KOWEN_HOST_OK;
    } catch (...) {
        return FillFromException(&outcome, result);
    }
}

} // namespace kowen::host
