// Where an export goes: the caller's output record, opened.
#pragma once

#include "base/progress.h"
#include "output/output_file.h"
#include "output/sink.h"

#include <memory>
#include <optional>
#include <string>

namespace kowen::host {

/// A file, the caller's writer, or memory.
class Target {
public:
    /// Checks the output, so that a file that must not be replaced is told before any work.
    /// Throws Failure.
    explicit Target(KowenOutput *output);

    /// For messages.
    const std::string &Name() const { return name; }

    /// Opens it for writing. Once.
    Sink *Open(Progress *progress);

    /// Brings the JPEG to its place, or into the output record. Throws Failure.
    void Commit();

private:
    KowenOutput *given;
    std::string name;
    std::optional<OutputFile> file;
    MemorySink *memory = nullptr; ///< the sink, when it is one
    std::unique_ptr<Sink> sink;
};

} // namespace kowen::host
