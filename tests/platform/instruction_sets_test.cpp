#include "platform/instruction_sets.h"

#include <gtest/gtest.h>

#include <fstream>
#include <initializer_list>
#include <set>
#include <sstream>
#include <string>

namespace kowen {
namespace {

#ifdef KOWEN_X86_KERNELS

// What the kernel says of the first processor.
std::set<std::string> ProcessorFlags() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        if (line.rfind("flags", 0) != 0)
            continue;
        std::istringstream words(line.substr(line.find(':') + 1));
        std::set<std::string> flags;
        for (std::string word; words >> word;)
            flags.insert(word);
        return flags;
    }
    return {};
}

bool HasAll(const std::set<std::string> &flags, std::initializer_list<const char *> wanted) {
    for (const char *flag : wanted)
        if (flags.count(flag) == 0)
            return false;
    return true;
}

TEST(MachineHas, WhatTheProcessorsFlagsSay) {
    const std::set<std::string> flags = ProcessorFlags();
    if (flags.empty())
        GTEST_SKIP() << "the kernel tells no flags";
    const bool sse41 = HasAll(flags, {"ssse3", "sse4_1"});
    const bool avx2 = HasAll(flags, {"avx2", "bmi1", "bmi2", "abm"});
    const bool avx512 =
        avx2 && HasAll(flags, {"avx512bw", "avx512cd", "avx512vl", "avx512vbmi", "avx512_vbmi2"});
    EXPECT_EQ(MachineHas(InstructionSet::kSse41), sse41);
    EXPECT_EQ(MachineHas(InstructionSet::kAvx2), avx2);
    EXPECT_EQ(MachineHas(InstructionSet::kAvx512), avx512);
    EXPECT_FALSE(MachineHas(InstructionSet::kNeon));
}

#else

TEST(MachineHas, NothingOfAnotherProcessor) {
    EXPECT_FALSE(MachineHas(InstructionSet::kSse41));
    EXPECT_FALSE(MachineHas(InstructionSet::kAvx2));
    EXPECT_FALSE(MachineHas(InstructionSet::kAvx512));
#ifdef KOWEN_NEON_KERNELS
    EXPECT_TRUE(MachineHas(InstructionSet::kNeon));
#else
    EXPECT_FALSE(MachineHas(InstructionSet::kNeon));
#endif
}

#endif

} // namespace
} // namespace kowen
