// File handles: disk files, memory blocks, host-served files and document streams behind one type.
//
// A handle lives from qivOpen to qivClose or qivCloseandDelete and is used by one caller at a
// time. Positions and lengths are byte counts of 32 bits: a file of 2 GiB or more is not opened,
// and a write or seek that would pass 2147483647 fails.
//
// Handle 0 is accepted everywhere: nothing happens and the answer is the function's error result.
// A failure is also kept in the file (its error state) until it is closed.
#pragma once

#include "kowen/codes.h"
#include "kowen/records.h"

#include <cstdint>
#include <cstdio>

namespace kowen {

/// A global memory handle to a QivFile; 0 for none.
using FileHandle = MemoryHandle;

/// What an offset of qivSeek, docSeek or unxSeek counts from.
enum Whence : int32_t {
    kFromStart = KOWEN_SEEK_START,
    kFromCurrent = KOWEN_SEEK_CURRENT,
    kFromEnd = KOWEN_SEEK_END
};

/// Open modes besides the KOWEN_MODE_... that a host's procedure meets.
inline constexpr int32_t kModeWrap = -1;
inline constexpr int32_t kModeRead = 0;
inline constexpr int32_t kModeUpdate = 2;
inline constexpr int32_t kModeExists = 16384;

/// Opens a file that is not simply named: a memory block, a stream, a host-served file.
struct QivIODesc {
    void *location; ///< address of the caller's block pointer, or the procedure's context
    int32_t size;   ///< memory: data size in bytes; trimmed by the open
    int32_t growBy; ///< memory: growth step in bytes
    void *stream;   ///< an open FILE, with kModeWrap
    HostIoProcedure procedure;
    uintptr_t handle; ///< the host's handle of an open file, with kModeWrap
};

/// Opens a file. Which kind depends on descriptor and name:
/// - kModeWrap: the descriptor's procedure with its handle, else the descriptor's stream,
///   which stays the caller's and is read from its first byte;
/// - a descriptor with a procedure: the host serves the file, if its open answers non-zero;
/// - a null or empty name: the memory block that the descriptor's location points at, by way of
///   the caller's own pointer. The pointer must come from GlobalLock; it is rewritten whenever the
///   block moves, and stays the caller's with its block after the close;
/// - "stdin" and "stdout", exactly: the process's standard streams, which the close closes;
/// - any other name: a disk file.
///
/// mode  kModeRead "r", KOWEN_MODE_WRITE "w+", kModeUpdate "r+" (before WRITE),
///       KOWEN_MODE_CREATE "w+" (before both; a memory file starts empty). WRITE and UPDATE also
///       allow seeks past the end and give a memory file its terminator byte when it is closed.
///
/// Returns the handle; 0 when the target cannot be opened (a directory never can), the descriptor
/// that is needed is missing, or memory is exhausted.
///
/// Two modes make no handle:
/// - kModeExists: -1 when the file cannot be opened for reading, else a value that is not
///   -1 and not 0; with a procedure, its answer to KOWEN_IO_EXISTS.
/// - KOWEN_MODE_DELETE: 1 when the file was removed, 0 when not; with a procedure, its answer to
///   KOWEN_IO_DELETE. Directories and devices are never removed.
///
/// Kept deliberately: a memory block that is not created afresh loses its trailing zero bytes and
/// then one byte more; the descriptor's size says what is left, -1 for a block of zeros.
/// Test: QivOpenMemory.TrimsZerosAndOneByteMore.
/// Kept deliberately: when the host's procedure refuses a named file, the disk file of that name is
/// opened (and created, if the mode says so), but everything later still goes to the procedure.
/// Test: QivOpenHost.ARefusedNameOpensTheDiskFileAndStillAsksTheProcedure.
intptr_t qivOpen(const char *name, QivIODesc *descriptor, int32_t mode) noexcept;

/// Whether bytes that were to be written are known to be missing from the file; false for handle 0.
/// A memory file does not tell: without memory it is empty.
bool qivHasLost(FileHandle file) noexcept;

/// Closes the file and ends the handle, whatever the result.
/// Returns 0; -1 for handle 0 and when bytes of the file, the last ones or earlier ones, or a
/// memory file's terminator byte could not be written; the stream close's result; for a host-served
/// file the procedure's answer, but -1 instead of 0 when it has taken less than it was given, as
/// far as it tells.
///
/// Kept deliberately: a memory file opened with WRITE or UPDATE gets one byte 255 after its last.
/// Test: QivCloseMemory.AppendsTheTerminatorByte.
int32_t qivClose(FileHandle file) noexcept;

/// Closes the file and deletes it: the procedure's file, the block that ownedData names, or the
/// file called name. Returns 0 in every case, -1 for handle 0.
int32_t qivCloseandDelete(FileHandle file, const char *name) noexcept;

/// Reads up to count bytes. Returns how many came, 0 at the end of the file (and for handle 0),
/// -1 on error; for a host-served file the procedure's answer.
int32_t qivRead(FileHandle file, void *buffer, int32_t count) noexcept;

/// Writes count bytes. Returns count; -1 on error; 0 for handle 0 and when an earlier error stops
/// a write that needs the buffer emptied or the block grown; for a host-served file the
/// procedure's answer. A document stream cannot be written: -1.
int32_t qivWrite(FileHandle file, const void *buffer, int32_t count) noexcept;

/// Moves to offset bytes from whence. Returns the new position, -1 on error: before the start,
/// past the length of a file opened for reading only, or not reachable.
/// (file, 0, kFromCurrent) only asks for the position and touches nothing.
/// A stream that cannot seek (a pipe) reaches its buffer's bytes and the place where it already is.
///
/// Kept deliberately: of a memory file the length that limits seeks is one byte short.
/// Test: QivSeekMemory.ReadingReachesOnlyTheLastByte.
/// Not on the export path.
int32_t qivSeek(FileHandle file, int32_t offset, int32_t whence) noexcept;

/// Copies the file called source to target, which is created. Returns bytes written minus bytes
/// read, 0 when the copy is complete; -1 also when only the target's close fails.
///
/// Kept deliberately: opening is not checked. A missing source gives an empty target and 0.
/// Test: QivCopy.AMissingSourceLeavesAnEmptyTargetAndSaysZero.
/// Not on the export path.
int32_t qivCopy(const char *source, const char *target) noexcept;

/// Loads the buffer of a disk file from where the last load ended, after writing it back if it is
/// dirty. Returns the bytes loaded, 0 at the end and for memory files, -1 on error.
/// Not on the export path.
int32_t FillQivIOBuf(FileHandle file) noexcept;

/// Disk file: writes the dirty buffer back and empties it. Returns the bytes written, 0 when it is
/// not dirty, -1 on error. Memory file: grows the block by one step. Returns 1, or -1.
///
/// Kept deliberately: the file's position is after the buffer's last byte then.
/// Test: FlushQivIO.MovesThePositionBehindTheBuffer.
/// Not on the export path.
int32_t FlushQivIO(FileHandle file) noexcept;

/// Reads up to count bytes of a document stream. Returns how many came. A chain of sectors that
/// leaves its table or runs in a circle ends the read.
/// Not on the export path.
int32_t docRead(FileHandle file, void *buffer, int32_t count) noexcept;

/// Moves in a document stream; the target is brought into 0 to its size. Returns the new
/// position, -1 for an unknown whence.
///
/// Kept deliberately: from the end the offset counts backwards.
/// Test: DocSeek.FromTheEndCountsBackwards.
/// Not on the export path.
int32_t docSeek(FileHandle file, int32_t offset, int32_t whence) noexcept;

/// Moves a stream. Returns its new position, -1 when it cannot be reached or told in 32 bits.
int32_t unxSeek(std::FILE *stream, int32_t offset, int32_t whence) noexcept;

/// Copies the directory part of path, its last separator included: up to the last backslash, else
/// the last slash; empty without either. destination holds strlen(path) + 1 bytes and may be path.
/// Not on the export path.
void s_getpath(char *destination, const char *path) noexcept;

/// Copies the file name of path: what follows the last backslash, else the last slash, else the
/// last colon, up to its last period. destination as of s_getpath.
void s_getname(char *destination, const char *path) noexcept;

} // namespace kowen
