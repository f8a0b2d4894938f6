#include "platform/write_signals.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>

namespace kowen {
namespace {

bool IsBlocked(int number) {
    sigset_t blocked;
    sigprocmask(SIG_BLOCK, nullptr, &blocked);
    return sigismember(&blocked, number) == 1;
}

TEST(WriteSignalsHeld, HoldsBothSignalsAndTakesAwayWhatCame) {
    {
        const WriteSignalsHeld held;
        EXPECT_TRUE(IsBlocked(SIGPIPE));
        EXPECT_TRUE(IsBlocked(SIGXFSZ));
        raise(SIGPIPE);
        raise(SIGXFSZ);
    }
    // Their default action would have ended the test.
    EXPECT_FALSE(IsBlocked(SIGPIPE));
    EXPECT_FALSE(IsBlocked(SIGXFSZ));
}

TEST(WriteSignalsHeld, LeavesTheErrorOfTheWrite) {
    {
        const WriteSignalsHeld held;
        errno = ENOSPC;
    }
    EXPECT_EQ(errno, ENOSPC);
}

} // namespace
} // namespace kowen
