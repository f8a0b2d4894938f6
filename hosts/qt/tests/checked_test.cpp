// All tests of this program again, in a process whose plug-in has the checking module before the
// filter, which tells every rule that a call breaks.
#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QStringList>
#include <QTemporaryDir>

#include <gtest/gtest.h>

namespace {

class Checked : public testing::Test {
protected:
    // Runs all tests but these and those that limit the size of files, the trace's as well. Their
    // output and that of the module stay together.
    void RunTheOthers() {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("KOWEN_MODULE", KOWEN_CHECK);
        environment.insert("KOWEN_CHECKED_MODULE", KOWEN_MODULE);
        environment.insert("KOWEN_CHECK_TRACE", folder.filePath("trace"));
        QProcess tests;
        tests.setProcessEnvironment(environment);
        tests.setProcessChannelMode(QProcess::MergedChannels);
        tests.start(QCoreApplication::applicationFilePath(),
                    {"--gtest_filter=-Checked.*:Errors.AFullDisk*", "--gtest_color=no"});
        ASSERT_TRUE(tests.waitForFinished(-1)) << qPrintable(tests.errorString());
        output = QString::fromUtf8(tests.readAll());
        EXPECT_EQ(tests.exitStatus(), QProcess::NormalExit);
        EXPECT_EQ(tests.exitCode(), 0);
    }

    // The tests that failed, and what the checking module said in which. GoogleTest's own words are
    // left out, or they would be counted as this program's.
    QStringList Complaints() const {
        const QString begins = "[ RUN      ] ";
        QString test;
        QStringList complaints;
        for (const QString &line : output.split('\n')) {
            if (line.startsWith(begins))
                test = line.mid(begins.size());
            else if (line.startsWith("[==========]"))
                test = "before the first test or after the last";
            else if (line.startsWith("[  FAILED  ] " + test))
                complaints << test + " fails";
            else if (line.contains("kowen-check: ") && !line.endsWith(", 0 mistakes"))
                complaints << test + ": " + line;
        }
        return complaints;
    }

    QString Trace() const {
        QFile file(folder.filePath("trace"));
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

    const QTemporaryDir folder;
    QString output;
};

TEST_F(Checked, ThePlugInBreaksNoRuleInAnyTest) {
    RunTheOthers();
    EXPECT_EQ(Complaints().join('\n').toStdString(), "");
    const QString trace = Trace();
    // The command line, which the tests compare with, is not among these.
    EXPECT_GT(trace.count(" ExportCellData("), 200);
    EXPECT_TRUE(trace.endsWith(", 0 mistakes\n")) << qPrintable(trace.right(200));
    EXPECT_EQ(trace.count("\nmistake "), 0);
}

} // namespace
