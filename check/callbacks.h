// The module's calls back to the host: they pass through here, so that they can be traced.
#pragma once

#include "calls.h"
#include "kowen/kowen.h"

namespace kowen::check {

/// The blocks that an export works with until it returns.
struct BlocksAtWork {
    MemoryHandle pixels = 0;
    MemoryHandle palette = 0;
    bool memoryOutput = false; ///< the record's memoryBlock is one of them
};

/// One output that is being made: an export, or a device from its initialisation to its end. The
/// module gets a copy of the host's export record with other procedures in it.
class Output {
public:
    Output() = default;
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    /// Takes the host's record, which may be null, and the setup.
    void Begin(MemoryHandle setup, ExportRecord *record, const BlocksAtWork &blocks = {});
    void End();

    bool Runs() const { return runs_; }
    MemoryHandle Setup() const { return setup_; }
    /// Whether a block, which is not 0, is one of those that it works with.
    bool Uses(MemoryHandle block) const;

    /// What the module gets in place of the host's record; null for null.
    ExportRecord *ForTheModule();

    /// The host may have changed its record; the module may have changed the copy.
    void TakeFromHost();
    void GiveToHost();

    int32_t CallStatus(uintptr_t context, int32_t command, int32_t code, int32_t value1,
                       int32_t value2, int32_t value3, void *reply);
    intptr_t CallProcedure(uintptr_t handleOrContext, int32_t operation, void *argument,
                           int32_t count);

private:
    bool runs_ = false;
    MemoryHandle setup_ = 0;
    ExportRecord *host_ = nullptr;
    ExportRecord copy_ = {};
    BlocksAtWork blocks_ = {};
    HostIoProcedure openedWith_ = nullptr;
};

/// Stands around a call of the module that may call back for this output.
class OutputAtWork {
public:
    explicit OutputAtWork(Output &output);
    ~OutputAtWork();
    OutputAtWork(const OutputAtWork &) = delete;
    OutputAtWork &operator=(const OutputAtWork &) = delete;
};

/// Whether a setup belongs to an output at work, or to a device that runs.
bool IsInUse(MemoryHandle setup);

/// Whether an output at work uses a block.
bool IsBlockInUse(MemoryHandle block);

/// Whether the module is inside a callback: its doors do nothing then. One that was left by a jump
/// or an exception keeps them shut.
bool DoorsAreShut();

/// Whether such a callback keeps a setup, which was current when it began: the module neither
/// destroys nor exports it, and it is current again when the callback returns.
bool IsKept(MemoryHandle setup);

/// The procedure that the module is given in place of the host's.
HostIoProcedure TracingProcedure();

} // namespace kowen::check
