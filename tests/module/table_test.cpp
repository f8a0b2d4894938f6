// The table of entries, as a host receives it.
#include "support/emulator.h"
#include "support/module_host.h"

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string>

namespace {

struct Row {
    const char *name;
    int ordinal;
};

const Row kRows[] = {
    {"CreateSetup", 1001},     {"DestroySetup", 1002},        {"EditSetup", 1003},
    {"EscapeSetup", 1004},     {"QIVGetFilterVersion", 1005}, {"dd_entry", 1006},
    {"RASTER_dd_entry", 1008}, {"ExportCellData", 1009},      {"szDLLName", 1010},
};

// The access of the mapping that holds an address, as in "r--p".
std::string AccessOf(const void *address) {
    std::FILE *maps = std::fopen("/proc/self/maps", "r");
    char line[4096];
    std::string found;
    while (maps != nullptr && std::fgets(line, sizeof line, maps) != nullptr) {
        std::uintptr_t first;
        std::uintptr_t end;
        char access[8];
        const auto at = reinterpret_cast<std::uintptr_t>(address);
        if (std::sscanf(line, "%" SCNxPTR "-%" SCNxPTR " %7s", &first, &end, access) == 3 &&
            at >= first && at < end)
            found = access;
    }
    if (maps != nullptr)
        std::fclose(maps);
    return found;
}

TEST(LoadPointers, TheTableHasTheseRows) {
    const ModuleHost host;
    const EntryPointRecord &table = host.Table();
    ASSERT_EQ(table.entryCount, 9);
    for (int i = 0; i < 9; ++i) {
        EXPECT_STREQ(table.entries[i].name, kRows[i].name);
        EXPECT_EQ(table.entries[i].ordinal, kRows[i].ordinal);
        EXPECT_EQ(table.entries[i].reserved, 0);
    }
}

TEST(LoadPointers, TheFunctionsAreTheExportedOnes) {
    const ModuleHost host;
    for (int i = 0; i < 8; ++i) {
        const void *exported = host.Symbol<const void *>(kRows[i].name);
        EXPECT_NE(exported, nullptr);
        EXPECT_EQ(host.Table().entries[i].address, exported) << kRows[i].name;
        // An emulator reads the code only; what runs is its own.
        if (kEmulator.empty()) {
            EXPECT_EQ(AccessOf(exported), "r-xp");
        }
    }
}

TEST(LoadPointers, EntriesAreFoundByNameAndByOrdinal) {
    const ModuleHost host;
    for (const Row &row : kRows) {
        EXPECT_NE(host.Find(row.name), nullptr);
        EXPECT_EQ(host.Find(row.name), host.Find(row.ordinal));
    }
}

TEST(LoadPointers, ThereIsNoOrdinal1007) {
    const ModuleHost host;
    EXPECT_EQ(host.Find(1007), nullptr);
    EXPECT_EQ(host.Find(1000), nullptr);
    EXPECT_EQ(host.Find(1011), nullptr);
}

TEST(LoadPointers, TheTableIsReadOnly) {
    const ModuleHost host;
    EXPECT_EQ(AccessOf(host.Table().entries), "r--p");
    const std::string ofName = AccessOf(host.Table().entries[8].name);
    // An emulator may tell of code and constants as one range where the machine below has joined
    // them.
    if (kEmulator.empty())
        EXPECT_EQ(ofName, "r--p");
    else
        EXPECT_EQ(ofName.substr(0, 2), "r-");
}

TEST(LoadPointers, WritesTwoFieldsOnly) {
    const ModuleHost host;
    const auto load = host.Symbol<LoadPointersFunction>("fltLoadPointers");
    // Bytes 4-5 are the count; the address is the last field.
    alignas(8) unsigned char bytes[sizeof(EntryPointRecord) + 16];
    for (const unsigned char fill : {0x00, 0xA5, 0xFF}) {
        std::memset(bytes, fill, sizeof bytes);
        load(reinterpret_cast<EntryPointRecord *>(bytes));
        const std::uint16_t count = 9;
        EXPECT_EQ(std::memcmp(bytes + 4, &count, 2), 0);
        EXPECT_EQ(std::memcmp(bytes + 8, &host.Table().entries, sizeof(void *)), 0);
        for (const std::size_t untouched : {0, 1, 2, 3, 6, 7})
            EXPECT_EQ(bytes[untouched], fill);
        for (std::size_t i = 8 + sizeof(void *); i < sizeof bytes; ++i)
            EXPECT_EQ(bytes[i], fill);
    }
}

TEST(LoadPointers, MayBeCalledAgain) {
    const ModuleHost host;
    const auto load = host.Symbol<LoadPointersFunction>("fltLoadPointers");
    for (int i = 0; i < 1000; ++i) {
        EntryPointRecord record = {};
        load(&record);
        ASSERT_EQ(record.entries, host.Table().entries);
        ASSERT_EQ(record.entryCount, 9);
    }
}

TEST(LoadPointers, ANullRecordChangesNoTable) {
    const ModuleHost host;
    const auto load = host.Symbol<LoadPointersFunction>("fltLoadPointers");
    EntryPointRecord before = {};
    load(&before);
    load(nullptr);
    EntryPointRecord after = {};
    load(&after);
    EXPECT_EQ(after.entries, before.entries);
    EXPECT_EQ(after.entryCount, 9);
    EXPECT_EQ(host.Entry<GetFilterVersionFunction>(1005)(), 0x02000005u);
}

TEST(FilterVersion, IsTwoRelease5) {
    const ModuleHost host;
    EXPECT_EQ(host.Entry<GetFilterVersionFunction>(1005)(), 0x02000005u);
    EXPECT_EQ(host.Entry<GetFilterVersionFunction>("QIVGetFilterVersion")(), 0x02000005u);
}

TEST(ModuleName, IsABufferOf260ZerosThatTheHostWrites) {
    const ModuleHost host;
    auto *buffer = host.Entry<char *>("szDLLName");
    for (int i = 0; i < 260; ++i)
        ASSERT_EQ(buffer[i], 0);
    std::memset(buffer, 'x', 260);
    EXPECT_EQ(AccessOf(buffer), "rw-p");
    EXPECT_EQ(host.Entry<GetFilterVersionFunction>(1005)(), 0x02000005u);
    const auto create = host.Entry<CreateSetupFunction>("CreateSetup");
    const MemoryHandle setup = create(0, nullptr, nullptr, nullptr);
    EXPECT_NE(setup, MemoryHandle{0});
    EXPECT_EQ(host.Entry<DestroySetupFunction>("DestroySetup")(setup), 0);
}

} // namespace
