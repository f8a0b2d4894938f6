// Hosts whose names are missing, too long, without an end, or name what is no file.
#include "module/hostile_host.h"

#include <filesystem>
#include <sys/stat.h>

namespace {

using namespace kowen::test;

class HostileNames : public HostileHost {
protected:
    /// A path below the test's directory with that many bytes: directories, and a file at the end.
    std::string PathOf(size_t length) const {
        std::string path = host.directory.Path();
        while (path.size() + 1 < length) {
            const size_t left = length - path.size() - 1;
            // No part may be longer than 255 bytes, nor may the last one be empty.
            path += "/" + std::string(left > 250 ? std::min<size_t>(left - 100, 200) : left, 'n');
        }
        std::error_code ignored;
        std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
        return path;
    }
    static std::string Text(const std::string &path) {
        std::string bytes;
        if (std::FILE *file = std::fopen(path.c_str(), "rb")) {
            for (int c; (c = std::getc(file)) != EOF;)
                bytes += static_cast<char>(c);
            std::fclose(file);
        }
        return bytes;
    }
    int32_t QualityOf(MemoryHandle handle) const {
        int32_t quality = 0;
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0), 1);
        return quality;
    }
    /// The quality of a setup made with these texts, each right before a forbidden page.
    int32_t QualityWith(const std::string &path, const std::string &section,
                        const std::string &filterName = "") const {
        const GuardedBytes guardedPath(path.c_str(), path.size() + 1);
        const GuardedBytes guardedSection(section.c_str(), section.size() + 1);
        const GuardedBytes guardedName(filterName.c_str(), filterName.size() + 1);
        const MemoryHandle handle =
            host.createSetup(0, guardedPath.Text(), guardedSection.Text(), guardedName.Text());
        const int32_t quality = QualityOf(handle);
        EXPECT_EQ(host.destroySetup(handle), 0);
        return quality;
    }
    static constexpr char kProfile[] = "Driver=d\nQuality Mode=242\nQuality=42\n";

    HostileDevice raster{host.module, "RASTER_dd_entry"};
    HostileDevice exporter{host.module, "dd_entry"};
};

TEST_F(HostileNames, OutputNamesOfTheBitmapDoorHave4095Bytes) {
    for (const size_t length : {143u, 144u, 4094u, 4095u}) {
        const std::string path = PathOf(length);
        ASSERT_EQ(path.size(), length);
        const GuardedBytes name(path.c_str(), path.size() + 1);
        // Longer than the system itself takes from 4095 on, terminator included.
        EXPECT_EQ(Export(plain, setup, name.Text()).result, 0) << length;
        const std::string bytes = Text(path);
        EXPECT_EQ(ExportBytes(bytes.begin(), bytes.end()), plain.jpeg) << length;
    }
    for (const size_t length : {4096u, 4097u, 8192u, 1000000u}) {
        const std::string path(length, 'n');
        const GuardedBytes name(path.c_str(), path.size() + 1);
        EXPECT_EQ(Export(plain, setup, name.Text()).result, 303) << length;
    }
}

TEST_F(HostileNames, OutputNamesOfTheRasterDeviceHave143Bytes) {
    for (const size_t length : {142u, 143u, 144u, 145u, 4095u}) {
        const std::string path = PathOf(length);
        ASSERT_EQ(raster.Initialise(setup, path), 0);
        const std::vector<int32_t> answers = RunAll(raster, DrawingRequests(plain.bitmap));
        EXPECT_EQ(answers.front(), length <= 143 ? 0 : 303) << length;
        EXPECT_EQ(raster.Terminate(), 0);
        EXPECT_EQ(Text(path).size(), length <= 143 ? plain.jpeg.size() : 0) << length;
    }
}

TEST_F(HostileNames, OutputNamesOfTheExportDeviceHave4095Bytes) {
    for (const size_t length : {144u, 4095u, 4096u, 5000u}) {
        const std::string path = PathOf(length);
        EXPECT_EQ(exporter.Initialise(setup, path), length <= 4095 ? 0 : 303) << length;
        EXPECT_EQ(exporter.Terminate(), 300);
    }
}

TEST_F(HostileNames, EmptyAndMissingNamesMeanMemory) {
    BitmapRecord bitmap = {24, 16, 8, 0, 0, 0, 0, 0};
    for (const char *name : {static_cast<const char *>(nullptr), ""}) {
        bitmap.pixels = host.MakeBlock(plain.bitmap.pixels);
        EXPECT_EQ(host.ExportRecords(name, bitmap, plain.cell, setup).jpeg, plain.jpeg);
        host.free(bitmap.pixels);
    }
    raster.record.outputName = nullptr;
    raster.record.setup = exporter.record.setup = setup;
    EXPECT_EQ(raster.Call(KOWEN_DD_INITIALISE, &raster.record), 0);
    EXPECT_EQ(RunAll(raster, DrawingRequests(plain.bitmap)), std::vector<int32_t>(10));
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(exporter.Call(KOWEN_DD_INITIALISE, &exporter.record), 0);
    EXPECT_EQ(exporter.Terminate(), 300);
}

TEST_F(HostileNames, WhatIsNoFileToWriteIsAnOutputError) {
    const std::string locked = host.directory.Write("locked", "old");
    ASSERT_EQ(symlink("loop", Path("loop").c_str()), 0);
    const bool root = geteuid() == 0;
    if (!root) {
        ASSERT_EQ(chmod(locked.c_str(), 0400), 0);
    }
    const std::string names[] = {
        host.directory.Path(),      host.directory.Path() + "/", "/",          ".",
        Path("absent/a.jpg"),       Path("locked/a.jpg"),        Path("loop"), "/proc/self/none",
        Path(std::string(256, 'n'))};
    for (const std::string &name : names) {
        EXPECT_EQ(Export(plain, setup, name).result, 303) << name;
        ASSERT_EQ(raster.Initialise(setup, name), 0);
        EXPECT_EQ(raster.Run(kOpenDevice), 303) << name;
        EXPECT_EQ(raster.Terminate(), 0);
        EXPECT_EQ(exporter.Initialise(setup, name), 303) << name;
        EXPECT_EQ(exporter.Terminate(), 300);
    }
    if (!root) {
        EXPECT_EQ(Export(plain, setup, locked).result, 303);
        EXPECT_EQ(host.directory.Read("locked"), "old");
    }
}

TEST_F(HostileNames, AFullDeviceEndsTheExportAndIsToldByTheRasterDevice) {
    if (access("/dev/full", W_OK) != 0)
        GTEST_SKIP() << "no /dev/full on this machine";
    EXPECT_EQ(Export(plain, setup, "/dev/full").result, 0) << "a failed export returns 0";
    ASSERT_EQ(raster.Initialise(setup, "/dev/full"), 0);
    EXPECT_EQ(RunAll(raster, DrawingRequests(plain.bitmap)).back(), 303);
    EXPECT_EQ(raster.Terminate(), 0);
    EXPECT_EQ(exporter.Initialise(setup, "/dev/full"), 0);
    EXPECT_EQ(exporter.Terminate(), 300) << "nothing was written";
}

TEST_F(HostileNames, NamesOfOddBytesAreNames) {
    for (const char *name : {" ", "%s%n%d", "\x01\x02", "\xFF\xFE", "a\nb", "-", "~", "*", "a;b"}) {
        EXPECT_EQ(Export(plain, setup, Path(name)).result, 0) << name;
        EXPECT_EQ(FileBytes(name), plain.jpeg) << name;
    }
}

TEST_F(HostileNames, AnOlderLongerFileIsReplacedAsAWhole) {
    host.directory.Write("a.jpg", std::string(100000, 'x'));
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileNames, ProfilePathsHave143Bytes) {
    for (const size_t length : {142u, 143u, 144u, 145u, 300u, 5000u}) {
        const std::string path = PathOf(length);
        if (std::FILE *file = std::fopen(path.c_str(), "wb")) {
            std::fprintf(file, "[S]\n%s", kProfile);
            std::fclose(file);
        }
        EXPECT_EQ(QualityWith(path, "S"), length <= 143 ? 42 : 100) << length;
    }
}

TEST_F(HostileNames, SectionNamesHave143Bytes) {
    for (const size_t length : {1u, 142u, 143u, 144u, 145u, 100000u}) {
        const std::string section(length, 's');
        const std::string path =
            host.directory.Write("p.ini", "[" + section + "]\n" + kProfile + "[x]\n" + kProfile);
        // A section that is not found has zeros.
        EXPECT_EQ(QualityWith(path, section), length <= 143 ? 42 : 0) << length;
    }
}

TEST_F(HostileNames, FilterNamesOfAnyLengthAreTaken) {
    const std::string path = host.directory.Write("p.ini", std::string("[S]\n") + kProfile);
    for (const size_t length : {0u, 1u, 143u, 144u, 145u, 100000u})
        EXPECT_EQ(QualityWith(path, "S", std::string(length, 'f')), 42) << length;
}

TEST_F(HostileNames, TheSectionNamedInTheProfileHas143BytesToo) {
    for (const size_t length : {142u, 143u, 144u, 5000u}) {
        const std::string section(length, 's');
        const std::string path = host.directory.Write("p.ini", "[KOWEN]\n~Mode=" + section + "\n[" +
                                                                   section + "]\n" + kProfile);
        EXPECT_EQ(QualityWith(path, ""), length <= 143 ? 42 : 0) << length;
    }
}

TEST_F(HostileNames, ASettingsTextOfAnyLengthIsCut) {
    for (const size_t zeros : {0u, 20u, 27u, 28u, 29u, 30u, 31u, 140u, 143u, 144u, 100000u}) {
        const std::string number = "2." + std::string(zeros, '0') + "5";
        const std::string path = host.directory.Write(
            "p.ini", "[S]\nDriver=" + std::string(zeros + 1, 'd') +
                         "\nSize Mode=603\nWidth=" + number +
                         "\nQuality Mode=242\nQuality=" + std::string(zeros, '0') + "42\n");
        const MemoryHandle handle = host.createSetup(0, path.c_str(), "S", nullptr);
        double size[2] = {};
        EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_GET_SIZE, 0, nullptr, size, 0), 1);
        EXPECT_EQ(size[0], zeros == 0 ? 2.5 : zeros < 28 ? std::stod(number) : 2.0) << zeros;
        EXPECT_EQ(host.destroySetup(handle), 0);
    }
}

TEST_F(HostileNames, WhatIsNoProfileGivesTheBuiltInSettings) {
    for (const std::string &path :
         {host.directory.Path(), std::string("/"), std::string("/dev/null/x"), Path("absent"),
          std::string("/proc/self/none")})
        EXPECT_EQ(QualityWith(path, "S"), 100) << path;
}

TEST_F(HostileNames, AProfileOfBytesThatAreNoTextDoesNoHarm) {
    TestRandom random(5);
    for (int round = 0; round < 20; ++round) {
        std::string bytes = "[S]\n";
        for (int i = 0; i < 20000; ++i)
            bytes += static_cast<char>(random.Next() % 8 == 0 ? "\n=[];\0\r\""[random.Next() % 8]
                                                              : static_cast<char>(random.Byte()));
        const std::string path = host.directory.Write("p.ini", bytes);
        const MemoryHandle handle = host.createSetup(0, path.c_str(), "S", nullptr);
        EXPECT_NE(handle, MemoryHandle{0});
        EXPECT_EQ(host.destroySetup(handle), 0);
    }
}

TEST_F(HostileNames, AProfileThatCannotBeWrittenKeepsTheSettingInTheSetup) {
    const std::string path = host.directory.Write("p.ini", std::string("[S]\n") + kProfile);
    const MemoryHandle handle = host.createSetup(0, path.c_str(), "S", nullptr);
    std::filesystem::remove(path);
    ASSERT_EQ(mkdir(path.c_str(), 0700), 0); // a directory in its place
    const int32_t quality = 55;
    EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 1), 1);
    EXPECT_EQ(QualityOf(handle), 55);
    EXPECT_TRUE(std::filesystem::is_empty(path));
    EXPECT_EQ(host.destroySetup(handle), 0);
}

TEST_F(HostileNames, AModuleNameWithoutAnEndNamesNoProfile) {
    host.module.NameModule(std::string(260, 'm'));
    EXPECT_EQ(QualityWith("", "S"), 100);
    host.module.NameModule("/" + std::string(258, '.'));
    EXPECT_EQ(QualityWith("", ""), 100);
    host.module.NameModule("");
    EXPECT_EQ(QualityWith("", ""), 100);
}

TEST_F(HostileNames, TextsAreBorrowedForTheCallOnly) {
    const std::string path = host.directory.Write("p.ini", std::string("[S]\n") + kProfile);
    MemoryHandle handle = 0;
    {
        const GuardedBytes guarded(path.c_str(), path.size() + 1);
        const GuardedBytes section("S", 2);
        handle = host.createSetup(0, guarded.Text(), section.Text(), section.Text());
    } // the pages are gone
    const int32_t quality = 55;
    EXPECT_EQ(host.escapeSetup(handle, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 1), 1);
    EXPECT_EQ(QualityWith(path, "S"), 55);
    EXPECT_EQ(Export(plain, handle).result, 0);
    EXPECT_EQ(host.destroySetup(handle), 0);
}

} // namespace
