// Runs each fuzzer's corpus through the function that libFuzzer calls. What must hold is in there:
// an input that breaks it ends the program, with the input's name as the last line but one.
#include "support/heap_use.h"
#include "support/open_files.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using Fuzzer = int(const uint8_t *data, size_t size);

struct CorpusFile {
    std::string name;
    std::vector<uint8_t> bytes;
};

std::vector<CorpusFile> ReadCorpus(const char *fuzzer) {
    std::vector<CorpusFile> files;
    const std::filesystem::path corpus(KOWEN_CORPUS);
    for (const auto &entry : std::filesystem::directory_iterator(corpus / fuzzer)) {
        std::ifstream file(entry.path(), std::ios::binary);
        files.push_back(
            {entry.path().filename().string(), {std::istreambuf_iterator<char>(file), {}}});
    }
    std::sort(files.begin(), files.end(),
              [](const auto &a, const auto &b) { return a.name < b.name; });
    return files;
}

// In memory of exactly its bytes, as the fuzzer hands it over.
void RunInput(Fuzzer *fuzzer, const CorpusFile &file) {
    const std::vector<uint8_t> bytes(file.bytes);
    fuzzer(bytes.data(), bytes.size());
}

void RunCorpus(const char *name, Fuzzer *fuzzer) {
    const std::vector<CorpusFile> corpus = ReadCorpus(name);
    ASSERT_GE(corpus.size(), 10u);
    RunInput(fuzzer, {"nothing", {}});
    for (const CorpusFile &file : corpus) {
        std::fprintf(stderr, "%s\n", file.name.c_str());
        RunInput(fuzzer, file);
    }
}

#ifdef KOWEN_TEST_COUNTS_HEAP // else a sanitizer looks for leaks

// Whether a few rounds leave as much as the smallest block each.
bool HeapGrows(Fuzzer *fuzzer, const std::vector<CorpusFile> &corpus) {
    constexpr size_t kRounds = 3;
    constexpr size_t kSmallestBlock = 16;
    const size_t before = HeapBytesInUse();
    for (size_t i = 0; i < kRounds; ++i) {
        for (const CorpusFile &file : corpus)
            RunInput(fuzzer, file);
    }
    return HeapBytesInUse() >= before + kRounds * kSmallestBlock;
}

void ExpectNothingLeft(const char *name, Fuzzer *fuzzer) {
    const std::vector<CorpusFile> corpus = ReadCorpus(name);
    HeapGrows(fuzzer, corpus); // makes what the fuzzer keeps
    const auto files = CountOpenFiles();
    // The heap's own caches grow now and then, but only a leak does each time.
    int growths = 0;
    while (growths < 12 && HeapGrows(fuzzer, corpus))
        ++growths;
    EXPECT_LT(growths, 12);
    EXPECT_EQ(CountOpenFiles(), files);
}

#define KOWEN_LEAK_TEST(Suite, fuzzer)      \
    TEST(Suite, LeavesNothingBehind) {      \
        ExpectNothingLeft(#fuzzer, fuzzer); \
    }

#else

#define KOWEN_LEAK_TEST(Suite, fuzzer)

#endif

} // namespace

#define KOWEN_FUZZER(Suite, fuzzer) \
    extern "C" Fuzzer fuzzer;       \
    TEST(Suite, RunsItsCorpus) {    \
        RunCorpus(#fuzzer, fuzzer); \
    }                               \
    KOWEN_LEAK_TEST(Suite, fuzzer)

#include KOWEN_FUZZERS
