// Where the result goes: into a file in one step, or straight into a device, a pipe or the
// standard output.
#pragma once

#include "host/file.h"

#include <cstddef>
#include <memory>
#include <string>
#include <sys/types.h>

namespace kowen::host {

/// The target of a write. A regular file, there or not, is only ever replaced as a whole: the new
/// bytes go to a temporary file beside it, which takes its name once everything is on disk. Until
/// then the file is as it was. Links are followed; the file's permissions are kept.
class OutputFile {
public:
    /// path: "-" is the standard output. Throws HostError when nothing can be written there.
    explicit OutputFile(const std::string &path);

    const std::string &Name() const { return name; }

    /// Whether the target is replaced as a whole; else it is written to directly.
    bool Replaceable() const { return replaceable; }

    /// A new file beside the target, to be filled and handed to Replace.
    std::unique_ptr<TemporaryFile> MakeTemporary() const;

    /// Gives the temporary file the target's permissions and name once its bytes are on disk.
    void Replace(TemporaryFile *temporary) const;

    /// Writes everything to the target by whichever way it takes.
    void Deliver(const void *data, size_t size) const;

private:
    void WriteThrough(const void *data, size_t size) const;

    std::string name;   ///< for messages
    std::string target; ///< links resolved; empty for the standard output
    bool replaceable = true;
    bool exists = false;
    mode_t mode = 0;
    uid_t owner = 0;
    gid_t group = 0;
};

} // namespace kowen::host
