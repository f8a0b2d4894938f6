#include "readers/magick_library.h"

#include "cancel.h"
#include "failure.h"

#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <vector>

namespace kowen::cli {
namespace {

constexpr const char *kObjectName = "kowen-magick.so";

// Beside the program, and where an installed program has it.
std::vector<std::string> Candidates() {
    std::error_code ignored;
    const std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe", ignored);
    const std::filesystem::path folder = self.parent_path();
    return {(folder / kObjectName).string(), (folder / KOWEN_MAGICK_RELATIVE).string()};
}

MagickLibrary Load() {
    std::string reason = "it is not there";
    for (const std::string &path : Candidates()) {
        if (!std::filesystem::exists(path))
            continue;
        void *object = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        void *symbol = object != nullptr ? dlsym(object, kMagickEntry) : nullptr;
        if (symbol == nullptr) {
            reason = dlerror();
            continue;
        }
        MagickEntry entry = nullptr;
        std::memcpy(&entry, &symbol, sizeof entry);
        return entry({CancelSignal});
    }
    throw Failure(std::string("pictures other than PNG, PNM and JPEG are read by ") + kObjectName +
                  ", which could not be loaded: " + reason);
}

} // namespace

const MagickLibrary &LoadMagickLibrary() {
    static const MagickLibrary library = Load();
    return library;
}

} // namespace kowen::cli
