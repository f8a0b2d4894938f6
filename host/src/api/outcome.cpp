#include "api/outcome.h"

#include "base/failure.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <new>
#include <string_view>

namespace kowen::host {
namespace {

// Cuts what does not fit, not in the middle of a character of UTF-8.
template <size_t kSize> void CopyText(char (&target)[kSize], std::string_view text) noexcept {
    size_t count = std::min(text.size(), kSize - 1);
    while (count < text.size() && count > 0 &&
           (static_cast<unsigned char>(text[count]) & 0xC0) == 0x80)
        --count;
    if (count != 0)
        std::memcpy(target, text.data(), count);
    target[count] = '\0';
}

} // namespace

void Outcome::Note(uint32_t bit, const std::string &sentence) {
    notes |= bit;
    notesText += sentence + "\n";
}

void FillResult(const Outcome &outcome, KowenResult *result) noexcept {
    if (result == nullptr)
        return;
    KowenResult full = {};
    full.size = result->size;
    full.code = outcome.code;
    full.moduleCode = outcome.moduleCode;
    full.systemError = outcome.systemError;
    full.bytes = outcome.bytes;
    full.width = outcome.width;
    full.height = outcome.height;
    full.xDpi = outcome.xDpi;
    full.yDpi = outcome.yDpi;
    full.components = outcome.components;
    full.scans = outcome.scans;
    full.quality = outcome.quality;
    full.notes = outcome.notes;
    full.clippedPercent = outcome.clippedPercent;
    CopyText(full.message, outcome.message);
    CopyText(full.notesText, outcome.notesText);
    CopyText(full.profilePath, outcome.profilePath);
    CopyText(full.profileSection, outcome.profileSection);
    std::memcpy(result, &full, std::min<size_t>(result->size, sizeof full));
}

int32_t FillFromException(Outcome *outcome, KowenResult *result) noexcept {
    outcome->code = KOWEN_HOST_ERR_MEMORY;
    outcome->systemError = ENOMEM;
    try {
        throw;
    } catch (const Failure &failure) {
        outcome->code = failure.Code();
        outcome->systemError = failure.SystemError();
        outcome->message = failure.what();
        FillResult(*outcome, result);
    } catch (...) { // memory, or a container's own limit
        outcome->message = "not enough memory";
        FillResult(*outcome, result);
    }
    return outcome->code;
}

} // namespace kowen::host
