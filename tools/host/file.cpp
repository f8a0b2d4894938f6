#include "host/file.h"

#include "host/cancel.h"
#include "host/error.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr size_t kReadStep = size_t{1} << 18;

} // namespace

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept {
    if (this != &other) {
        Close();
        fd = other.Release();
    }
    return *this;
}

int Descriptor::Release() {
    const int released = fd;
    fd = -1;
    return released;
}

int Descriptor::Close() {
    const int closing = Release();
    if (closing < 0 || close(closing) == 0)
        return 0;
    return errno;
}

TemporaryFile::TemporaryFile(const std::string &directory)
    : path(directory + "/.kowen-XXXXXX"), slot(-1) {
    const int fd = mkostemp(path.data(), O_CLOEXEC);
    if (fd < 0) {
        const int reason = errno;
        FailWith("cannot make a temporary file in " + directory, reason);
    }
    file = Descriptor(fd);
    slot = RememberTemporary(path);
}

TemporaryFile::~TemporaryFile() {
    file.Close();
    if (!kept)
        unlink(path.c_str());
    ForgetTemporary(slot);
}

void TemporaryFile::Keep() {
    kept = true;
    ForgetTemporary(slot);
    slot = -1;
}

std::vector<uint8_t> ReadDescriptor(int fd, const std::string &name) {
    std::vector<uint8_t> bytes;
    size_t used = 0;
    for (;;) {
        StopIfCancelled();
        if (bytes.size() - used < kReadStep)
            bytes.resize(bytes.size() + bytes.size() / 2 + kReadStep);
        const ssize_t count = read(fd, bytes.data() + used, bytes.size() - used);
        if (count == 0)
            break;
        if (count > 0)
            used += static_cast<size_t>(count);
        else if (errno != EINTR)
            FailWith(name, errno);
    }
    StopIfCancelled();
    bytes.resize(used);
    return bytes;
}

std::vector<uint8_t> ReadFile(const std::string &path) {
    if (path == "-")
        return ReadDescriptor(STDIN_FILENO, "standard input");
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.Open()) {
        StopIfCancelled();
        FailWith(path, errno);
    }
    return ReadDescriptor(file.Get(), path);
}

int WriteDescriptor(int fd, const void *data, size_t size) {
    const auto *bytes = static_cast<const char *>(data);
    while (size != 0) {
        const ssize_t count = write(fd, bytes, size);
        if (count < 0) {
            if (errno == EINTR && !CancelRequested())
                continue;
            return errno;
        }
        bytes += count;
        size -= static_cast<size_t>(count);
    }
    return 0;
}

} // namespace kowen::host
