// Runs a fuzzer's corpus through the function that libFuzzer calls. What must hold is in there: an
// input that breaks it ends the program, with the input's name as the last line but one.
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

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

struct CorpusFile {
    std::string name;
    std::vector<uint8_t> bytes;
};

const std::vector<CorpusFile> &Corpus() {
    static const std::vector<CorpusFile> corpus = [] {
        std::vector<CorpusFile> files;
        for (const auto &entry : std::filesystem::directory_iterator(KOWEN_CORPUS)) {
            std::ifstream file(entry.path(), std::ios::binary);
            files.push_back(
                {entry.path().filename().string(), {std::istreambuf_iterator<char>(file), {}}});
        }
        std::sort(files.begin(), files.end(),
                  [](const auto &a, const auto &b) { return a.name < b.name; });
        return files;
    }();
    return corpus;
}

// In memory of exactly its bytes, as the fuzzer hands it over.
void RunInput(const CorpusFile &file) {
    const std::vector<uint8_t> bytes(file.bytes);
    LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
}

TEST(KOWEN_FUZZER, RunsItsCorpus) {
    ASSERT_GE(Corpus().size(), 10u);
    RunInput({"nothing", {}});
    for (const CorpusFile &file : Corpus()) {
        std::fprintf(stderr, "%s\n", file.name.c_str());
        RunInput(file);
    }
}

#ifdef KOWEN_TEST_COUNTS_HEAP // else a sanitizer looks for leaks

void RunAll() {
    for (const CorpusFile &file : Corpus())
        RunInput(file);
}

// Whether a few rounds leave as much as the smallest block each.
bool HeapGrows() {
    constexpr size_t kRounds = 3;
    constexpr size_t kSmallestBlock = 16;
    const size_t before = HeapBytesInUse();
    for (size_t i = 0; i < kRounds; ++i)
        RunAll();
    return HeapBytesInUse() >= before + kRounds * kSmallestBlock;
}

TEST(KOWEN_FUZZER, LeavesNothingBehind) {
    RunAll(); // makes what the fuzzer keeps
    const auto files = CountOpenFiles();
    // The heap's own caches grow now and then, but only a leak does each time.
    int growths = 0;
    while (growths < 12 && HeapGrows())
        ++growths;
    EXPECT_LT(growths, 12);
    EXPECT_EQ(CountOpenFiles(), files);
}

#endif

} // namespace
