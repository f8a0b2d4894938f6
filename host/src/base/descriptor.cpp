#include "base/descriptor.h"

#include "base/failure.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace kowen::host {
namespace {

constexpr int kWriteSignals[] = {SIGPIPE, SIGXFSZ};
constexpr size_t kReadStep = size_t{1} << 16;

// For a pipe that does not wait by itself. Returns when there is room, or a signal came.
bool WaitUntilWritable(int fd) {
    pollfd pipe = {fd, POLLOUT, 0};
    return poll(&pipe, 1, -1) >= 0 || errno == EINTR;
}

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
    // Interrupted, it is closed all the same.
    return closing < 0 || close(closing) == 0 || errno == EINTR ? 0 : errno;
}

// A signal that is pending already is somebody else's: it stays.
WriteSignalShield::WriteSignalShield() {
    sigset_t pending;
    sigset_t blocked;
    sigpending(&pending);
    sigemptyset(&added);
    pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
    for (const int number : kWriteSignals) {
        if (sigismember(&blocked, number) == 0 && sigismember(&pending, number) == 0)
            sigaddset(&added, number);
    }
    pthread_sigmask(SIG_BLOCK, &added, nullptr);
}

WriteSignalShield::~WriteSignalShield() {
    const int kept = errno;
    constexpr timespec kNow = {};
    while (sigtimedwait(&added, nullptr, &kNow) > 0) {
    }
    pthread_sigmask(SIG_UNBLOCK, &added, nullptr);
    errno = kept;
}

int WriteAll(int fd, const void *data, size_t size, const std::function<bool()> &cancelled) {
    const WriteSignalShield shield;
    const auto *bytes = static_cast<const char *>(data);
    while (size != 0) {
        const ssize_t count = write(fd, bytes, size);
        if (count < 0) {
            const bool again = errno == EINTR || (errno == EAGAIN && WaitUntilWritable(fd));
            if (!again)
                return errno;
            if (cancelled && cancelled())
                return ECANCELED;
            continue;
        }
        bytes += count;
        size -= static_cast<size_t>(count);
    }
    return 0;
}

std::string ReadFile(const std::string &path, int32_t code) {
    const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.Open())
        FailWith(code, path, errno);
    std::string text;
    for (size_t used = 0;;) {
        text.resize(used + kReadStep);
        const ssize_t count = read(file.Get(), text.data() + used, kReadStep);
        if (count < 0 && errno != EINTR)
            FailWith(code, path, errno);
        used += count > 0 ? static_cast<size_t>(count) : 0;
        if (count == 0) {
            text.resize(used);
            return text;
        }
    }
}

} // namespace kowen::host
