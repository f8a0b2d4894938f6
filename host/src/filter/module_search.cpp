#include "filter/module_search.h"

#include "base/failure.h"

#include <cstdlib>
#include <dlfcn.h>
#include <unistd.h>
#include <vector>

namespace kowen::host {
namespace {

constexpr const char *kModuleFile = "kowen.so";

// The folder of the file that this code was loaded from, links resolved; empty when unknown.
std::string OwnFolder() {
    Dl_info info = {};
    if (dladdr(reinterpret_cast<const void *>(&FindModule), &info) == 0 ||
        info.dli_fname == nullptr)
        return "";
    char *resolved = realpath(info.dli_fname, nullptr);
    if (resolved == nullptr)
        return "";
    const std::string path = resolved;
    std::free(resolved);
    return path.substr(0, path.find_last_of('/') + 1);
}

std::vector<std::string> Places() {
    std::vector<std::string> places;
    const std::string folder = OwnFolder();
    if (!folder.empty())
        places = {folder + kModuleFile, folder + "kowen/" + kModuleFile,
                  folder + "../kowen/" + kModuleFile};
    const std::string installed = KOWEN_INSTALLED_MODULE;
    if (!installed.empty())
        places.push_back(installed);
    return places;
}

} // namespace

std::string FindModule() {
    const char *wanted = secure_getenv("KOWEN_MODULE");
    if (wanted != nullptr && *wanted != '\0')
        return wanted;
    std::string list;
    for (const std::string &place : Places()) {
        if (access(place.c_str(), F_OK) == 0)
            return place;
        list += (list.empty() ? "" : ", ") + place;
    }
    throw Failure(KOWEN_HOST_ERR_MODULE, "the filter was not found; looked for " + list +
                                             ". Set KOWEN_MODULE to its path, or install it there");
}

} // namespace kowen::host
