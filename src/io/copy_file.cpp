#include "io/file_handle.h"
#include "kowen/codes.h"

#include <algorithm>
#include <cstdint>

namespace kowen {
namespace {

constexpr int32_t kPieceBytes = 4096;

// Bytes written minus bytes read.
int64_t CopyBytes(FileHandle source, FileHandle target) {
    unsigned char piece[kPieceBytes];
    int64_t difference = 0;
    for (;;) {
        const int32_t got = qivRead(source, piece, kPieceBytes);
        if (got < 1)
            return difference;
        difference += std::max(qivWrite(target, piece, got), 0) - got;
    }
}

} // namespace

int32_t qivCopy(const char *source, const char *target) noexcept {
    const auto from = static_cast<FileHandle>(qivOpen(source, nullptr, kModeRead));
    const auto to =
        static_cast<FileHandle>(qivOpen(target, nullptr, KOWEN_MODE_CREATE | KOWEN_MODE_WRITE));
    const int64_t difference = CopyBytes(from, to);
    qivClose(from);
    const int32_t closed = qivClose(to);
    // Hardened: the last buffer is written by the close, without which the copy is not complete.
    // Test: QivCopy.AFullDiskThatOnlyTheCloseNoticesIsReported.
    if (difference == 0 && to && closed != 0)
        return -1;
    return static_cast<int32_t>(std::max(difference, int64_t{INT32_MIN}));
}

} // namespace kowen
