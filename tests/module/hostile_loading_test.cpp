// Hosts that load the module twice, over and over, from many threads, or under another name.
#include "module/hostile_host.h"
#include "module/tiny_export.h"
#include "support/emulator.h"

#include <filesystem>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace kowen::test;

class HostileLoading : public HostileHost {
protected:
    /// A copy of the module's file.
    std::string CopyOfTheModule(const std::string &name) const {
        std::error_code failed;
        std::filesystem::copy_file(kModulePath, Path(name), failed);
        EXPECT_FALSE(failed) << failed.message();
        return Path(name);
    }
    /// 8 x 8 grey pixels, through any loaded module.
    std::string Tiny(const ModuleHost &module) const {
        EXPECT_EQ(ExportTinyPicture(module, Path("tiny.jpg")), 0);
        return host.directory.Read("tiny.jpg");
    }
    static std::vector<std::string> Lines(const char *path) {
        std::vector<std::string> lines;
        std::FILE *file = std::fopen(path, "r");
        char line[8192];
        while (file != nullptr && std::fgets(line, sizeof line, file) != nullptr)
            lines.push_back(line);
        if (file != nullptr)
            std::fclose(file);
        return lines;
    }
    /// Mappings of files of that name.
    static size_t MappingsOf(const std::string &name) {
        size_t count = 0;
        for (const std::string &line : Lines("/proc/self/maps"))
            count += line.find(name) != std::string::npos ? 1 : 0;
        return count;
    }
    static size_t OpenDescriptors() {
        size_t count = 0;
        for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
            count += entry.path().empty() ? 0 : 1;
        return count;
    }
};

TEST_F(HostileLoading, LoadingItTwiceGivesTheSameModule) {
    const ModuleHost again;
    EXPECT_EQ(again.Table().entries, host.module.Table().entries);
    const auto quality = again.Entry<EscapeSetupFunction>("EscapeSetup");
    int32_t answer = 0;
    EXPECT_EQ(quality(setup, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &answer, 0), 1);
    EXPECT_EQ(answer, 75);
}

TEST_F(HostileLoading, ACopyHasAStateOfItsOwn) {
    const ModuleHost copy(CopyOfTheModule("copy.so"));
    EXPECT_NE(copy.Table().entries, host.module.Table().entries);
    // A running device, a current setup, a name and a display of the one are not the other's.
    copy.NameModule("/elsewhere/other.so");
    EXPECT_STREQ(host.module.Entry<const char *>("szDLLName"), kModulePath);
    copy.Symbol<SetDisplayInfoFunction>("SetDisplayInfo")(777, 777, 111, 111);
    int16_t resolution = 0;
    host.module.Symbol<GetDisplayInfoFunction>("GetDisplayInfo")(nullptr, nullptr, &resolution,
                                                                 nullptr);
    EXPECT_NE(resolution, 111);
    EXPECT_EQ(copy.Entry<EditSetupFunction>("EditSetup")(0, 0), -1);
    HostileDevice mine(host.module, "RASTER_dd_entry");
    HostileDevice theirs(copy, "RASTER_dd_entry");
    ASSERT_EQ(mine.Initialise(setup, Path("a.jpg")), 0);
    EXPECT_EQ(theirs.Run(kOpenDevice), 0);
    EXPECT_FALSE(host.directory.Has("a.jpg"));
    EXPECT_EQ(theirs.Terminate(), 0);
    EXPECT_EQ(RunAll(mine, DrawingRequests(plain.bitmap)), std::vector<int32_t>(10));
    EXPECT_EQ(mine.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

TEST_F(HostileLoading, TwoCopiesDrawAStepOfEachInTurn) {
    const ModuleHost copy(CopyOfTheModule("copy.so"));
    const std::string profile = Path("1.ini");
    const MemoryHandle theirSetup = copy.Entry<CreateSetupFunction>("CreateSetup")(
        0, profile.c_str(), steps.section.c_str(), nullptr);
    HostileDevice mine(host.module, "RASTER_dd_entry");
    HostileDevice theirs(copy, "RASTER_dd_entry");
    ASSERT_EQ(mine.Initialise(setup, Path("a.jpg")), 0);
    ASSERT_EQ(theirs.Initialise(theirSetup, Path("b.jpg")), 0);
    const std::vector<Request> myRequests = DrawingRequests(plain.bitmap);
    const std::vector<Request> theirRequests = DrawingRequests(steps.bitmap);
    for (size_t step = 0; step < myRequests.size(); ++step) {
        EXPECT_EQ(mine.Run(myRequests[step]), 0);
        EXPECT_EQ(theirs.Run(theirRequests[step]), 0);
    }
    EXPECT_EQ(theirs.Terminate(), 0);
    EXPECT_EQ(mine.Terminate(), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(FileBytes("b.jpg"), steps.jpeg);
    EXPECT_EQ(copy.Entry<DestroySetupFunction>("DestroySetup")(theirSetup), 0);
}

TEST_F(HostileLoading, ACallbackOfTheOneCallsTheOther) {
    const ModuleHost copy(CopyOfTheModule("copy.so"));
    const std::string alone = Tiny(host.module);
    std::string inside;
    mischief.onStatus = [&] {
        inside = Tiny(copy);
        return 0;
    };
    EXPECT_EQ(ExportTo("a.jpg"), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(inside, alone);
}

TEST_F(HostileLoading, UnloadingTheOneLeavesTheOther) {
    {
        const ModuleHost copy(CopyOfTheModule("copy.so"));
        EXPECT_GT(MappingsOf("copy.so"), 0u);
    }
    EXPECT_EQ(MappingsOf("copy.so"), 0u);
    EXPECT_EQ(Export(plain, setup).jpeg, plain.jpeg);
}

TEST_F(HostileLoading, TheFileMayGoWhileTheModuleIsLoaded) {
    const ModuleHost copy(CopyOfTheModule("copy.so"));
    const std::string before = Tiny(copy);
    ASSERT_TRUE(std::filesystem::remove(Path("copy.so")));
    EXPECT_EQ(Tiny(copy), before);
}

TEST_F(HostileLoading, AFileNameWithoutAnExtensionOrWithManyIsAsGood) {
    for (const char *name : {"copy", "c.o.p.y", " ", "copy.exe"}) {
        const ModuleHost copy(CopyOfTheModule(name));
        copy.NameModule();
        EXPECT_EQ(Tiny(copy), Tiny(host.module)) << name;
    }
}

#ifndef KOWEN_SANITIZED // a sanitizer's run-time library cannot be in two name spaces
TEST_F(HostileLoading, ANameSpaceOfItsOwn) {
#ifdef __powerpc__
    if (!kEmulator.empty())
        GTEST_SKIP() << "what helps the emulator (support/emulated_floats.c) is not in that space";
#endif
    void *library = dlmopen(LM_ID_NEWLM, kModulePath, RTLD_NOW);
    ASSERT_NE(library, nullptr) << dlerror();
    EntryPointRecord record = {};
    reinterpret_cast<LoadPointersFunction>(dlsym(library, "fltLoadPointers"))(&record);
    EXPECT_EQ(record.entryCount, 9);
    EXPECT_NE(record.entries, host.module.Table().entries);
    const auto version =
        reinterpret_cast<GetFilterVersionFunction>(const_cast<void *>(record.entries[4].address));
    EXPECT_EQ(version(), 0x02000005u);
    const auto create =
        reinterpret_cast<CreateSetupFunction>(const_cast<void *>(record.entries[0].address));
    const auto destroy =
        reinterpret_cast<DestroySetupFunction>(const_cast<void *>(record.entries[1].address));
    const auto doExport =
        reinterpret_cast<ExportCellDataFunction>(const_cast<void *>(record.entries[7].address));
    const auto wrap =
        reinterpret_cast<GlobalPointerToHandleFunction>(dlsym(library, "GlobalPointerToHandle"));
    const auto free = reinterpret_cast<GlobalFreeFunction>(dlsym(library, "GlobalFree"));
    ExportBytes pixels = plain.bitmap.pixels;
    BitmapRecord bitmap = {24, 16, 8, 0, 0, 0, 0, wrap(pixels.data(), 384)};
    HostRecord hostRecord = {};
    hostRecord.setup = create(0, Path("0.ini").c_str(), "Plain", nullptr);
    EXPECT_EQ(doExport(Path("a.jpg").c_str(), &bitmap, &plain.cell, &hostRecord), 0);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(destroy(hostRecord.setup), 0);
    EXPECT_EQ(free(bitmap.pixels), 0);
    EXPECT_EQ(dlclose(library), 0);
}
#endif

TEST_F(HostileLoading, ManyLoadsAndExportsLeaveNoMappingAndNoDescriptor) {
    const std::string copy = CopyOfTheModule("copy.so");
    const std::string expected = Tiny(host.module);
    const size_t descriptors = OpenDescriptors();
    for (int round = 0; round < 20; ++round) {
        const ModuleHost module(copy);
        ASSERT_EQ(Tiny(module), expected);
        HostileDevice raster(module, "RASTER_dd_entry");
        EXPECT_EQ(raster.Initialise(0, ""), 0);
        EXPECT_EQ(raster.Run(kOpenDevice), 0);
        EXPECT_EQ(raster.Terminate(), 0);
    }
    EXPECT_EQ(MappingsOf("copy.so"), 0u);
    EXPECT_EQ(OpenDescriptors(), descriptors);
}

TEST_F(HostileLoading, FailedExportsLeaveNoDescriptor) {
    const size_t descriptors = OpenDescriptors();
    const size_t directories = MappingsOf("kowen");
    for (int round = 0; round < 20; ++round) {
        EXPECT_EQ(Export(plain, setup, host.directory.Path()).result, 303);
        EXPECT_EQ(Export(plain, setup, "/dev/full").result, 0);
        HostileDevice raster(host.module, "RASTER_dd_entry");
        ASSERT_EQ(raster.Initialise(setup, "/dev/full"), 0);
        RunAll(raster, DrawingRequests(plain.bitmap));
        EXPECT_EQ(raster.Terminate(), 0);
        mischief.onStatus = [] { return 1; };
        EXPECT_EQ(ExportTo("a.jpg"), 0);
        host.destroySetup(MakeSetup(plain));
    }
    EXPECT_EQ(OpenDescriptors(), descriptors);
    EXPECT_EQ(MappingsOf("kowen"), directories);
}

TEST_F(HostileLoading, EachCallFromAnotherThread) {
    const auto elsewhere = [](const auto &work) { std::thread(work).join(); };
    HostileDevice raster(host.module, "RASTER_dd_entry");
    MemoryHandle made = 0;
    elsewhere([&] { made = MakeSetup(plain); });
    elsewhere([&] { EXPECT_EQ(raster.Initialise(made, Path("a.jpg"), &mischief.record), 0); });
    for (const Request &request : DrawingRequests(plain.bitmap))
        elsewhere([&] { EXPECT_EQ(raster.Run(request), 0); });
    elsewhere([&] { EXPECT_EQ(raster.Terminate(), 0); });
    elsewhere([&] { EXPECT_EQ(Export(plain, made).jpeg, plain.jpeg); });
    elsewhere([&] { EXPECT_EQ(host.destroySetup(made), 0); });
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
    EXPECT_EQ(mischief.commands, "000");
}

TEST_F(HostileLoading, LoadedInOneThreadUsedInAnotherUnloadedInAThird) {
    const std::string path = CopyOfTheModule("copy.so");
    const std::string expected = Tiny(host.module);
    for (int round = 0; round < 5; ++round) {
        std::unique_ptr<ModuleHost> module;
        std::thread([&] { module = std::make_unique<ModuleHost>(path); }).join();
        std::thread([&] { EXPECT_EQ(Tiny(*module), expected); }).join();
        std::thread([&] { module.reset(); }).join();
        EXPECT_EQ(MappingsOf("copy.so"), 0u);
    }
}

TEST_F(HostileLoading, AForkedChildGoesOnByItself) {
    const pid_t child = fork();
    if (child == 0) {
        const int32_t quality = 5;
        const bool changed =
            host.escapeSetup(setup, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 0) == 1;
        const bool right = Export(steps, otherSetup).jpeg == steps.jpeg;
        const bool ended = host.destroySetup(otherSetup) == 0;
        _exit(changed && right && ended ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(Export(plain, setup).jpeg, plain.jpeg);
    EXPECT_EQ(Export(steps, otherSetup).jpeg, steps.jpeg);
}

TEST_F(HostileLoading, EveryWayOfLoadingIsAsGood) {
    const std::string expected = Tiny(host.module);
    int number = 0;
    for (const int flags :
         {RTLD_LAZY, RTLD_NOW, RTLD_NOW | RTLD_GLOBAL, RTLD_NOW | RTLD_NODELETE}) {
        const ModuleHost copy(CopyOfTheModule("copy" + std::to_string(++number)), flags);
        EXPECT_EQ(Tiny(copy), expected) << flags;
    }
}

} // namespace
