#include "platform/plain_floats.h"

#include <gtest/gtest.h>

namespace kowen {
namespace {

/// Rounds as a host might while it lives.
class Rounding {
public:
    explicit Rounding(int direction) : before(std::fegetround()) { std::fesetround(direction); }
    ~Rounding() { std::fesetround(before); }
    Rounding(const Rounding &) = delete;
    Rounding &operator=(const Rounding &) = delete;

private:
    int before;
};

TEST(PlainFloats, RoundToNearestWhileTheyLive) {
    const Rounding host(FE_UPWARD);
    {
        const PlainFloats floats;
        EXPECT_EQ(std::fegetround(), FE_TONEAREST);
    }
    EXPECT_EQ(std::fegetround(), FE_UPWARD);
}

TEST(HostFloats, AreTheHostsAndLeaveThePlainOnes) {
    const Rounding host(FE_UPWARD);
    const PlainFloats floats;
    {
        const HostFloats callback;
        EXPECT_EQ(std::fegetround(), FE_UPWARD);
        std::fesetround(FE_DOWNWARD);
    }
    EXPECT_EQ(std::fegetround(), FE_TONEAREST);
}

TEST(HostFloats, AreThoseOfTheCallThatIsUnderway) {
    const Rounding host(FE_UPWARD);
    const PlainFloats outer;
    {
        const HostFloats callback;
        const Rounding other(FE_DOWNWARD);
        const PlainFloats inner;
        const HostFloats callbackOfInner;
        EXPECT_EQ(std::fegetround(), FE_DOWNWARD);
    }
    const HostFloats callback;
    EXPECT_EQ(std::fegetround(), FE_UPWARD) << "not those of the call that has ended";
}

TEST(HostFloats, ChangeNothingWithoutACall) {
    { const PlainFloats ended; }
    const Rounding host(FE_UPWARD);
    {
        const HostFloats callback;
        EXPECT_EQ(std::fegetround(), FE_UPWARD);
        std::fesetround(FE_DOWNWARD);
    }
    EXPECT_EQ(std::fegetround(), FE_DOWNWARD);
}

} // namespace
} // namespace kowen
