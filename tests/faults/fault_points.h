// The points at which a run can fail, and the switch that makes a chosen one do so.
//
// Everything that the filter asks of the C library for memory or files passes through here: the
// program is linked with --wrap for these functions (CMakeLists.txt), so that it is the filter's
// own calls that are counted, not those of the test or of the library below. The host's procedure
// and its status callback ask FaultHits themselves.
#pragma once

#include <cstdint>
#include <string>

namespace kowen::test {

enum class FaultKind {
    kHeap,     ///< malloc, calloc, realloc, mmap and a locale have no memory
    kFile,     ///< a call on files fails: open, write, seek, close, rename and so on
    kShort,    ///< a write or read transfers half of what was asked
    kDiskFull, ///< the disk takes so many bytes and no more
    kHostZero, ///< the host's procedure does nothing and answers 0
    kHostError,
    kHostFewer, ///< of a transfer half is done and answered; any other call answers one less
    kHostMore,  ///< all is done, and one more answered
    kCancel     ///< the status callback asks to stop
};

enum class FaultMode {
    kOnlyThat,
    kThatAndNext, ///< a status callback that confirms the stop and knows nothing of it later
    kThatAndAllLater
};

inline constexpr FaultKind kAllKinds[] = {
    FaultKind::kHeap,      FaultKind::kFile,     FaultKind::kShort,
    FaultKind::kDiskFull,  FaultKind::kHostZero, FaultKind::kHostError,
    FaultKind::kHostFewer, FaultKind::kHostMore, FaultKind::kCancel};

std::string NameOf(FaultKind kind);
std::string NameOf(FaultMode mode);
bool IsHostKind(FaultKind kind);

/// What happened while the switch was on.
struct FaultReport {
    FaultKind kind;
    FaultMode mode;
    int64_t points;     ///< calls of the kind; for kDiskFull bytes that went to the disk
    int failures;       ///< how many of them failed
    bool removalFailed; ///< one of them was the removal of a file
    int messages;       ///< lines for standard output, which are swallowed
    std::string first;  ///< the function that failed first

    bool Failed() const { return failures != 0; }
};

/// Lets the k-th call of the kind from now on fail; k = 0: none, only count. For kDiskFull k is one
/// more than the bytes that still fit.
void ArmFaults(FaultKind kind, FaultMode mode, int64_t k);
FaultReport DisarmFaults();

/// Counts a call of the armed kind. Returns whether it shall fail. name: of the call, a literal.
bool FaultHits(FaultKind kind, const char *name);

/// The kind that is armed, when it is one of the host's procedure; else kCancel.
FaultKind ArmedHostKind();

/// How often the filter has asked for memory since the program began.
int64_t HeapCalls();

/// Blocks that the filter has taken from the heap and not given back.
int64_t LiveBlocks();

/// Descriptors that the process has open.
int OpenDescriptors();

} // namespace kowen::test
