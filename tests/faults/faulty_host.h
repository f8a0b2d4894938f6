// The host's side of an export: its status callback and its I/O procedure, both of which can fail.
#pragma once

#include "faults/fault_points.h"
#include "kowen/codes.h"
#include "kowen/records.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace kowen::test {

/// One at a time: the procedure has no context in all its calls.
class FaultyHost {
public:
    FaultyHost() { current = this; }
    ~FaultyHost() { current = nullptr; }
    FaultyHost(const FaultyHost &) = delete;
    FaultyHost &operator=(const FaultyHost &) = delete;

    static int32_t Status(uintptr_t, int32_t command, int32_t code, int32_t, int32_t, int32_t,
                          void *) {
        return current->Answer(command, code);
    }
    static intptr_t Procedure(uintptr_t, int32_t operation, void *argument, int32_t count) {
        return current->Serve(operation, argument, count);
    }

    std::string bytes;       ///< of the file that the procedure keeps
    int opens = 0;           ///< answered with a handle
    int closes = 0;          ///< of every way to close
    int writes = 0;          ///< calls
    int writesAfterStop = 0; ///< calls after the confirmed stop
    bool deleted = false;    ///< closed to be deleted
    bool refused = false;    ///< the open was answered with 0
    bool lost = false;       ///< a write was not done as asked
    bool counts = false;     ///< a write was answered with its count, which is not 1
    int statusCalls = 0;
    bool confirmedStop = false; ///< a stop was asked for and confirmed
    int64_t heapCallsAtStop = 0;

private:
    static constexpr intptr_t kHandle = 77;

    int32_t Answer(int32_t command, int32_t code) {
        ++statusCalls;
        const bool stops = FaultHits(FaultKind::kCancel, "status callback");
        if (stops && command == KOWEN_STATUS_CONFIRM_STOP && code == KOWEN_STATUS_CODE_CONFIRM)
            NoteStop();
        return stops ? 1 : 0;
    }

    void NoteStop() {
        if (!confirmedStop)
            heapCallsAtStop = HeapCalls();
        confirmedStop = true;
    }

    intptr_t Serve(int32_t operation, void *argument, int32_t count) {
        const FaultKind kind = ArmedHostKind();
        const bool fails = IsHostKind(kind) && FaultHits(kind, "host procedure");
        switch (operation) {
        case KOWEN_IO_OPEN:
            return Open(fails ? FailedAnswer(kind, kHandle) : kHandle);
        case KOWEN_IO_WRITE:
            return Write(static_cast<const char *>(argument), count, fails, kind);
        case KOWEN_IO_CLOSE:
            ++closes;
            deleted = count == KOWEN_MODE_DELETE;
            return fails ? FailedAnswer(kind, 0) : 0;
        default:
            return fails ? FailedAnswer(kind, 0) : 0;
        }
    }

    intptr_t Open(intptr_t answer) {
        refused = answer == 0;
        opens += refused ? 0 : 1;
        return answer;
    }

    intptr_t Write(const char *data, int32_t count, bool fails, FaultKind kind) {
        ++writes;
        writesAfterStop += confirmedStop ? 1 : 0;
        int32_t done = count;
        if (fails && kind != FaultKind::kHostMore)
            done = kind == FaultKind::kHostFewer ? count / 2 : 0;
        lost = lost || done < count;
        counts = counts || (done == count && count > 1);
        bytes.append(data, static_cast<std::size_t>(std::max(done, 0)));
        if (!fails || kind == FaultKind::kHostFewer)
            return done;
        return FailedAnswer(kind, count);
    }

    static intptr_t FailedAnswer(FaultKind kind, intptr_t right) {
        switch (kind) {
        case FaultKind::kHostZero:
            return 0;
        case FaultKind::kHostError:
            return -1;
        case FaultKind::kHostFewer:
            return right - 1;
        default:
            return right + 1;
        }
    }

    static inline FaultyHost *current = nullptr;
};

} // namespace kowen::test
