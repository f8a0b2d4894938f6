// File descriptors that close themselves, and writes that are whole.
#pragma once

#include <csignal>
#include <cstddef>
#include <functional>
#include <string>

namespace kowen::host {

/// Owns a file descriptor; -1 for none.
class Descriptor {
public:
    explicit Descriptor(int fileDescriptor = -1) : fd(fileDescriptor) {}
    ~Descriptor() { Close(); }
    Descriptor(Descriptor &&other) noexcept : fd(other.Release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept;
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;

    int Get() const { return fd; }
    bool Open() const { return fd >= 0; }
    int Release();

    /// Closes early. Returns 0 or the error number; a file system may report a lost write here.
    int Close();

private:
    int fd;
};

/// While it lives, a closed pipe and a file at its size limit are ordinary errors of this thread's
/// writes and not signals. What the process does about those signals stays as it is.
class WriteSignalShield {
public:
    WriteSignalShield();
    ~WriteSignalShield();
    WriteSignalShield(const WriteSignalShield &) = delete;
    WriteSignalShield &operator=(const WriteSignalShield &) = delete;

private:
    sigset_t added; ///< that neither were blocked nor pending before
};

/// Writes everything, however slowly it is taken; also to a descriptor that does not wait.
///
/// cancelled  asked when a write has waited or a signal interrupted it; true ends it.
///
/// Returns 0 or the error number: ECANCELED when it was ended.
int WriteAll(int fd, const void *data, size_t size, const std::function<bool()> &cancelled = {});

/// Reads a whole file. Throws Failure with the code given, naming the path.
std::string ReadFile(const std::string &path, int32_t code);

} // namespace kowen::host
