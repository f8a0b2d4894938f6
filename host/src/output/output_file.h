// A file that is only ever replaced as a whole, or a device, a pipe, a descriptor written straight.
#pragma once

#include "base/descriptor.h"
#include "kowen/host.h"

#include <string>
#include <sys/types.h>

namespace kowen::host {

/// The target of a write. A regular file, there or not, stays as it is until the new bytes are on
/// disk: they go to a temporary file beside it, which then takes its name, mode and owner. Links
/// are followed. The temporary file has no name while it is written, where the file system can do
/// that; whatever ends the process, nothing is left then.
class OutputFile {
public:
    /// Throws Failure when nothing can be written there (KOWEN_HOST_ERR_OUTPUT), or the file that
    /// is there must not be replaced (KOWEN_HOST_ERR_EXISTS).
    OutputFile(const std::string &path, KowenReplace replace);
    ~OutputFile();
    OutputFile(const OutputFile &) = delete;
    OutputFile &operator=(const OutputFile &) = delete;

    const std::string &Name() const { return name; }

    /// Opens what is to be written to. Returns the descriptor, which stays the file's.
    int Open();

    /// Brings what was written to its place. Without it nothing has happened to a regular file.
    void Commit();

private:
    void OpenTemporary();
    void NameTemporary();
    void TakeName();
    void CheckReplaceable() const;
    [[noreturn]] void Fail(int errorNumber) const;

    std::string name;   ///< for messages
    std::string target; ///< links resolved
    KowenReplace policy;
    int descriptor = -1;     ///< of /dev/fd/N and the like; -1 for a name
    bool replaceable = true; ///< else written to directly
    bool exists = false;
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
    Descriptor file;
    std::string temporary; ///< its name; empty while it has none
};

} // namespace kowen::host
