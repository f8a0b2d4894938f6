#include "stream/edited_stream.h"

#include <cerrno>
#include <new>

namespace kowen::host {
namespace {

constexpr size_t kLongestHead = 65536; // what is longer is none of the filter's

} // namespace

int EditedStream::Write(const uint8_t *bytes, size_t count) noexcept {
    if (error != 0)
        return error;
    if (!inHead) {
        Pass(bytes, count);
        return error;
    }
    try {
        head.insert(head.end(), bytes, bytes + count);
        if (!HeadIsWhole(head) && head.size() < kLongestHead)
            return 0;
        if (!EditHead(edits, &head) && edits.Any()) {
            headUnknown = true;
            error = EBADMSG;
            return error;
        }
    } catch (const std::bad_alloc &) {
        error = ENOMEM;
        return error;
    }
    inHead = false;
    Pass(head.data(), head.size());
    head.clear();
    return error;
}

void EditedStream::Pass(const uint8_t *bytes, size_t count) noexcept {
    error = sink->Write(bytes, count);
    if (error == 0)
        watch.Take(bytes, count);
}

int EditedStream::Finish() noexcept {
    if (error == 0 && inHead && !head.empty())
        Pass(head.data(), head.size());
    inHead = false;
    if (error == 0)
        error = sink->Finish();
    return error;
}

} // namespace kowen::host
