// Makes chosen allocations of global memory fail, to run the error paths of any folder.
//
//     for (int k = 1;; ++k) {
//         FailingMemory memory(k);          // the k-th allocation from here on fails
//         const int32_t code = Work();
//         if (!memory.Failed())
//             break;                        // k is beyond the last allocation of Work
//         EXPECT_EQ(code, KOWEN_ERR_MEMORY) << "allocation " << k;
//     }
//
// Counts every GlobalAlloc, GlobalReAlloc and GlobalPointerToHandle of the filter, also those
// below the qivPtrGlobal calls. A failing GlobalReAlloc loses the old block, as it always does.
// Plain malloc is not touched. One at a time; the end of its life restores the memory. Without it,
// GlobalAlloc(66, 0xFFFFFFFF) is a size that fails on every machine.
#pragma once

#include "platform/global_memory.h"

#include <cstdint>

class FailingMemory {
public:
    enum Mode { kOnlyThat, kThatAndAllLater };

    /// failing: 1 = the next allocation; 0 = none, only count.
    explicit FailingMemory(int failing, Mode mode = kOnlyThat) {
        state = {failing, mode, 0, 0};
        kowen::allocationGate = &Gate;
    }
    ~FailingMemory() { kowen::allocationGate = nullptr; }
    FailingMemory(const FailingMemory &) = delete;
    FailingMemory &operator=(const FailingMemory &) = delete;

    /// Whether an allocation was refused since.
    bool Failed() const { return state.failed != 0; }
    /// Allocations asked for since, the refused ones included.
    int Calls() const { return state.calls; }

private:
    struct State {
        int failing;
        Mode mode;
        int calls;
        int failed;
    };
    static inline State state = {};

    static bool Gate(uint64_t) noexcept {
        ++state.calls;
        const bool refuse =
            state.failing != 0 &&
            (state.mode == kOnlyThat ? state.calls == state.failing : state.calls >= state.failing);
        state.failed += refuse ? 1 : 0;
        return !refuse;
    }
};
