#include "platform/text_buffer.h"

#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {
constexpr uint64_t kSmallestCapacity = 4096;
} // namespace

TextBuffer::~TextBuffer() noexcept {
    qivPtrGlobalFree(bytes_);
}

bool TextBuffer::EnsureCapacity(uint64_t wanted) noexcept {
    if (wanted <= capacity_)
        return true;
    // Doubled, so that a text of n appended pieces is not copied n times.
    uint64_t larger = std::max({wanted, uint64_t{capacity_} * 2, kSmallestCapacity});
    larger = std::max(wanted, std::min<uint64_t>(larger, UINT32_MAX));
    if (larger <= UINT32_MAX) {
        bytes_ = static_cast<char *>(
            qivPtrGlobalReAlloc(bytes_, static_cast<uint32_t>(larger), kGlobalFlags));
        exhausted_ = !bytes_;
    } else {
        exhausted_ = true;
    }
    if (exhausted_) {
        qivPtrGlobalFree(bytes_);
        bytes_ = nullptr;
        size_ = 0;
        capacity_ = 0;
        return false;
    }
    capacity_ = static_cast<uint32_t>(larger);
    return true;
}

char *TextBuffer::Reserve(uint32_t count) noexcept {
    return !exhausted_ && EnsureCapacity(uint64_t{size_} + count) ? bytes_ + size_ : nullptr;
}

void TextBuffer::Append(std::string_view text) noexcept {
    if (text.empty())
        return;
    char *place = text.size() <= UINT32_MAX ? Reserve(static_cast<uint32_t>(text.size())) : nullptr;
    if (!place) {
        exhausted_ = true;
        return;
    }
    std::memcpy(place, text.data(), text.size());
    size_ += static_cast<uint32_t>(text.size());
}

} // namespace kowen
