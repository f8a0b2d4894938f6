#include "selftest/loading.h"

#include "failure.h"
#include "host_library.h"
#include "kowen/kowen.h"
#include "selftest/apart.h"
#include "selftest/variants.h"

#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <exception>
#include <sstream>

namespace kowen::cli {
namespace {

// What is said: this and the answers, each with a zero behind it; or why there are none.
constexpr char kLoaded = '+';
constexpr char kRefused = '-';

struct NamedOrdinal {
    int ordinal;
    const char *name;
};
constexpr NamedOrdinal kEntries[] = {{KOWEN_ORDINAL_CREATE_SETUP, "CreateSetup"},
                                     {KOWEN_ORDINAL_DESTROY_SETUP, "DestroySetup"},
                                     {KOWEN_ORDINAL_EDIT_SETUP, "EditSetup"},
                                     {KOWEN_ORDINAL_ESCAPE_SETUP, "EscapeSetup"},
                                     {KOWEN_ORDINAL_GET_FILTER_VERSION, "QIVGetFilterVersion"},
                                     {KOWEN_ORDINAL_DD_ENTRY, "dd_entry"},
                                     {KOWEN_ORDINAL_RASTER_DD_ENTRY, "RASTER_dd_entry"},
                                     {KOWEN_ORDINAL_EXPORT_CELL_DATA, "ExportCellData"},
                                     {KOWEN_ORDINAL_DLL_NAME, "szDLLName"}};

bool Has(const EntryPointRecord &table, const NamedOrdinal &wanted) {
    for (int i = 0; i < table.entryCount; ++i) {
        const TableEntry &entry = table.entries[i];
        if (entry.ordinal == wanted.ordinal && entry.address != nullptr &&
            std::strcmp(entry.name, wanted.name) == 0)
            return true;
    }
    return false;
}

// The names, a blank between them, of what the table of a loaded module has not.
std::string MissingEntries(const std::string &path) {
    EntryPointRecord table = {};
    void *library = dlopen(FileNameOf(path).c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        throw Failure(dlerror());
    reinterpret_cast<LoadPointersFunction>(dlsym(library, "fltLoadPointers"))(&table);
    std::string missing;
    for (const NamedOrdinal &entry : kEntries)
        if (!Has(table, entry))
            missing += std::string(missing.empty() ? "" : " ") + entry.name;
    dlclose(library);
    return missing;
}

std::string Joined(const std::vector<std::string> &words) {
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : " ") + word;
    return text;
}

std::vector<std::string> Words(const std::string &text) {
    std::istringstream stream(text);
    std::vector<std::string> words;
    for (std::string word; stream >> word;)
        words.push_back(word);
    return words;
}

std::string Look(const std::string &path) {
    const Module module(path);
    std::string said(1, kLoaded);
    for (const std::string &answer :
         {module.Path(), module.Version(), Joined(VariantsOf(module.Path())),
          MissingEntries(module.Path())})
        (said += answer) += '\0';
    return said;
}

// The answer that begins there; the next one begins behind it.
std::string TakeAnswer(const std::string &said, size_t *at) {
    std::string answer = said.c_str() + *at;
    *at += answer.size() + 1;
    return answer;
}

std::string NameOf(const std::string &path) {
    const char *wanted = std::getenv("KOWEN_MODULE");
    if (!path.empty())
        return path;
    return wanted != nullptr && *wanted != '\0' ? wanted : "the filter";
}

} // namespace

LoadedModule TryLoading(const std::string &path) {
    const ApartEnd end = RunApart([&](const Saying &say) {
        try {
            say(Look(path));
        } catch (const std::exception &failure) {
            say(kRefused + std::string(failure.what()));
        }
    });
    if (end.status == 0 && end.said.starts_with(kRefused))
        throw Failure(end.said.substr(1));
    if (end.status != 0 || !end.said.starts_with(kLoaded))
        throw Failure(NameOf(path) + " could not be loaded: the process that tried " +
                      HowItEnded(end.status) +
                      "; the file may be cut short or damaged: install it again");
    size_t at = 1;
    LoadedModule module;
    module.path = TakeAnswer(end.said, &at);
    module.version = TakeAnswer(end.said, &at);
    module.variants = Words(TakeAnswer(end.said, &at));
    module.missing = Words(TakeAnswer(end.said, &at));
    return module;
}

} // namespace kowen::cli
