#include "setup/setup.h"

#include "setup/identity.h"
#include "setup/setup_fixture.h"
#include "support/failing_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace kowen {
namespace {

using CreateSetupTest = SetupFixture;
using EditSetupTest = SetupFixture;
using DestroySetupTest = SetupFixture;
using UseDefaultSettingsTest = SetupFixture;

void ExpectDefaults(const SetupRecord &setup) {
    EXPECT_STREQ(setup.section, "");
    EXPECT_STREQ(setup.profilePath, "");
    EXPECT_STREQ(setup.backupPath, "");
    EXPECT_STREQ(setup.driverName, "KOWEN.1");
    EXPECT_EQ(setup.reserved1, 0u);
    EXPECT_EQ(setup.editValue, 0u);
    EXPECT_EQ(setup.hostValue, 0u);
    EXPECT_EQ(setup.colorMode, 103);
    EXPECT_EQ(setup.reserved2, 0u);
    EXPECT_EQ(setup.sizeMode, 602);
    EXPECT_EQ(setup.resolutionMode, 309);
    EXPECT_EQ(setup.colorFormat, 212);
    EXPECT_EQ(setup.qualityMode, 241);
    EXPECT_EQ(setup.operation, 245);
    EXPECT_EQ(setup.width, 6.67);
    EXPECT_EQ(setup.height, 5.0);
    EXPECT_EQ(setup.header.xResolution, 96);
    EXPECT_EQ(setup.header.yResolution, 96);
    EXPECT_EQ(setup.quality, 100);
    EXPECT_EQ(setup.printerAvailable, 0);
}

void ExpectZeroSettings(const SetupRecord &setup) {
    EXPECT_STREQ(setup.driverName, "");
    EXPECT_EQ(setup.colorMode, 0);
    EXPECT_EQ(setup.lineMode, 0);
    EXPECT_EQ(setup.sizeMode, 0);
    EXPECT_EQ(setup.resolutionMode, 0);
    EXPECT_EQ(setup.colorFormat, 0);
    EXPECT_EQ(setup.qualityMode, 0);
    EXPECT_EQ(setup.operation, 0);
    EXPECT_EQ(setup.width, 0.0);
    EXPECT_EQ(setup.height, 0.0);
    EXPECT_EQ(setup.header.xResolution, 0);
    EXPECT_EQ(setup.header.yResolution, 0);
    EXPECT_EQ(setup.quality, 0);
}

TEST_F(CreateSetupTest, WithoutProfileItHasTheDefaults) {
    const SetupRecord *setup = CreateWithoutProfile();
    ExpectDefaults(*setup);
    EXPECT_STREQ(setup->filterName, "");
    EXPECT_EQ(setup->lineMode, 0);
    EXPECT_EQ(setup->ioProcedure, nullptr);
    EXPECT_EQ(setup->header.outputFile, MemoryHandle{0});
}

TEST_F(CreateSetupTest, TheNewSetupIsCurrent) {
    const SetupRecord *setup = CreateWithoutProfile();
    EXPECT_EQ(hRaster, handle);
    EXPECT_EQ(lpRaster, setup);
}

TEST_F(CreateSetupTest, TheModuleNameBecomesUpperCase) {
    std::memcpy(szFilter, "kowen", 6);
    CreateWithoutProfile();
    EXPECT_STREQ(szFilter, "KOWEN");
    CreateWithoutProfile();
    EXPECT_STREQ(szFilter, "KOWEN");
}

TEST_F(CreateSetupTest, WithoutMemoryThereIsNoHandle) {
    const SetupRecord *before = CreateWithoutProfile();
    {
        FailingMemory memory(1);
        EXPECT_EQ(CreateSetup(0, nullptr, nullptr, nullptr), MemoryHandle{0});
        EXPECT_TRUE(memory.Failed());
        EXPECT_EQ(memory.Calls(), 1) << "nothing else is done";
    }
    EXPECT_EQ(hRaster, MemoryHandle{0});
    EXPECT_EQ(lpRaster, before);
}

TEST_F(CreateSetupTest, AProfileThatNoMemoryIsLeftForStillGivesASetup) {
    const std::string path = directory.Write("p.ini", "[S]\nDriver=d\nQuality Mode=242\n");
    for (int k = 2;; ++k) {
        FailingMemory memory(k);
        const MemoryHandle setup = CreateSetup(0, path.c_str(), "S", nullptr);
        ASSERT_NE(setup, MemoryHandle{0}) << "allocation " << k;
        EXPECT_EQ(DestroySetup(setup), 0);
        if (!memory.Failed())
            break;
    }
}

TEST_F(CreateSetupTest, TheReservedWordIsIgnored) {
    const std::string path = directory.Write("p.ini", "[S]\nDriver=d\n");
    handle = CreateSetup(0xFFFFFFFF, path.c_str(), "S", nullptr);
    EXPECT_STREQ(Lock<SetupRecord>(handle)->section, "S");
}

TEST_F(CreateSetupTest, TheProfileIsReadFromTheGivenPath) {
    const std::string path = directory.Write("p.ini", "[S]\nDriver=d\nColor Mode=105\n");
    const SetupRecord *setup = Create(path, "S");
    EXPECT_EQ(setup->profilePath, path);
    EXPECT_STREQ(setup->section, "S");
    EXPECT_STREQ(setup->backupPath, "");
    EXPECT_EQ(setup->colorMode, 105);
}

TEST_F(CreateSetupTest, TheProfileDirectoryComesFirst) {
    const TempDirectory work;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(work.Path());
    work.Write("p.ini", "[S]\nDriver=d\nColor Mode=104\n");
    EXPECT_EQ(Create("p.ini", "S")->colorMode, 104);
    EXPECT_STREQ(lpRaster->profilePath, "p.ini");

    directory.Write("p.ini", "[S]\nDriver=d\nColor Mode=105\n");
    const ScopedEnvironment profileDirectory("INIDIR", directory.Path().c_str());
    EXPECT_EQ(Create("p.ini", "S")->colorMode, 105);
    EXPECT_EQ(lpRaster->profilePath, directory.File("p.ini"));
    std::filesystem::current_path(before);
}

// A directory with a profile for whichever name a module path leads to.
class ModuleProfileTest : public SetupFixture {
protected:
    void Expect(const std::string &modulePath, const std::string &profile) {
        directory.Write(profile, "[S]\nDriver=d\n");
        SetModulePath(modulePath);
        Create("", "S");
        EXPECT_EQ(lpRaster->profilePath, directory.File(profile)) << modulePath;
        SetModulePath(modulePath);
        DestroySetup(handle);
        handle = CreateSetup(0, nullptr, "S", nullptr);
        EXPECT_EQ(lpRaster->profilePath, directory.File(profile)) << modulePath;
        std::filesystem::remove(directory.File(profile));
    }

    void ExpectNone(const std::string &modulePath) {
        SetModulePath(modulePath);
        EXPECT_STREQ(Create("", "S")->profilePath, "");
        EXPECT_EQ(lpRaster->colorFormat, 212);
    }

    ScopedEnvironment profileDirectory{"INIDIR", directory.Path().c_str()};
};

TEST_F(ModuleProfileTest, IsNamedAsTheModule) {
    Expect("/opt/filters/kowen.so", "kowen.ini");
}

TEST_F(ModuleProfileTest, KeepsTheCaseOfTheModulesFile) {
    Expect("/opt/KoWen.so", "KoWen.ini");
}

TEST_F(ModuleProfileTest, TheNameEndsAtItsFirstPeriod) {
    Expect("/opt/kowen.so.2.0.5", "kowen.ini");
    Expect("/opt/ko.wen.so", "ko.ini");
}

TEST_F(ModuleProfileTest, TheNameMayHaveNoExtension) {
    Expect("/opt/kowen", "kowen.ini");
}

TEST_F(ModuleProfileTest, AnUnknownModulePathGivesTheBareExtension) {
    Expect("", ".ini");
}

TEST_F(ModuleProfileTest, APathThatFillsItsBufferIsReadToItsEnd) {
    const std::string name = "/kowen";
    Expect(std::string(kDllNameBytes - name.size(), 'x') + name, "kowen.ini");
}

TEST_F(ModuleProfileTest, IsNotTakenForAPathThatDoesNotFit) {
    directory.Write("kowen.ini", "[S]\nDriver=d\n");
    SetModulePath("/opt/kowen.so");
    EXPECT_STREQ(Create(std::string(144, 'p'), "S")->profilePath, "");
}

TEST_F(ModuleProfileTest, ANameThatDoesNotFitIsNotFound) {
    ExpectNone(std::string(kDllNameBytes, 'x'));
    ExpectNone("/" + std::string(140, 'x') + ".so");
}

TEST_F(CreateSetupTest, APathThatFillsItsFieldIsFound) {
    const std::size_t fill = 143 - directory.File("").size();
    const std::string path = directory.Write(std::string(fill, 'p'), "[S]\nDriver=d\n");
    ASSERT_EQ(path.size(), 143u);
    EXPECT_EQ(Create(path, "S")->profilePath, path);
    EXPECT_STREQ(lpRaster->driverName, "d");
}

// Hardened: the path would run over its field.
TEST_F(CreateSetupTest, APathThatDoesNotFitIsNotFound) {
    const std::size_t fill = 144 - directory.File("").size();
    directory.Write(std::string(fill - 1, 'p'), "[S]\nDriver=d\n");
    const std::string path = directory.Write(std::string(fill, 'p'), "[S]\nDriver=d\n");
    ASSERT_EQ(path.size(), 144u);
    ExpectDefaults(*Create(path, "S"));
    ExpectDefaults(*Create(std::string(5000, 'p'), "S"));
}

TEST_F(CreateSetupTest, AnEmptySectionIsTakenFromTheKeyMode) {
    const std::string path = directory.Write(
        "p.ini", "[KOWEN]\n~Mode=Mine\n[S]\nDriver=d\n[Mine]\nDriver=e\nColor Mode=106\n");
    for (const char *section : {static_cast<const char *>(nullptr), ""}) {
        const SetupRecord *setup = Create(path, section);
        EXPECT_STREQ(setup->section, "Mine");
        EXPECT_EQ(setup->colorMode, 106);
    }
}

TEST_F(CreateSetupTest, WithoutSectionAndModeThereAreZeros) {
    const SetupRecord *setup = Create(directory.Write("p.ini", "[S]\nDriver=d\n"), nullptr);
    EXPECT_STREQ(setup->section, "");
    EXPECT_EQ(setup->profilePath, directory.File("p.ini"));
    ExpectZeroSettings(*setup);
}

// Kept deliberately.
TEST_F(CreateSetupTest, SectionWithoutDriverLeavesZeros) {
    const std::string path = directory.Write("p.ini", "[S]\nColor Mode=105\nQuality=50\n");
    const SetupRecord *setup = Create(path, "S");
    EXPECT_STREQ(setup->filterName, "KOWEN");
    EXPECT_STREQ(setup->section, "S");
    EXPECT_EQ(setup->profilePath, path);
    ExpectZeroSettings(*setup);
}

TEST_F(CreateSetupTest, AnUnknownSectionLeavesZeros) {
    const SetupRecord *setup = Create(directory.Write("p.ini", "[S]\nDriver=d\n"), "T");
    EXPECT_STREQ(setup->section, "T");
    ExpectZeroSettings(*setup);
}

TEST_F(CreateSetupTest, ASectionThatFillsItsFieldIsFound) {
    const std::string section(143, 's');
    Create(directory.Write("p.ini", "[" + section + "]\nDriver=d\n"), section.c_str());
    EXPECT_EQ(lpRaster->section, section);
    EXPECT_STREQ(lpRaster->driverName, "d");
}

// Hardened: the name would run over its field. A cut name could be another section's.
TEST_F(CreateSetupTest, ASectionThatDoesNotFitMatchesNothing) {
    const std::string section(144, 's');
    const std::string path = directory.Write("p.ini", "[" + section + "]\nDriver=d\n[" +
                                                          section.substr(1) + "]\nDriver=e\n");
    ExpectZeroSettings(*Create(path, section.c_str()));
    ExpectZeroSettings(*Create(path, std::string(5000, 's').c_str()));
}

TEST_F(CreateSetupTest, AModeThatDoesNotFitMatchesNothing) {
    const std::string section(144, 's');
    const std::string path =
        directory.Write("p.ini", "[KOWEN]\n~Mode=" + section + "\n[" + section + "]\nDriver=d\n[" +
                                     section.substr(1) + "]\nDriver=e\n");
    ExpectZeroSettings(*Create(path, nullptr));
    EXPECT_STREQ(lpRaster->section, "");
    EXPECT_EQ(lpRaster->profilePath, path) << "the next field is not touched";
}

TEST_F(CreateSetupTest, TheFilterNameIsTheHostsOrTheModules) {
    const std::string path = directory.Write("p.ini", "[S]\nDriver=d\n");
    EXPECT_STREQ(Create(path, "S", "JPEG files")->filterName, "JPEG files");
    EXPECT_STREQ(Create(path, "S", "")->filterName, "KOWEN");
    EXPECT_STREQ(Create(path, "S", nullptr)->filterName, "KOWEN");
}

// Hardened: the name would run over its field.
TEST_F(CreateSetupTest, AFilterNameThatDoesNotFitIsCut) {
    const std::string path = directory.Write("p.ini", "[S]\nDriver=d\n");
    const std::string name(5000, 'n');
    Create(path, "S", name.c_str());
    EXPECT_EQ(lpRaster->filterName, name.substr(0, 143));
    EXPECT_STREQ(lpRaster->section, "S");
}

TEST_F(EditSetupTest, StoresTheValueAndMakesTheSetupCurrent) {
    SetupRecord *setup = CreateWithoutProfile();
    const MemoryHandle other = CreateSetup(0, directory.File("absent").c_str(), nullptr, nullptr);
    SetupRecord before;
    std::memcpy(&before, setup, sizeof before);
    EXPECT_EQ(EditSetup(handle, 0xFEDCBA98), 0);
    EXPECT_EQ(hRaster, handle);
    EXPECT_EQ(lpRaster, setup);
    EXPECT_EQ(setup->editValue, 0xFEDCBA98u);
    before.editValue = 0xFEDCBA98;
    EXPECT_EQ(std::memcmp(&before, setup, sizeof before), 0) << "nothing else changes";
    DestroySetup(other);
}

TEST_F(EditSetupTest, HandleZeroIsRefusedAndLeavesNoSetupCurrent) {
    CreateWithoutProfile();
    EXPECT_EQ(EditSetup(0, 5), -1);
    EXPECT_EQ(lpRaster, nullptr);
    EXPECT_EQ(hRaster, MemoryHandle{0});
}

TEST_F(DestroySetupTest, LeavesNoSetupCurrent) {
    CreateWithoutProfile();
    EXPECT_EQ(DestroySetup(handle), 0);
    handle = 0;
    EXPECT_EQ(lpRaster, nullptr);
    EXPECT_EQ(hRaster, MemoryHandle{0});
}

TEST_F(DestroySetupTest, LeavesNoSetupCurrentEvenIfAnotherWas) {
    CreateWithoutProfile();
    const MemoryHandle other = CreateSetup(0, directory.File("absent").c_str(), nullptr, nullptr);
    EXPECT_EQ(DestroySetup(handle), 0);
    handle = other;
    EXPECT_EQ(lpRaster, nullptr);
    EXPECT_EQ(EditSetup(other, 0), 0);
    EXPECT_NE(lpRaster, nullptr);
}

// Hardened: a device may be closed after its setup.
TEST_F(DestroySetupTest, ADeviceOfTheSetupHasNoneThen) {
    SetupRecord other = {};
    hSetup = 1;
    lpSetup = &other;
    CreateWithoutProfile();
    DestroySetup(handle);
    handle = 0;
    EXPECT_EQ(lpSetup, &other) << "another setup's device is not concerned";
    CreateWithoutProfile();
    hSetup = handle;
    lpSetup = lpRaster;
    DestroySetup(handle);
    handle = 0;
    EXPECT_EQ(hSetup, MemoryHandle{0});
    EXPECT_EQ(lpSetup, nullptr);
}

TEST_F(DestroySetupTest, HandleZeroGivesOne) {
    EXPECT_EQ(DestroySetup(0), 1);
}

// Hardened: the export goes on with the record when its status callback returns.
TEST_F(DestroySetupTest, ASetupWhoseExportIsUnderWayStays) {
    SetupRecord *setup = CreateWithoutProfile();
    setup->hostCalls.underway = 1;
    EXPECT_EQ(DestroySetup(handle), 1);
    EXPECT_EQ(hRaster, handle);
    EXPECT_EQ(lpRaster, setup);
    EXPECT_EQ(setup->quality, 100);
    setup->hostCalls.underway = 0;
    EXPECT_EQ(DestroySetup(handle), 0);
    handle = 0;
}

// A handle of wrapped memory that is not there locks to nothing.
TEST_F(DestroySetupTest, AHandleThatCannotBeLockedGivesOne) {
    const MemoryHandle nothing = GlobalPointerToHandle(nullptr, 100);
    EXPECT_EQ(DestroySetup(nothing), 1);
    EXPECT_EQ(EditSetup(nothing, 5), -1);
    EXPECT_EQ(lpRaster, nullptr);
    GlobalFree(nothing);
}

TEST_F(UseDefaultSettingsTest, FillsEverythingButTheLineModeAndTheFilterName) {
    SetupRecord *setup = Load("Line Mode=120\nColor Format=215\nOperation=246\n");
    setup->reserved1 = 1;
    setup->editValue = 2;
    setup->hostValue = 3;
    setup->reserved2 = 4;
    std::memcpy(setup->backupPath, "b", 2);
    EXPECT_EQ(UseDefaultSettings(setup), 0);
    ExpectDefaults(*setup);
    EXPECT_EQ(setup->lineMode, 120);
    EXPECT_STREQ(setup->filterName, "KOWEN");
}

// Kept deliberately.
TEST_F(UseDefaultSettingsTest, FormatAndOperationGoToTheCurrentRecord) {
    SetupRecord *current = Load("Color Format=215\nOperation=246\n");
    SetupRecord other = {};
    EXPECT_EQ(UseDefaultSettings(&other), 0);
    EXPECT_EQ(other.colorFormat, 0);
    EXPECT_EQ(other.operation, 0);
    EXPECT_EQ(other.sizeMode, 602);
    EXPECT_EQ(current->colorFormat, 212);
    EXPECT_EQ(current->operation, 245);
    EXPECT_STREQ(current->section, "S") << "the rest of the current record stays";
}

TEST_F(UseDefaultSettingsTest, WithoutCurrentRecordFormatAndOperationStay) {
    SetupRecord record = {};
    record.colorFormat = KOWEN_FORMAT_GREY;
    record.operation = KOWEN_OPERATION_PROGRESSIVE;
    EXPECT_EQ(UseDefaultSettings(&record), 0);
    EXPECT_EQ(record.colorFormat, 215);
    EXPECT_EQ(record.operation, 246);
    EXPECT_EQ(record.quality, 100);
}

} // namespace
} // namespace kowen
