// Files as the host handles them: a descriptor that closes itself, temporary files that remove
// themselves, whole-file reads and checked writes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

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

/// A file of mode 0600 made exclusively under a fresh name. Removed at the end of its life, and by
/// a second Ctrl-C, unless Keep was called.
class TemporaryFile {
public:
    /// Makes "directory/.kowen-" and six random characters. Throws HostError.
    explicit TemporaryFile(const std::string &directory);
    ~TemporaryFile();
    TemporaryFile(const TemporaryFile &) = delete;
    TemporaryFile &operator=(const TemporaryFile &) = delete;

    const std::string &Path() const { return path; }
    Descriptor &File() { return file; }

    /// The file has got its final name: leave it.
    void Keep();

private:
    std::string path;
    Descriptor file;
    int slot;
    bool kept = false;
};

/// Reads everything up to the end of the file. Throws HostError naming `name`, or Cancelled.
std::vector<uint8_t> ReadDescriptor(int fd, const std::string &name);

/// Reads a whole file; "-" is the standard input.
std::vector<uint8_t> ReadFile(const std::string &path);

/// Writes everything. Returns 0 or the error number.
int WriteDescriptor(int fd, const void *data, size_t size);

} // namespace kowen::host
