// The output of an export: a named file, a growable memory block, or the host's I/O procedure.
#pragma once

#include "io/file_handle.h"

#include <cstdint>

namespace kowen {

struct SetupRecord;

/// Where an output goes, in the order in which the choice is made.
enum class OutputKind : uint8_t {
    kHost,  ///< there is an I/O procedure: the name and all bytes go to it
    kNamed, ///< the name is not empty: a file
    kMemory ///< else: a block of global memory that grows
};

/// What an output is opened from; all borrowed for the call.
struct OutputTarget {
    const char *name;          ///< null counts as empty
    HostIoProcedure procedure; ///< the setup's, or null
    uintptr_t ioContext;       ///< the export record's ioContext; 0 without a record
};

struct OutputFile {
    FileHandle file; ///< 0 when the open failed; closed by the caller with CloseOutput
    OutputKind kind;
};

/// Keeps a file's name, null counting as empty, in a setup. Returns false, and keeps none, when it
/// does not fit: a shortened name would be another file.
bool KeepOutputName(SetupRecord &setup, const char *name) noexcept;

/// Opens an output for writing, emptied if it existed.
///
/// block   cell for the locked pointer of the memory block. It must stay where it is until the
///         output is closed: the file rewrites it whenever the block grows. Written for memory
///         output only, so that it starts as null and ends as null for every other kind.
/// output  the file and its kind, always written.
///
/// Returns 0; KOWEN_ERR_OUTPUT (303): not opened; KOWEN_ERR_MEMORY_OUTPUT (21): the 1-byte block
/// that memory output starts with could not be allocated. After 303 that block still exists, and
/// FreeOutputBlock ends it when the caller has no further use for it.
///
/// Kept deliberately: an I/O procedure that refuses the open gives 0 and file 0; the export goes
/// on and writes nothing. Test: OpenOutputTest.DoesNotCheckTheHostsAnswer.
int32_t OpenOutput(const OutputTarget &target, void **block, OutputFile *output) noexcept;

/// Closes an output and clears it from the current setup, so that nothing closes it twice.
/// Returns the answer of qivClose: 0, or not 0 when the close failed (so for file 0).
int32_t CloseOutput(FileHandle file) noexcept;

/// Clears a file that was closed from the current setup and from the raster driver's.
void ClearOutput(FileHandle file) noexcept;

/// Returns the handle of the memory block in a cell of OpenOutput; 0 when there is none. After
/// CloseOutput this is the finished block; it stays the cell's.
MemoryHandle OutputBlock(void *const *block) noexcept;

/// Frees the memory block in a cell of OpenOutput, if any, and clears the cell.
void FreeOutputBlock(void **block) noexcept;

} // namespace kowen
