// The tests of one version of Qt, with the plug-in that was built for it.
#include "saving.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    // Some tests end a process; it starts from the beginning, not in the middle of this one.
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    const QCoreApplication application(argc, argv);
    saving::withoutPlugin = saving::AbilitiesNow();
    QCoreApplication::addLibraryPath(KOWEN_QT_PLUGINS);
    return RUN_ALL_TESTS();
}
