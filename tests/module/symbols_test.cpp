// What the module shows to the dynamic loader.
#include "module/elf_file.h"
#include "support/module_path.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace {

const std::set<std::string> kExports = {
    "fltLoadPointers", "CreateSetup",    "DestroySetup",    "EditSetup",
    "EscapeSetup",     "dd_entry",       "RASTER_dd_entry", "ExportCellData",
    "GlobalAlloc",     "GlobalLock",     "GlobalUnlock",    "GlobalFree",
    "GlobalReAlloc",   "GlobalSize",     "GlobalHandle",    "GlobalPointerToHandle",
    "GlobalCompact",   "SetDisplayInfo", "SetPrinterInfo",  "GetDisplayInfo",
    "GetPrinterInfo",  "InquireSupport", "ScaleImageSize",  "QIVGetFilterVersion",
};

// Some linkers list the sections as well, by local symbols, which nobody else sees.
std::vector<DynamicSymbol> Exports() {
    std::vector<DynamicSymbol> symbols = ElfFile(kModulePath).DynamicSymbols();
    std::erase_if(symbols, [](const DynamicSymbol &symbol) {
        return !symbol.defined || symbol.binding == STB_LOCAL;
    });
    return symbols;
}

TEST(ModuleSymbols, AreExactlyTheExports) {
    std::set<std::string> names;
    for (const DynamicSymbol &symbol : Exports())
        names.insert(symbol.name);
    EXPECT_EQ(names, kExports);
}

// A weak or a unique symbol could be another module's, and a unique one keeps the module loaded.
TEST(ModuleSymbols, AreGlobal) {
    for (const DynamicSymbol &symbol : Exports())
        EXPECT_EQ(symbol.binding, static_cast<unsigned>(STB_GLOBAL)) << symbol.name;
}

TEST(ModuleFile, IsBoundWhenLoadedAndReadOnlyAfterwards) {
    const ElfFile module(kModulePath);
    EXPECT_NE(module.SegmentFlags(PT_GNU_RELRO), -1);
    unsigned long flags = 0;
    for (const unsigned long value : module.Dynamic(DT_FLAGS))
        flags |= value;
    EXPECT_NE(flags & DF_BIND_NOW, 0u);
    EXPECT_NE(flags & DF_SYMBOLIC, 0u);
    EXPECT_EQ(flags & DF_TEXTREL, 0u);
    EXPECT_TRUE(module.Dynamic(DT_TEXTREL).empty());
}

TEST(ModuleFile, NeedsNoExecutableStack) {
    const int flags = ElfFile(kModulePath).SegmentFlags(PT_GNU_STACK);
    ASSERT_NE(flags, -1);
    EXPECT_EQ(flags & PF_X, 0);
}

#ifndef KOWEN_SANITIZED
TEST(ModuleFile, NeedsTheSystemsLibrariesOnly) {
    for (const std::string &name : ElfFile(kModulePath).Needed())
        EXPECT_TRUE(name.starts_with("libc.so") || name.starts_with("libm.so") ||
                    name.starts_with("ld-linux"))
            << name;
}

#ifndef KOWEN_COVERED // what counts lines does so from the start
// The one function is the compiler's and stands in every library.
TEST(ModuleFile, RunsNothingOfItsOwnWhenItIsLoaded) {
    const std::vector<unsigned long> onePointer{sizeof(void *)};
    EXPECT_EQ(ElfFile(kModulePath).Dynamic(DT_INIT_ARRAYSZ), onePointer);
}
#endif
#endif

} // namespace
