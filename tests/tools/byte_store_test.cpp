#include "host/byte_store.h"

#include "kowen/codes.h"
#include "support/temp_directory.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fcntl.h>

namespace kowen::host {
namespace {

std::string Text(const MemoryStore &store) {
    return {store.Bytes().begin(), store.Bytes().end()};
}

TEST(MemoryStore, WritesOverAndBehind) {
    MemoryStore store;
    EXPECT_EQ(store.Write("abcdef", 6), 6);
    EXPECT_EQ(store.Seek(2, 0), 2);
    EXPECT_EQ(store.Write("XY", 2), 2);
    EXPECT_EQ(store.Seek(0, 1), 4);
    EXPECT_EQ(store.Seek(0, 2), 6);
    EXPECT_EQ(store.Write("g", 1), 1);
    EXPECT_EQ(Text(store), "abXYefg");
    EXPECT_EQ(store.Seek(-1, 0), -1);
    EXPECT_EQ(store.Seek(0, 3), -1);
}

TEST(MemoryStore, ReadsToTheEnd) {
    MemoryStore store;
    store.Write("abc", 3);
    store.Seek(1, 0);
    char text[8] = "";
    EXPECT_EQ(store.Read(text, 8), 2);
    EXPECT_STREQ(text, "bc");
    EXPECT_EQ(store.Read(text, 8), 0);
    store.Seek(10, 0);
    EXPECT_EQ(store.Read(text, 8), 0);
}

TEST(FileStore, KeepsTheOrderOfSmallAndLargeWrites) {
    const TempDirectory directory;
    const Descriptor file(open(directory.File("a").c_str(), O_RDWR | O_CREAT, 0600));
    FileStore store(file.Get());
    const std::string large(200000, 'l');
    EXPECT_EQ(store.Write("one", 3), 3);
    EXPECT_EQ(store.Write(large.data(), 200000), 200000);
    EXPECT_EQ(store.Write("two", 3), 3);
    EXPECT_EQ(store.Seek(0, 1), 200006);
    EXPECT_EQ(store.Seek(1, 0), 1);
    char byte = 0;
    EXPECT_EQ(store.Read(&byte, 1), 1);
    EXPECT_EQ(byte, 'n');
    EXPECT_EQ(store.Seek(0, 2), 200006);
    EXPECT_EQ(store.Finish(), 0);
    EXPECT_EQ(directory.Read("a"), "one" + large + "two");
}

TEST(FileStore, RemembersTheFirstError) {
    const Descriptor full(open("/dev/full", O_WRONLY));
    ASSERT_TRUE(full.Open());
    FileStore store(full.Get());
    EXPECT_EQ(store.Write("abc", 3), 3); // held back
    EXPECT_EQ(store.Finish(), ENOSPC);
    EXPECT_EQ(store.Write("abc", 3), -1);
    EXPECT_EQ(store.Finish(), ENOSPC);
    FileStore other(full.Get());
    const std::string large(100000, 'l');
    EXPECT_EQ(other.Write(large.data(), 100000), -1);
    EXPECT_EQ(other.Finish(), ENOSPC);
}

TEST(HostIo, ServesTheStoreThatIsItsContext) {
    MemoryStore store;
    const auto context = reinterpret_cast<uintptr_t>(static_cast<ByteStore *>(&store));
    char name[] = "x.jpg";
    const intptr_t handle = HostIo(context, KOWEN_IO_OPEN, name, 4097);
    ASSERT_NE(handle, 0);
    char text[] = "hello";
    const auto file = static_cast<uintptr_t>(handle);
    EXPECT_EQ(HostIo(file, KOWEN_IO_WRITE, text, 5), 5);
    int32_t offset = 1;
    EXPECT_EQ(HostIo(file, KOWEN_IO_SEEK, &offset, 0), 1);
    EXPECT_EQ(HostIo(file, KOWEN_IO_READ, text, 2), 2);
    EXPECT_EQ(text[0], 'e');
    EXPECT_EQ(HostIo(file, KOWEN_IO_CLOSE, nullptr, 0), 0);
    EXPECT_EQ(HostIo(0, KOWEN_IO_EXISTS, name, 0), 0);
    EXPECT_EQ(Text(store), "hello");
}

} // namespace
} // namespace kowen::host
