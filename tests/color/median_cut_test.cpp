#include "color/median_cut.h"

#include "color/bitmaps.h"
#include "support/failing_memory.h"

#include <vector>

namespace kowen {
namespace {

// One row of pixels with these reds.
Bytes Reds(const std::vector<int> &reds) {
    Bytes row((reds.size() * 3 + 3) / 4 * 4, 0);
    for (size_t i = 0; i < reds.size(); ++i)
        row[3 * i] = static_cast<uint8_t>(reds[i]);
    return row;
}

// A context of its own for each test.
struct Quantiser {
    MemoryHandle context = InitColorLib();
    Bytes table = Bytes(300 * 3, 77);
    uint16_t wanted = 0;

    ~Quantiser() { EXPECT_EQ(TermColorLib(context), 0); }
    int32_t Run(const Bytes &pixels, uint32_t width, uint32_t height, uint16_t want,
                uint32_t flags) {
        wanted = want;
        return direct_indexed(pixels.data(), width, height, &wanted, flags, table.data(), context);
    }
    Bytes Colours(size_t count) const {
        return Bytes(table.begin(), table.begin() + static_cast<std::ptrdiff_t>(count * 3));
    }
    ColourContext &Fields() const { return *Lock<ColourContext>(context); }
    int CountOf(uint16_t key) const { return Lock<uint16_t>(Fields().histogram)[key]; }
};

constexpr uint32_t kBoth = kBuildTable | kKeepHistogram;

TEST(InitColorLib, MakesAContextOfZeros) {
    const MemoryHandle context = InitColorLib();
    EXPECT_EQ(Contents(context), Bytes(sizeof(ColourContext), 0));
    EXPECT_EQ(TermColorLib(context), 0);
}

TEST(TermColorLib, IgnoresHandleZero) {
    EXPECT_EQ(TermColorLib(0), 0);
}

TEST(TermColorLib, RefusesAContextThatCannotBeLocked) {
    const Block nothing(GlobalPointerToHandle(nullptr, sizeof(ColourContext)));
    ASSERT_NE(MemoryHandle{nothing}, 0u);
    EXPECT_EQ(TermColorLib(nothing), -1);
    uint16_t wanted = 4;
    EXPECT_EQ(direct_indexed(nullptr, 0, 0, &wanted, kBoth, nullptr, nothing), -1);
}

TEST(DirectIndexed, FewColoursAreTakenAsTheyAre) {
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(Reds({255, 7, 160}), 3, 1, 256, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 3);
    EXPECT_EQ(quantiser.Colours(4), Bytes({0, 0, 0, 167, 0, 0, 255, 0, 0, 77, 77, 77}));
}

TEST(DirectIndexed, AsManyColoursAsWantedAreCut) {
    // Reds 0, 10, 20 and 31 of 31, once each. Box 0: total 4, mean (0 + 10 + 20 + 31) / 4 = 15.
    // Half 2 is reached at the second, so slot 1 gets 0 and 10 with mean 5, slot 2 gets 20 and 31
    // with mean 25. Two boxes are one less than wanted. Slot 0 still has its old box.
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(Reds({0, 80, 160, 248}), 4, 1, 3, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 3);
    EXPECT_EQ(quantiser.Colours(3), Bytes({15 * 8 + 7, 0, 0, 5 * 8 + 7, 0, 0, 25 * 8 + 7, 0, 0}));
}

TEST(DirectIndexed, MeansAreWeighted) {
    // Red 31 three times and 0 once: 93 / 4 = 23. Slot 1 is never used.
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(Reds({255, 0, 255, 255}), 4, 1, 2, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 2);
    EXPECT_EQ(quantiser.Colours(2), Bytes({23 * 8 + 7, 0, 0, 0, 0, 0}));
}

TEST(DirectIndexed, StopsOneBoxShortAndWritesEverySlot) {
    // Reds 0, 10, 20 and 31 as above: slot 1 gets 0 and 10, slot 2 gets 20 and 31, both with a
    // total of 2. Slot 1 is cut next. Sorting its two entries has the one after them take part: 20
    // goes to their top and 0 out of them, so that 10, 20 | 0, 31 are left. Slot 0 gets the 10,
    // slot 3 the
    // 20. Three boxes are one less than wanted. Slot 1, free again, still has the mean of 0 and 10,
    // and slot 2 the mean 25 that it was measured with.
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(Reds({0, 80, 160, 248}), 4, 1, 4, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 4);
    EXPECT_EQ(quantiser.Fields().boxCount, 3);
    EXPECT_EQ(quantiser.Colours(4), Bytes({10 * 8 + 7, 0, 0, 5 * 8 + 7, 0, 0, //
                                           25 * 8 + 7, 0, 0, 20 * 8 + 7, 0, 0}));
    const auto *slots = Lock<const uint16_t>(quantiser.Fields().slots);
    EXPECT_EQ(std::vector<uint16_t>(slots, slots + 4),
              std::vector<uint16_t>({kSlotUncuttable, kSlotFree, 2, kSlotUncuttable}));
}

TEST(DirectIndexed, AWantedCountOfOneIsTheMean) {
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(Reds({0, 80, 160, 248}), 4, 1, 1, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 1);
    EXPECT_EQ(quantiser.Colours(2), Bytes({127, 0, 0, 77, 77, 77}));
}

TEST(DirectIndexed, AWantedCountOfZeroWritesNothing) {
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(Reds({0, 80}), 2, 1, 0, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 0);
    EXPECT_EQ(quantiser.Colours(1), Bytes({77, 77, 77}));
}

TEST(DirectIndexed, RowsAreReadWithTheirPadding) {
    // Two rows of one pixel, padded to four bytes with what must not be counted.
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run({255, 255, 255, 9, 0, 0, 0, 9}, 1, 2, 5, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 2);
    EXPECT_EQ(quantiser.CountOf(0x7FFF), 1);
    EXPECT_EQ(quantiser.CountOf(0), 1);
}

TEST(DirectIndexed, CountsStopAt65535) {
    const Bytes pixels(640 * 308, 0); // rows of 102 pixels, padded
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(pixels, 102, 640, 5, kKeepHistogram), 0);
    EXPECT_EQ(quantiser.CountOf(0), 65280);
    EXPECT_EQ(quantiser.Run(pixels, 102, 640, 5, kKeepHistogram), 0);
    EXPECT_EQ(quantiser.CountOf(0), 65535);
    EXPECT_EQ(quantiser.Fields().distinctColours, 1);
}

TEST(DirectIndexed, CountsSeveralPicturesBeforeItBuilds) {
    Quantiser quantiser;
    EXPECT_EQ(quantiser.Run(Reds({0, 80}), 2, 1, 9, kKeepHistogram), 0);
    EXPECT_EQ(quantiser.wanted, 0);
    EXPECT_EQ(quantiser.Colours(1), Bytes({77, 77, 77}));
    EXPECT_EQ(quantiser.Run(Reds({80, 255}), 2, 1, 9, kBoth), 0);
    EXPECT_EQ(quantiser.wanted, 3);
    EXPECT_EQ(quantiser.CountOf(10 << 10), 2);
}

TEST(DirectIndexed, ClearsTheCountsUnlessToldToKeepThem) {
    Quantiser quantiser;
    for (uint32_t flags : {0u, kBuildTable}) {
        EXPECT_EQ(quantiser.Run(Reds({0, 80}), 2, 1, 9, flags), 0);
        EXPECT_EQ(quantiser.wanted, flags == kBuildTable ? 2 : 0);
        EXPECT_EQ(quantiser.Fields().distinctColours, 0);
        EXPECT_EQ(quantiser.CountOf(0), 0);
    }
    EXPECT_EQ(quantiser.Run(Reds({0, 80, 160, 248}), 4, 1, 3, kBuildTable), 0);
    EXPECT_EQ(quantiser.Fields().distinctColours, 0);
}

TEST(DirectIndexed, NeedsAContext) {
    uint16_t wanted = 4;
    EXPECT_EQ(direct_indexed(nullptr, 0, 0, &wanted, kBoth, nullptr, 0), -1);
    EXPECT_EQ(wanted, 4);
}

TEST(DirectIndexed, FailsWithoutMemory) {
    testing::internal::CaptureStdout();
    int k = 1;
    for (;; ++k) {
        Quantiser quantiser;
        FailingMemory memory(k);
        const int32_t code = quantiser.Run(Reds({0, 80, 160, 248}), 4, 1, 3, kBoth);
        if (!memory.Failed())
            break;
        EXPECT_EQ(code, -1) << k;
    }
    EXPECT_EQ(k, 5); // histogram, boxes, slots and list
    testing::internal::GetCapturedStdout();
}

} // namespace
} // namespace kowen
