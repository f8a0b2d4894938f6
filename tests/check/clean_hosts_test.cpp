// The hosts that this tree ships make no mistake, and the same files with the checking module.
#include "check/clean_host.h"

#include <gtest/gtest.h>

namespace kowen::test {
namespace {

TEST_F(CleanHost, TheGuidesExample) {
    ExpectClean(Quoted(kGuideExamplePath) + " ", " " + Quoted(directory.File("a.jpg")));
}

TEST_F(CleanHost, TheExampleOfBothDoors) {
    ExpectClean(Quoted(kExamplePath) + " ",
                " " + Quoted(directory.File("b.jpg")) + " " + Quoted(directory.File("a.jpg")));
}

} // namespace
} // namespace kowen::test
