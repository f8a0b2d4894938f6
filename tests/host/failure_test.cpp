// Saves that are cancelled, fail, or meet each other.
#include "saving.h"

#include "support/jpeg_decode.h"
#include "support/temp_directory.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace kowen::test {
namespace {

size_t EntriesIn(const TempDirectory &directory) {
    size_t count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator(directory.Path()))
        ++count;
    return count;
}

// Asks to stop at a call, and remembers what it was told.
struct Watcher {
    int stopAt = -1;
    int calls = 0;
    double last = 0;
    int ends = 0; // told 1
    bool fell = false;

    KowenProgress Record() {
        KowenProgress progress = {};
        progress.size = sizeof progress;
        progress.context = this;
        progress.callback = [](void *context, double fraction) -> int32_t {
            auto *watcher = static_cast<Watcher *>(context);
            watcher->fell = watcher->fell || fraction < watcher->last || fraction > 1;
            watcher->last = fraction;
            watcher->ends += fraction == 1 ? 1 : 0;
            return watcher->calls++ == watcher->stopAt ? 1 : 0;
        };
        return progress;
    }
};

TEST(Progress, MovesWithTheRowsAndNeverFalls) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(64, 800);
    for (const SettingList &list :
         {SettingList{}, SettingList{{"progressive", "yes"}}, SettingList{{"as-filter", "yes"}},
          SettingList{{"max-bytes", "20k"}}}) {
        Watcher watcher;
        const KowenProgress progress = watcher.Record();
        SaveOptions options;
        options.progress = &progress;
        EXPECT_EQ(Save(module, RgbPicture(pixels, 64, 800), list, options).code, KOWEN_HOST_OK);
        EXPECT_FALSE(watcher.fell);
        EXPECT_GT(watcher.calls, 800 / 16); // reading alone
        EXPECT_EQ(watcher.last, 1);
        EXPECT_EQ(watcher.ends, 1);
    }
}

TEST(Progress, CancelsAtEveryCallAndLeavesNothing) {
    const OpenedModule module;
    const TempDirectory directory;
    const std::string path = directory.Write("a.jpg", "\xFF\xD8\xFF old");
    const std::vector<uint8_t> pixels = Gradient(40, 100);
    const KowenPicture picture = RgbPicture(pixels, 40, 100);
    for (const char *progressive : {"no", "yes"}) {
        Watcher counting;
        KowenProgress progress = counting.Record();
        SaveOptions options;
        options.progress = &progress;
        ASSERT_EQ(Save(module, picture, {{"progressive", progressive}}, options).code,
                  KOWEN_HOST_OK);
        options.path = path;
        for (int at = 0; at < counting.calls - 1; ++at) { // the last call tells of the end
            Watcher watcher;
            watcher.stopAt = at;
            progress = watcher.Record();
            const Saved saved = Save(module, picture, {{"progressive", progressive}}, options);
            ASSERT_EQ(saved.code, KOWEN_HOST_ERR_CANCELLED) << at;
            EXPECT_EQ(watcher.calls, at + 1); // not asked again
            EXPECT_EQ(directory.Read("a.jpg"), "\xFF\xD8\xFF old");
            EXPECT_EQ(EntriesIn(directory), 1U);
        }
    }
}

// The filter opens a file by itself when its host refuses to; cancelled there, nothing may appear
// in the folder that the program runs in.
TEST(Progress, CancelsWithoutAFileInTheWorkingFolder) {
    const OpenedModule module;
    const TempDirectory directory;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(directory.Path());
    const std::vector<uint8_t> pixels = Gradient(16, 8);
    for (int at = 0; at < 6; ++at) {
        Watcher watcher;
        watcher.stopAt = at;
        const KowenProgress progress = watcher.Record();
        SaveOptions options;
        options.progress = &progress;
        EXPECT_EQ(Save(module, RgbPicture(pixels, 16, 8), {}, options).code,
                  KOWEN_HOST_ERR_CANCELLED);
    }
    std::filesystem::current_path(before);
    EXPECT_EQ(EntriesIn(directory), 0U);
}

TEST(Callbacks, AreRefusedWhenTheyCallAgain) {
    const OpenedModule module;
    struct Context {
        KowenModule *module;
        int32_t save = -1, prepare = -1;
        uint32_t version = 0;
        bool opened = true;
    } context = {module};
    KowenProgress progress = {};
    progress.size = sizeof progress;
    progress.context = &context;
    progress.callback = [](void *pointer, double) -> int32_t {
        auto *inside = static_cast<Context *>(pointer);
        const std::vector<uint8_t> pixels = Flat(8, 8, 1, 2, 3);
        inside->save = Save(inside->module, RgbPicture(pixels, 8, 8)).code;
        KowenResult result = {};
        result.size = sizeof result;
        const KowenPicture picture = RgbPicture(pixels, 8, 8);
        KowenPrepare(inside->module, &picture, nullptr, nullptr, &result);
        inside->prepare = result.code;
        inside->opened = KowenOpenModule(nullptr, nullptr) != nullptr;
        KowenCloseModule(inside->module);
        inside->version = KowenModuleVersion(inside->module); // this and settings are free
        const SomeSettings settings(SettingList{{"quality", "50"}});
        return 0;
    };
    SaveOptions options;
    options.progress = &progress;
    const std::vector<uint8_t> pixels = Gradient(40, 100);
    EXPECT_EQ(Save(module, RgbPicture(pixels, 40, 100), {}, options).code, KOWEN_HOST_OK);
    EXPECT_EQ(context.save, KOWEN_HOST_ERR_BUSY);
    EXPECT_EQ(context.prepare, KOWEN_HOST_ERR_BUSY);
    EXPECT_FALSE(context.opened);
    EXPECT_EQ(context.version, 0x02000005U);
    EXPECT_EQ(Save(module, RgbPicture(pixels, 40, 100)).code, KOWEN_HOST_OK);
}

TEST(Threads, SaveRightFilesSideBySide) {
    constexpr int kThreads = 4, kSaves = 50;
    const OpenedModule first;
    const OpenedModule second;
    std::vector<std::vector<uint8_t>> pictures, expected;
    for (int i = 0; i < kThreads; ++i) {
        pictures.push_back(Gradient(60 + static_cast<uint32_t>(i), 41));
        expected.push_back(Save(first, RgbPicture(pictures.back(), 60 + uint32_t(i), 41),
                                {{"quality", std::to_string(60 + i)}})
                               .bytes);
    }
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back([&, i] {
            KowenModule *module = i % 2 == 0 ? first : second;
            for (int n = 0; n < kSaves; ++n) {
                const Saved saved =
                    Save(module, RgbPicture(pictures[size_t(i)], 60 + uint32_t(i), 41),
                         {{"quality", std::to_string(60 + i)}});
                if (saved.bytes != expected[size_t(i)])
                    ++wrong;
            }
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST(Failures, OfTheRowReaderSayWhatItSaid) {
    const OpenedModule module;
    const TempDirectory directory;
    KowenPicture picture = {};
    picture.size = sizeof picture;
    picture.format = KOWEN_PIXEL_RGB;
    picture.width = 10;
    picture.height = 10;
    picture.readRow = [](void *, uint32_t row, void *pixels) -> int32_t {
        std::memset(pixels, 1, 30);
        if (row == 4)
            KowenSetRowError("sea.png ends in the middle of row 4");
        return row == 4;
    };
    SaveOptions options;
    options.path = directory.File("a.jpg");
    const Saved saved = Save(module, picture, {}, options);
    EXPECT_EQ(saved.code, KOWEN_HOST_ERR_PICTURE);
    EXPECT_STREQ(saved.result.message, "sea.png ends in the middle of row 4");
    EXPECT_EQ(EntriesIn(directory), 0U);
}

TEST(Failures, OfTheWriterEndTheExport) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(100, 400);
    // At each call in turn, until there are no more.
    for (int failing = 0;; ++failing) {
        struct Context {
            int left;
            int after = 0;
        } context = {failing};
        SaveOptions options;
        options.writeContext = &context;
        options.write = [](void *pointer, const void *, size_t) -> int32_t {
            auto *inside = static_cast<Context *>(pointer);
            if (inside->left < 0)
                ++inside->after;
            return inside->left-- == 0 ? EIO : 0;
        };
        const Saved saved = Save(module, RgbPicture(pixels, 100, 400), {}, options);
        EXPECT_EQ(context.after, 0) << failing;
        if (saved.code == KOWEN_HOST_OK) {
            EXPECT_GT(failing, 10);
            break;
        }
        EXPECT_EQ(saved.code, KOWEN_HOST_ERR_OUTPUT);
        EXPECT_EQ(saved.result.systemError, EIO);
        EXPECT_STREQ(saved.result.message, "the JPEG: Input/output error");
    }
}

TEST(Failures, OfTheDiskKeepTheOldFile) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(100, 100);
    SaveOptions options;
    options.path = "/dev/full";
    const Saved full = Save(module, RgbPicture(pixels, 100, 100), {}, options);
    EXPECT_EQ(full.code, KOWEN_HOST_ERR_OUTPUT);
    EXPECT_EQ(full.result.systemError, ENOSPC);
    EXPECT_STREQ(full.result.message, "/dev/full: No space left on device");
    options.path = "/proc/no-such-folder/a.jpg";
    EXPECT_EQ(Save(module, RgbPicture(pixels, 100, 100), {}, options).code, KOWEN_HOST_ERR_OUTPUT);

    // A file that may grow to 500 bytes only: the signal must not end the program.
    const TempDirectory directory;
    options.path = directory.Write("a.jpg", "\xFF\xD8\xFF old");
    const pid_t child = fork();
    if (child == 0) {
        const rlimit limit = {500, 500};
        setrlimit(RLIMIT_FSIZE, &limit);
        _exit(Save(module, RgbPicture(pixels, 100, 100), {}, options).result.systemError);
    }
    int status = 0;
    waitpid(child, &status, 0);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), EFBIG);
    EXPECT_EQ(directory.Read("a.jpg"), "\xFF\xD8\xFF old");
    EXPECT_EQ(EntriesIn(directory), 1U);
}

TEST(Failures, OfAPipeAreErrorsAndNoSignals) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(100, 100);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    close(ends[0]);
    SaveOptions options;
    options.path = "/dev/fd/" + std::to_string(ends[1]);
    const Saved saved = Save(module, RgbPicture(pixels, 100, 100), {}, options);
    EXPECT_EQ(saved.code, KOWEN_HOST_ERR_OUTPUT);
    EXPECT_EQ(saved.result.systemError, EPIPE);
    close(ends[1]);
}

TEST(Files, AreWholeThroughPipes) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(100, 100);
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    std::vector<uint8_t> received;
    std::thread reader([&] {
        uint8_t piece[4096];
        for (ssize_t n; (n = read(ends[0], piece, sizeof piece)) > 0;)
            received.insert(received.end(), piece, piece + n);
    });
    SaveOptions options;
    options.path = "/dev/fd/" + std::to_string(ends[1]);
    EXPECT_EQ(Save(module, RgbPicture(pixels, 100, 100), {}, options).code, KOWEN_HOST_OK);
    close(ends[1]);
    reader.join();
    close(ends[0]);
    EXPECT_EQ(received, Save(module, RgbPicture(pixels, 100, 100)).bytes);
}

TEST(Files, ThatMustNotBeReplacedAreToldBeforeAnyRowIsRead) {
    const OpenedModule module;
    const TempDirectory directory;
    KowenPicture picture = {};
    picture.size = sizeof picture;
    picture.format = KOWEN_PIXEL_RGB;
    picture.width = picture.height = 8;
    bool read = false;
    picture.rowContext = &read;
    picture.readRow = [](void *context, uint32_t, void *) -> int32_t {
        *static_cast<bool *>(context) = true;
        return 0;
    };
    SaveOptions options;
    options.path = directory.Write("notes.txt", "my notes");
    EXPECT_EQ(Save(module, picture, {}, options).code, KOWEN_HOST_ERR_EXISTS);
    EXPECT_FALSE(read);
    EXPECT_EQ(directory.Read("notes.txt"), "my notes");
}

// Killed at any moment the process leaves the old file; where files can be without a name, nothing
// else is left either.
TEST(Files, SurviveAKill) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Gradient(64, 400);
    for (int at = 0; at < 60; at += 3) {
        const TempDirectory directory;
        SaveOptions options;
        options.path = directory.Write("a.jpg", "\xFF\xD8\xFF old");
        Watcher watcher;
        watcher.stopAt = at;
        const pid_t child = fork();
        if (child == 0) {
            KowenProgress progress = watcher.Record();
            progress.callback = [](void *context, double) -> int32_t {
                auto *inside = static_cast<Watcher *>(context);
                if (inside->calls++ == inside->stopAt)
                    raise(SIGKILL);
                return 0;
            };
            options.progress = &progress;
            Save(module, RgbPicture(pixels, 64, 400), {}, options);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status)) << at;
        EXPECT_EQ(directory.Read("a.jpg"), "\xFF\xD8\xFF old");
        EXPECT_LE(EntriesIn(directory), 2U);
    }
}

TEST(Arguments, OfNullAreRefused) {
    const OpenedModule module;
    const std::vector<uint8_t> pixels = Flat(8, 8, 1, 2, 3);
    const KowenPicture picture = RgbPicture(pixels, 8, 8);
    KowenOutput output = {};
    output.size = sizeof output;
    EXPECT_EQ(KowenSave(nullptr, &picture, nullptr, &output, nullptr, nullptr),
              KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenSave(module, nullptr, nullptr, &output, nullptr, nullptr),
              KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenSave(module, &picture, nullptr, nullptr, nullptr, nullptr),
              KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenExportPrepared(nullptr, nullptr, &output, nullptr, nullptr),
              KOWEN_HOST_ERR_ARGUMENT);
    EXPECT_EQ(KowenSet(nullptr, "quality", "50", nullptr), KOWEN_HOST_ERR_ARGUMENT);
    KowenCloseModule(nullptr);
    KowenFreeSettings(nullptr);
    KowenFree(nullptr);
    // A result record of an earlier version is filled as far as it goes.
    KowenResult result = {};
    std::memset(&result, 0x55, sizeof result);
    result.size = 8;
    EXPECT_EQ(KowenSave(module, &picture, nullptr, &output, nullptr, &result), KOWEN_HOST_OK);
    EXPECT_EQ(result.code, KOWEN_HOST_OK);
    EXPECT_EQ(result.moduleCode, 0x55555555);
    KowenFree(output.memory);
}

} // namespace
} // namespace kowen::test
