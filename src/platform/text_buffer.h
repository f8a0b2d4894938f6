// Bytes that grow at their end, in one block of global memory.
#pragma once

#include <cstdint>
#include <string_view>

namespace kowen {

/// Once memory is exhausted nothing more is appended and Exhausted answers true; a caller may
/// append a whole text and ask once.
class TextBuffer {
public:
    TextBuffer() noexcept = default;
    ~TextBuffer() noexcept;
    TextBuffer(const TextBuffer &) = delete;
    TextBuffer &operator=(const TextBuffer &) = delete;

    void Append(std::string_view text) noexcept;

    /// Returns count writable bytes behind the text, null when memory is exhausted. They become
    /// text with Extend, for as many of them as were written.
    char *Reserve(uint32_t count) noexcept;
    void Extend(uint32_t count) noexcept { size_ += count; }

    /// The text, borrowed until the next change. Empty when memory is exhausted.
    std::string_view Text() const noexcept { return {bytes_, size_}; }
    bool Exhausted() const noexcept { return exhausted_; }

private:
    bool EnsureCapacity(uint64_t wanted) noexcept;

    char *bytes_ = nullptr;
    uint32_t size_ = 0;
    uint32_t capacity_ = 0;
    bool exhausted_ = false;
};

} // namespace kowen
