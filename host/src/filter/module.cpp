#include "filter/module.h"

#include "base/failure.h"
#include "filter/module_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>
#include <utility>

namespace kowen::host {
namespace {

constexpr size_t kModulePathBytes = 260; // of the entry szDLLName

template <typename Function> void Bind(Function *function, const void *address) {
    *function = reinterpret_cast<Function>(const_cast<void *>(address));
}

// dlopen searches the library path for a name without a slash; a host means a file.
std::string AsFileName(const std::string &path) {
    return path.find('/') == std::string::npos ? "./" + path : path;
}

[[noreturn]] void FailLoading(const std::string &message) {
    throw Failure(KOWEN_HOST_ERR_MODULE, message);
}

// A picture's pages are touched once, in order: large ones spare the system thousands of small
// ones. Only a hint, which systems without them refuse.
void PreferLargePages(uint8_t *memory, size_t size) {
    constexpr size_t kLargePage = size_t{2} << 20;
    const size_t before =
        (kLargePage - reinterpret_cast<uintptr_t>(memory) % kLargePage) % kLargePage;
    if (size >= before + kLargePage)
        madvise(memory + before, (size - before) / kLargePage * kLargePage, MADV_HUGEPAGE);
}

} // namespace

void FilterModule::Unload::operator()(void *opened) const {
    dlclose(opened);
}

FilterModule::FilterModule(const std::string &modulePath) : path(modulePath) {
    CheckModuleFile(path);
    library.reset(dlopen(AsFileName(path).c_str(), RTLD_NOW | RTLD_LOCAL));
    if (!library)
        FailLoading(std::string("cannot load the module: ") + dlerror());
    LoadPointersFunction loadPointers = nullptr;
    Bind(&loadPointers, Symbol("fltLoadPointers"));
    EntryPointRecord record = {};
    loadPointers(&record);
    entries = {record.entries, record.entryCount};
    TellModuleItsPath();
    GetFilterVersionFunction getFilterVersion = nullptr;
    Bind(&getFilterVersion, Entry("QIVGetFilterVersion"));
    Bind(&createSetup, Entry("CreateSetup"));
    Bind(&destroySetup, Entry("DestroySetup"));
    Bind(&escapeSetup, Entry("EscapeSetup"));
    Bind(&exportCellData, Entry("ExportCellData"));
    Bind(&wrap, Symbol("GlobalPointerToHandle"));
    Bind(&globalFree, Symbol("GlobalFree"));
    version = getFilterVersion();
}

const void *FilterModule::Entry(const char *name) const {
    for (const TableEntry &entry : entries) {
        if (std::strcmp(entry.name, name) == 0)
            return entry.address;
    }
    FailLoading(path + ": its table of entries has no " + name);
}

void *FilterModule::Symbol(const char *name) const {
    if (void *address = dlsym(library.get(), name))
        return address;
    FailLoading(path + ": not an export filter: it has no " + name);
}

// The module takes its file name from here; of a path that does not fit the name is what counts.
void FilterModule::TellModuleItsPath() const {
    auto *buffer = static_cast<char *>(const_cast<void *>(Entry("szDLLName")));
    std::string text = path;
    if (text.size() >= kModulePathBytes)
        text.erase(0, text.find_last_of('/') + 1);
    text.resize(std::min(text.size(), kModulePathBytes - 1));
    std::memcpy(buffer, text.c_str(), text.size() + 1);
}

WrappedBlock::WrappedBlock(const FilterModule &owner, uint64_t size)
    : module(&owner), bytes(static_cast<size_t>(size)) {
    if (size > UINT32_MAX)
        throw Failure(KOWEN_HOST_ERR_MEMORY,
                      "the picture takes more than the 4 GB that the filter can be given");
    memory = static_cast<uint8_t *>(std::malloc(std::max<size_t>(bytes, 1)));
    if (memory != nullptr)
        PreferLargePages(memory, bytes);
    handle = memory != nullptr ? owner.wrap(memory, static_cast<uint32_t>(size)) : 0;
    if (handle == 0) {
        std::free(memory);
        throw Failure(KOWEN_HOST_ERR_MEMORY,
                      "not enough memory for the picture (" + std::to_string(size) + " bytes)",
                      ENOMEM);
    }
}

WrappedBlock::~WrappedBlock() {
    if (handle != 0)
        module->globalFree(handle); // the handle only
    std::free(memory);
}

// Pages that are there again are zeros, of which the first reads share one.
void WrappedBlock::Discard() const {
    const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t before = (page - reinterpret_cast<uintptr_t>(memory) % page) % page;
    if (bytes >= before + page)
        madvise(memory + before, (bytes - before) / page * page, MADV_DONTNEED);
}

WrappedBlock::WrappedBlock(WrappedBlock &&other) noexcept
    : module(other.module), handle(std::exchange(other.handle, 0)),
      memory(std::exchange(other.memory, nullptr)), bytes(std::exchange(other.bytes, 0)) {}

WrappedBlock &WrappedBlock::operator=(WrappedBlock &&other) noexcept {
    std::swap(module, other.module);
    std::swap(handle, other.handle);
    std::swap(memory, other.memory);
    std::swap(bytes, other.bytes);
    return *this;
}

Setup::Setup(const FilterModule &owner, const std::string &profilePath, const std::string &section)
    : module(owner), handle(owner.createSetup(0, profilePath.c_str(), section.c_str(), nullptr)) {
    if (handle == 0)
        throw Failure(KOWEN_HOST_ERR_MEMORY, "not enough memory for the filter's setup", ENOMEM);
}

void Setup::SetHostIo(HostIoProcedure procedure) const {
    module.escapeSetup(handle, KOWEN_ESCAPE_SET_HOST_IO, sizeof(int32_t),
                       reinterpret_cast<const void *>(procedure), nullptr, 0);
}

} // namespace kowen::host
