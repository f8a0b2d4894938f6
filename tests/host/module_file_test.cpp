// Modules that an interrupted copy has left behind: a sentence, and the process goes on.
#include "filter/module_file.h"

#include "base/failure.h"
#include "filter/module.h"
#include "support/temp_directory.h"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <sys/stat.h>
#include <vector>

namespace kowen::host {
namespace {

std::string WholeModule() {
    std::ifstream file(KOWEN_MODULE, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

class DamagedModule : public testing::Test {
protected:
    // What loading a file says; empty when it goes well.
    static std::string Said(const std::string &path) {
        try {
            const FilterModule module(path);
            return "";
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.Code(), KOWEN_HOST_ERR_MODULE);
            return failure.what();
        }
    }

    std::string SaidOf(const std::string &bytes) const {
        return Said(directory.Write("module.so", bytes));
    }

    // Lengths from one byte less to none, the first kilobyte densely.
    std::vector<size_t> Lengths() const {
        std::vector<size_t> lengths = {whole.size() - 1, whole.size() - 64, whole.size() - 65};
        for (size_t length = 4099; length < whole.size() - 65; length += 4099)
            lengths.push_back(length);
        for (size_t length = 64; length < 1024; length += 61)
            lengths.push_back(length);
        return lengths;
    }

    const std::string whole = WholeModule();

    TempDirectory directory;
};

TEST_F(DamagedModule, MadeWholeAgainIsLoaded) {
    EXPECT_EQ(SaidOf(whole), "");
}

TEST_F(DamagedModule, CutAnywhereIsRefused) {
    for (const size_t length : Lengths())
        EXPECT_EQ(SaidOf(whole.substr(0, length)),
                  "cannot load the module " + directory.File("module.so") +
                      ": the file is cut short, at " + std::to_string(length) +
                      " bytes; install it again");
    for (const size_t length : {0, 1, 3, 4, 63})
        EXPECT_NE(SaidOf(whole.substr(0, length)), "") << length;
}

TEST_F(DamagedModule, EndingInZerosIsRefused) {
    for (const size_t length : Lengths()) {
        if (length > whole.size() - 64)
            continue; // such zeros replace nothing that is read
        const std::string said =
            SaidOf(whole.substr(0, length) + std::string(whole.size() - length, '\0'));
        EXPECT_EQ(said, "cannot load the module " + directory.File("module.so") +
                            ": the file is damaged, a part of it is missing; install it again")
            << length;
    }
    EXPECT_NE(SaidOf(std::string(whole.size(), '\0')), "");
}

TEST_F(DamagedModule, OrNoFileAtAllIsRefused) {
    EXPECT_EQ(Said(directory.Path()),
              "cannot load the module " + directory.Path() + ": it is no file");
    const std::string pipe = directory.File("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(Said(pipe), "cannot load the module " + pipe + ": it is no file");
    EXPECT_EQ(Said(directory.File("none")),
              "cannot load the module " + directory.File("none") + ": No such file or directory");
}

TEST_F(DamagedModule, OrNoModuleAtAllIsTheLoadersMatter) {
    EXPECT_NE(SaidOf(std::string(200, 'x')).find("invalid ELF header"), std::string::npos);
}

} // namespace
} // namespace kowen::host
