#include "platform/text_buffer.h"

#include "platform/global_memory.h"

#include <algorithm>
#include <cstring>

namespace kowen {

namespace {
constexpr uint64_t kSmallestCapacity = 4096;
} // namespace

TextBuffer::~TextBuffer() noexcept {
    qivPtrGlobalFree(bytes);
}

bool TextBuffer::Reserve(uint64_t capacityWanted) noexcept {
    if (capacityWanted <= capacity)
        return true;
    // Doubled, so that a text of n appended pieces is not copied n times.
    uint64_t larger = std::max({capacityWanted, uint64_t{capacity} * 2, kSmallestCapacity});
    larger = std::max(capacityWanted, std::min<uint64_t>(larger, UINT32_MAX));
    if (larger <= UINT32_MAX) {
        bytes = static_cast<char *>(
            qivPtrGlobalReAlloc(bytes, static_cast<uint32_t>(larger), kGlobalFlags));
        exhausted = bytes == nullptr;
    } else {
        exhausted = true;
    }
    if (exhausted) {
        qivPtrGlobalFree(bytes);
        bytes = nullptr;
        size = 0;
        capacity = 0;
        return false;
    }
    capacity = static_cast<uint32_t>(larger);
    return true;
}

char *TextBuffer::Room(uint32_t count) noexcept {
    return !exhausted && Reserve(uint64_t{size} + count) ? bytes + size : nullptr;
}

void TextBuffer::Append(std::string_view text) noexcept {
    if (text.empty())
        return;
    char *room = text.size() <= UINT32_MAX ? Room(static_cast<uint32_t>(text.size())) : nullptr;
    if (room == nullptr) {
        exhausted = true;
        return;
    }
    std::memcpy(room, text.data(), text.size());
    size += static_cast<uint32_t>(text.size());
}

} // namespace kowen
