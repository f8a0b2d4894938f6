#include "readers/byte_input.h"

#include "cancel.h"
#include "failure.h"
#include "readers/source.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kowen::cli {
namespace {

constexpr size_t kBufferBytes = size_t{1} << 16;
constexpr int kNoFile = -1;
constexpr size_t kReadStep = size_t{1} << 20;

int Open(const std::string &path) {
    if (path == "-")
        return STDIN_FILENO;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        const int reason = errno;
        StopIfCancelled();
        FailWith(path, reason);
    }
    return fd;
}

} // namespace

ByteInput::ByteInput(const std::string &file) : path(file), fd(Open(file)), buffer(kBufferBytes) {}

ByteInput::ByteInput(const std::string &name, std::vector<uint8_t> bytes)
    : path(name), fd(kNoFile), buffer(std::move(bytes)), end(buffer.size()) {}

ByteInput::~ByteInput() {
    if (fd != STDIN_FILENO && fd != kNoFile)
        close(fd);
}

size_t ByteInput::ReadSome(void *bytes, size_t count) {
    while (fd != kNoFile) {
        StopIfCancelled();
        const ssize_t got = read(fd, bytes, count);
        if (got >= 0)
            return static_cast<size_t>(got);
        if (errno != EINTR)
            FailWith(NameOf(path), errno);
    }
    return 0;
}

bool ByteInput::Fill() {
    at = 0;
    end = 0;
    if (fd != kNoFile)
        end = ReadSome(buffer.data(), buffer.size());
    return end != 0;
}

std::span<const uint8_t> ByteInput::LookAhead() {
    while (fd != kNoFile && end < kLookAhead) {
        const size_t got = ReadSome(buffer.data() + end, buffer.size() - end);
        if (got == 0)
            break;
        end += got;
    }
    return {buffer.data(), std::min(end, kLookAhead)};
}

size_t ByteInput::Read(void *bytes, size_t count) {
    auto *out = static_cast<uint8_t *>(bytes);
    size_t done = std::min(count, end - at);
    std::memcpy(out, buffer.data() + at, done);
    at += done;
    while (done < count) {
        if (count - done >= kBufferBytes) {
            const size_t got = ReadSome(out + done, count - done);
            if (got == 0)
                break;
            done += got;
            continue;
        }
        if (!Fill())
            break;
        const size_t piece = std::min(count - done, end);
        std::memcpy(out + done, buffer.data(), piece);
        at = piece;
        done += piece;
    }
    return done;
}

std::span<const uint8_t> ByteInput::Buffered() {
    if (at == end)
        Fill();
    return {buffer.data() + at, end - at};
}

std::vector<uint8_t> ByteInput::Rest() {
    std::vector<uint8_t> bytes(buffer.begin() + static_cast<ptrdiff_t>(at),
                               buffer.begin() + static_cast<ptrdiff_t>(end));
    at = end;
    struct stat status = {};
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode))
        bytes.reserve(static_cast<size_t>(status.st_size) + 1);
    for (;;) {
        const size_t used = bytes.size();
        bytes.resize(std::max(used + kReadStep, bytes.capacity()));
        const size_t got = ReadSome(bytes.data() + used, bytes.size() - used);
        bytes.resize(used + got);
        if (got == 0)
            return bytes;
    }
}

} // namespace kowen::cli
