// The library as a file: where it finds the module, what it exports, and the guide's example.
#include "saving.h"

#include "support/scoped_environment.h"
#include "support/temp_directory.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <set>
#include <unistd.h>

namespace kowen::test {
namespace {

namespace fs = std::filesystem;

std::string OutputOf(const std::string &command) {
    std::string output;
    std::FILE *pipe = popen(command.c_str(), "r");
    char piece[4096];
    for (size_t n; pipe != nullptr && (n = std::fread(piece, 1, sizeof piece, pipe)) != 0;)
        output.append(piece, n);
    if (pipe != nullptr)
        pclose(pipe);
    return output;
}

// A copy of the library of its own, wherever it stands.
class Copied {
public:
    explicit Copied(const std::string &path) {
        fs::copy_file(KOWEN_HOST_LIBRARY, path);
        library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        EXPECT_NE(library, nullptr) << dlerror();
    }
    ~Copied() { dlclose(library); }
    Copied(const Copied &) = delete;
    Copied &operator=(const Copied &) = delete;

    // The path of the module that it finds, or the message.
    std::string Find() const {
        KowenResult result = {};
        result.size = sizeof result;
        const auto open = reinterpret_cast<decltype(&KowenOpenModule)>(Symbol("KowenOpenModule"));
        const auto close =
            reinterpret_cast<decltype(&KowenCloseModule)>(Symbol("KowenCloseModule"));
        const auto path = reinterpret_cast<decltype(&KowenModulePath)>(Symbol("KowenModulePath"));
        KowenModule *module = open(nullptr, &result);
        if (module == nullptr) {
            EXPECT_EQ(result.code, KOWEN_HOST_ERR_MODULE);
            return result.message;
        }
        const std::string found = path(module);
        close(module);
        return found;
    }

private:
    void *Symbol(const char *name) const { return dlsym(library, name); }

    void *library = nullptr;
};

TEST(KowenOpenModule, LooksRelativeToTheLibrary) {
    const ScopedEnvironment unset("KOWEN_MODULE", nullptr);
    const TempDirectory directory;
    fs::create_directories(directory.File("lib/kowen"));
    fs::create_directories(directory.File("kowen"));
    const Copied library(directory.File("lib/libkowenhost.so.0"));
    const std::string lib = fs::canonical(directory.File("lib")).string();
    const std::string installed = KOWEN_INSTALLED_MODULE;
    if (fs::exists(installed))
        EXPECT_EQ(library.Find(), installed);
    else
        EXPECT_EQ(library.Find(), "the filter was not found; looked for " + lib + "/kowen.so, " +
                                      lib + "/kowen/kowen.so, " + lib + "/../kowen/kowen.so" +
                                      (installed.empty() ? "" : ", " + installed) +
                                      ". Set KOWEN_MODULE to its path, or install it there");
    for (const char *place : {"/../kowen/kowen.so", "/kowen/kowen.so", "/kowen.so"}) {
        fs::copy_file(KOWEN_MODULE, lib + place);
        EXPECT_EQ(library.Find(), lib + place);
    }
}

TEST(KowenOpenModule, TakesWhatTheEnvironmentNamesAndNothingElse) {
    const TempDirectory directory;
    const std::string missing = directory.File("none.so");
    const ScopedEnvironment set("KOWEN_MODULE", missing.c_str());
    KowenResult result = {};
    result.size = sizeof result;
    EXPECT_EQ(KowenOpenModule(nullptr, &result), nullptr);
    EXPECT_EQ(result.code, KOWEN_HOST_ERR_MODULE);
    EXPECT_EQ(std::string(result.message),
              "cannot load the module " + missing + ": No such file or directory");
    // A path that is given comes before.
    KowenModule *module = KowenOpenModule(KOWEN_MODULE, &result);
    EXPECT_NE(module, nullptr);
    EXPECT_EQ(KowenModuleVersion(module), 0x02000005U);
    EXPECT_STREQ(KowenModulePath(module), KOWEN_MODULE);
    KowenCloseModule(module);
}

TEST(KowenOpenModule, SaysWhyAFileIsNoFilter) {
    const TempDirectory directory;
    KowenResult result = {};
    result.size = sizeof result;
    const std::string text = directory.Write("text.so", "no library");
    EXPECT_EQ(KowenOpenModule(text.c_str(), &result), nullptr);
    EXPECT_NE(std::string(result.message).find("cannot load the module"), std::string::npos);
    EXPECT_EQ(KowenOpenModule(KOWEN_HOST_LIBRARY, &result), nullptr);
    EXPECT_EQ(std::string(result.message), std::string(KOWEN_HOST_LIBRARY) +
                                               ": not an export filter: it has no fltLoadPointers");
    EXPECT_STREQ(KowenHostVersion(), "2.0.5");
}

TEST(Library, ExportsItsFunctionsOnly) {
    const std::string list =
        OutputOf(std::string("nm -D --defined-only '") + KOWEN_HOST_LIBRARY + "' | cut -d' ' -f3");
    std::set<std::string> names;
    for (size_t at = 0; at < list.size();) {
        const size_t end = list.find('\n', at);
        names.insert(list.substr(at, end - at));
        at = end + 1;
    }
    const std::set<std::string> expected = {
        "KOWENHOST_0",
        "KowenCheckSaveProfile@@KOWENHOST_0",
        "KowenCheckSettings@@KOWENHOST_0",
        "KowenCloseModule@@KOWENHOST_0",
        "KowenCopySettings@@KOWENHOST_0",
        "KowenExportPrepared@@KOWENHOST_0",
        "KowenFree@@KOWENHOST_0",
        "KowenFreePrepared@@KOWENHOST_0",
        "KowenFreeSettings@@KOWENHOST_0",
        "KowenGet@@KOWENHOST_0",
        "KowenHostVersion@@KOWENHOST_0",
        "KowenIsSet@@KOWENHOST_0",
        "KowenLoadProfile@@KOWENHOST_0",
        "KowenModulePath@@KOWENHOST_0",
        "KowenModuleVersion@@KOWENHOST_0",
        "KowenNewSettings@@KOWENHOST_0",
        "KowenOpenModule@@KOWENHOST_0",
        "KowenPrepare@@KOWENHOST_0",
        "KowenProfileSection@@KOWENHOST_0",
        "KowenSave@@KOWENHOST_0",
        "KowenSaveProfile@@KOWENHOST_0",
        "KowenSet@@KOWENHOST_0",
        "KowenSetRowError@@KOWENHOST_0",
        "KowenSettingName@@KOWENHOST_0",
    };
    EXPECT_EQ(names, expected);
    EXPECT_NE(OutputOf(std::string("readelf -d '") + KOWEN_HOST_LIBRARY + "'")
                  .find("soname: [libkowenhost.so.0]"),
              std::string::npos);
}

TEST(HostLibraryGuide, HasAnExampleThatSavesAPicture) {
    const TempDirectory directory;
    const std::string path = directory.File("sea.jpg");
    EXPECT_EQ(OutputOf(std::string("'") + KOWEN_HOST_EXAMPLE + "' '" + path + "' 2>&1"),
              path + ": 320 x 200 pixels\n");
    EXPECT_EQ(directory.Read("sea.jpg").substr(0, 3), "\xFF\xD8\xFF");
    EXPECT_EQ(OutputOf(std::string("'") + KOWEN_HOST_EXAMPLE + "' /dev/full 2>&1"),
              "/dev/full: No space left on device\n");
}

} // namespace
} // namespace kowen::test
