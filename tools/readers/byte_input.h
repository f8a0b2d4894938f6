// The bytes of a file or of the standard input, buffered, with a look ahead.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace kowen::cli {

/// Owns a descriptor unless it is the standard input. Reads throw Failure that names the file, or
/// Cancelled when a signal asks to stop.
class ByteInput {
public:
    /// path  "-" is the standard input.
    explicit ByteInput(const std::string &path);

    /// Bytes in memory, named `name` in messages.
    ByteInput(const std::string &name, std::vector<uint8_t> bytes);
    ~ByteInput();
    ByteInput(const ByteInput &) = delete;
    ByteInput &operator=(const ByteInput &) = delete;

    const std::string &Path() const { return path; }

    /// The first bytes, up to kLookAhead of them, without taking them. Before anything is read.
    std::span<const uint8_t> LookAhead();

    /// Takes up to `count` bytes; fewer only at the end of the file. Large reads go straight to
    /// `bytes`.
    size_t Read(void *bytes, size_t count);

    /// Takes a byte; -1 at the end.
    int Byte() {
        if (at == end && !Fill())
            return -1;
        return buffer[at++];
    }

    /// What is in the buffer; filled when empty. Empty at the end of the file.
    std::span<const uint8_t> Buffered();
    void Skip(size_t count) { at += count; }

    /// Everything from here to the end.
    std::vector<uint8_t> Rest();

    static constexpr size_t kLookAhead = 64;

private:
    bool Fill();
    size_t ReadSome(void *bytes, size_t count);

    std::string path;
    int fd;
    std::vector<uint8_t> buffer;
    size_t at = 0;
    size_t end = 0;
};

} // namespace kowen::cli
