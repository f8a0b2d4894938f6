// Hosts that handle blocks in a wrong way.
#include "check/planted.h"

namespace kowen::test {

namespace {

/// Exports a picture of 8 bits to memory, whose callback does something wrong with a block; the
/// output is whole all the same.
Planted
WrongAtWork(const char *name,
            const std::function<void(CheckedHost &, const BitmapRecord &, MemoryHandle)> &spoil) {
    return {name, {"block-in-use"}, [spoil](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    BitmapRecord bitmap = host.MakeBitmap(8);
                    bitmap.palette = host.alloc(KOWEN_GLOBAL_FLAGS, 768);
                    Prank prank;
                    prank.onStatus = [&] {
                        spoil(host, bitmap, prank.record.memoryBlock);
                        return 0;
                    };
                    EXPECT_EQ(host.ExportToMemory(setup, bitmap, &prank.record), 0);
                    EXPECT_TRUE(host.HoldsJpeg(prank.record.memoryBlock));
                    host.free(prank.record.memoryBlock);
                    host.free(bitmap.palette);
                    host.free(bitmap.pixels);
                });
            }};
}

} // namespace

std::vector<Planted> BlockMistakes() {
    return {
        WrongAtWork("PixelsFreedAtWork",
                    [](CheckedHost &host, const BitmapRecord &bitmap, MemoryHandle) {
                        EXPECT_EQ(host.free(bitmap.pixels), 0);
                    }),
        WrongAtWork("PixelsReallocatedAtWork",
                    [](CheckedHost &host, const BitmapRecord &bitmap, MemoryHandle) {
                        EXPECT_EQ(host.reAlloc(bitmap.pixels, 256, KOWEN_GLOBAL_FLAGS), 0u);
                    }),
        WrongAtWork("PaletteFreedAtWork",
                    [](CheckedHost &host, const BitmapRecord &bitmap, MemoryHandle) {
                        EXPECT_EQ(host.free(bitmap.palette), 0);
                    }),
        WrongAtWork("MemoryOutputFreedAtWork",
                    [](CheckedHost &host, const BitmapRecord &, MemoryHandle output) {
                        EXPECT_EQ(host.free(output), 0);
                    }),
        WrongAtWork("MemoryOutputReadAtWork",
                    [](CheckedHost &host, const BitmapRecord &, MemoryHandle output) {
                        EXPECT_EQ(host.lock(output), nullptr);
                    }),
        {"BlockFreedTwice",
         {"block-handle"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 9);
             host.free(block);
             host.free(block);
             ExpectTold(host, "the handle of the block is that of a block that has ended;");
         }},
        {"BlockUsedAfterItsReallocation",
         {"block-handle", "block-handle"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 9);
             const MemoryHandle other = host.reAlloc(block, 400000, KOWEN_GLOBAL_FLAGS);
             EXPECT_EQ(host.lock(block), nullptr);
             EXPECT_EQ(host.size(block), 0u);
             EXPECT_EQ(host.size(other), 400000u);
             host.free(other);
         }},
        {"SetupFreedAsABlock",
         {"block-origin"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) { host.free(setup); });
             ExpectTold(host, "the handle of the block is that of setup 1, which is no block");
         }},
        {"AddressFreedInPlaceOfItsBlock",
         {"block-origin"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 9);
             host.free(reinterpret_cast<MemoryHandle>(host.lock(block)));
             ExpectTold(host, "the handle of the block is the address of the data of block 1 of 9 "
                              "bytes, whose handle is needed");
             host.free(block);
         }},
        {"UnlockOfNothing",
         {"block-origin"},
         [](CheckedHost &host) {
             EXPECT_EQ(host.unlock(0x1234), 0);
             ExpectTold(host, "the handle of the block is unknown;");
         }},
        {"OtherFlags", {"block-flags"}, [](CheckedHost &host) { host.free(host.alloc(0, 9)); }},
        {"HandleOfAnAddressInside",
         {"block-address"},
         [](CheckedHost &host) {
             const MemoryHandle block = host.alloc(KOWEN_GLOBAL_FLAGS, 16);
             char *data = static_cast<char *>(host.lock(block));
             EXPECT_EQ(host.handleOf(data), block);
             EXPECT_EQ(host.handleOf(data + 8), 0u);
             host.free(block);
         }},
        {"HandleOfWrappedMemory",
         {"block-address"},
         [](CheckedHost &host) {
             char bytes[16] = {};
             const MemoryHandle block = host.wrap(bytes, sizeof bytes);
             EXPECT_EQ(host.handleOf(bytes), 0u);
             host.free(block);
         }},
    };
}

} // namespace kowen::test
