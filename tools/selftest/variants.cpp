#include "selftest/variants.h"

#include "failure.h"
#include "host_library.h"
#include "platform/instruction_sets.h"

#include <cstdint>
#include <cstring>
#include <dlfcn.h>
#include <link.h>
#include <memory>
#include <sstream>
#include <string_view>

namespace kowen::cli {
namespace {

constexpr char kNoteOwner[] = "kowen";

struct Search {
    uintptr_t address; ///< in the module
    std::string text;  ///< of its note
};

size_t Padded(size_t size) {
    return (size + 3) / 4 * 4;
}

// The notes of one segment, each a head and two padded texts.
void ReadNotes(const char *at, size_t size, std::string *text) {
    const char *end = at + size;
    ElfW(Nhdr) head;
    while (static_cast<size_t>(end - at) >= sizeof head) {
        std::memcpy(&head, at, sizeof head);
        const char *name = at + sizeof head;
        const char *value = name + Padded(head.n_namesz);
        if (Padded(head.n_namesz) + Padded(head.n_descsz) > static_cast<size_t>(end - name))
            return;
        if (head.n_namesz == sizeof kNoteOwner && std::memcmp(name, kNoteOwner, head.n_namesz) == 0)
            text->assign(value, strnlen(value, head.n_descsz));
        at = value + Padded(head.n_descsz);
    }
}

bool Holds(const dl_phdr_info &object, uintptr_t address) {
    for (int i = 0; i < object.dlpi_phnum; ++i) {
        const ElfW(Phdr) &segment = object.dlpi_phdr[i];
        if (segment.p_type == PT_LOAD &&
            address - object.dlpi_addr - segment.p_vaddr < segment.p_memsz)
            return true;
    }
    return false;
}

int Visit(dl_phdr_info *object, size_t, void *context) {
    auto *search = static_cast<Search *>(context);
    if (!Holds(*object, search->address))
        return 0;
    for (int i = 0; i < object->dlpi_phnum; ++i) {
        const ElfW(Phdr) &segment = object->dlpi_phdr[i];
        if (segment.p_type == PT_NOTE)
            ReadNotes(reinterpret_cast<const char *>(object->dlpi_addr + segment.p_vaddr),
                      segment.p_memsz, &search->text);
    }
    return 1;
}

bool ProcessorRuns(std::string_view variant) {
    if (variant == "sse41")
        return MachineHas(InstructionSet::kSse41);
    if (variant == "avx2")
        return MachineHas(InstructionSet::kAvx2);
    if (variant == "avx512")
        return MachineHas(InstructionSet::kAvx512);
    if (variant == "neon")
        return MachineHas(InstructionSet::kNeon);
    return variant == "scalar";
}

} // namespace

std::vector<std::string> VariantsOf(const std::string &modulePath) {
    const auto unload = [](void *library) { dlclose(library); };
    const std::unique_ptr<void, decltype(unload)> library(
        dlopen(FileNameOf(modulePath).c_str(), RTLD_NOW | RTLD_LOCAL), unload);
    if (!library)
        throw Failure(dlerror());
    Search search = {reinterpret_cast<uintptr_t>(dlsym(library.get(), "fltLoadPointers")), ""};
    dl_iterate_phdr(Visit, &search);
    std::vector<std::string> variants;
    std::istringstream names(search.text);
    for (std::string name; names >> name;)
        if (ProcessorRuns(name))
            variants.push_back(name);
    return variants;
}

} // namespace kowen::cli
