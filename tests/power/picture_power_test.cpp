// Pictures and profiles that the host library writes, when the power fails.
#include "host/saving.h"
#include "power/old_or_new.h"
#include "power/recorded_disk.h"
#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <sys/stat.h>

namespace kowen::test {
namespace {

const std::string kOldJpeg = "\xFF\xD8\xFF\xE0 an old picture";

// Noise, so that the file is written in several pieces.
std::vector<uint8_t> Noise(size_t bytes) {
    std::vector<uint8_t> pixels(bytes);
    uint32_t value = 1;
    for (uint8_t &pixel : pixels) {
        value = value * 1664525 + 1013904223;
        pixel = static_cast<uint8_t>(value >> 24);
    }
    return pixels;
}

class PicturePowerCut : public testing::Test {
protected:
    // Saves a picture over what is there and looks at every moment of it.
    void ExpectOldOrNew(KowenReplace replace, const std::string &path, uint32_t side = 16) {
        const std::vector<uint8_t> pixels = Noise(size_t{3} * side * side);
        Watch("a.jpg", [&] {
            SaveOptions options;
            options.path = path;
            options.replace = replace;
            const Saved saved = Save(module, RgbPicture(pixels, side, side), {}, options);
            EXPECT_EQ(saved.code, KOWEN_HOST_OK) << saved.result.message;
        });
        const std::string bytes = directory.Read("a.jpg");
        EXPECT_EQ(bytes.substr(bytes.size() - 2), "\xFF\xD9");
    }

    void Watch(const std::string &name, const std::function<void()> &save) {
        const FolderState before = Look(directory.Path());
        StartRecording(directory.Path());
        save();
        const std::vector<DiskCall> calls = StopRecording();
        const FolderState after = Look(directory.Path());
        ASSERT_EQ(AfterAll(before, calls), after);
        ASSERT_EQ(after.count(name), 1u);
        const auto old = before.find(name);
        const Replacement asked = {
            name, old == before.end() ? std::nullopt : std::optional(old->second), after.at(name)};
        EXPECT_EQ(WhatIsLost(before, calls, asked, true), "");
    }

    void TearDown() override { RefuseNamelessFiles(false); }

    const ScopedEnvironment chosen{"KOWEN_MODULE", KOWEN_MODULE};
    const TempDirectory directory;
    const OpenedModule module;
};

TEST_F(PicturePowerCut, LeavesTheOldOrTheNewPicture) {
    for (const bool nameless : {true, false}) {
        RefuseNamelessFiles(!nameless);
        for (const KowenReplace replace : {KOWEN_REPLACE_JPEG, KOWEN_REPLACE_ANY}) {
            directory.Write("b.jpg", "another");
            chmod(directory.Write("a.jpg", kOldJpeg).c_str(), 0604);
            ExpectOldOrNew(replace, directory.File("a.jpg"));
        }
    }
}

TEST_F(PicturePowerCut, LeavesTheNewPictureOrNone) {
    for (const bool nameless : {true, false})
        for (const KowenReplace replace :
             {KOWEN_REPLACE_JPEG, KOWEN_REPLACE_NEVER, KOWEN_REPLACE_ANY}) {
            RefuseNamelessFiles(!nameless);
            std::filesystem::remove(directory.File("a.jpg"));
            ExpectOldOrNew(replace, directory.File("a.jpg"));
        }
}

TEST_F(PicturePowerCut, LeavesAPictureOfSeveralWritesWhole) {
    directory.Write("a.jpg", kOldJpeg);
    ExpectOldOrNew(KOWEN_REPLACE_JPEG, directory.File("a.jpg"), 300);
    EXPECT_GT(directory.Read("a.jpg").size(), 131072u);
}

TEST_F(PicturePowerCut, LeavesWhatALinkLeadsTo) {
    const TempDirectory elsewhere;
    directory.Write("a.jpg", kOldJpeg);
    std::filesystem::create_symlink(directory.File("a.jpg"), elsewhere.File("link.jpg"));
    ExpectOldOrNew(KOWEN_REPLACE_JPEG, elsewhere.File("link.jpg"));
}

TEST_F(PicturePowerCut, LeavesTheOldOrTheNewProfile) {
    const SomeSettings kept(SettingList{{"quality", "80"}});
    for (const char *text : {"[A]\nDriver=KOWEN.1\nQuality=55\n", ""}) {
        directory.Write("a.ini", text);
        Watch("a.ini", [&] {
            KowenResult result = {};
            result.size = sizeof result;
            EXPECT_EQ(KowenSaveProfile(kept, directory.File("a.ini").c_str(), "A", &result),
                      KOWEN_HOST_OK)
                << result.message;
        });
    }
}

TEST_F(PicturePowerCut, LeavesTheOldPictureWhenTheDiskFails) {
    const std::string path = directory.Write("a.jpg", kOldJpeg);
    const FolderState before = Look(directory.Path());
    const std::vector<uint8_t> pixels = Noise(768);
    SaveOptions options;
    options.path = path;
    FailSyncs(EIO);
    StartRecording(directory.Path());
    const Saved saved = Save(module, RgbPicture(pixels, 16, 16), {}, options);
    const std::vector<DiskCall> calls = StopRecording();
    FailSyncs(0);
    EXPECT_EQ(saved.code, KOWEN_HOST_ERR_OUTPUT);
    EXPECT_STREQ(saved.result.message, (path + ": Input/output error").c_str());
    EXPECT_EQ(Look(directory.Path()), before);
    EXPECT_EQ(WhatIsLost(before, calls, {"a.jpg", before.at("a.jpg"), before.at("a.jpg")}, true),
              "");
}

TEST_F(PicturePowerCut, AFileSystemThatCannotWaitIsNoFailure) {
    const std::vector<uint8_t> pixels = Noise(768);
    SaveOptions options;
    options.path = directory.Write("a.jpg", kOldJpeg);
    FailSyncs(EINVAL);
    StartRecording(directory.Path());
    const Saved saved = Save(module, RgbPicture(pixels, 16, 16), {}, options);
    StopRecording();
    FailSyncs(0);
    EXPECT_EQ(saved.code, KOWEN_HOST_OK) << saved.result.message;
    EXPECT_EQ(directory.Read("a.jpg").size(), saved.result.bytes);
}

} // namespace
} // namespace kowen::test
