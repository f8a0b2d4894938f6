#include "export/output_file.h"

#include "kowen/codes.h"
#include "platform/global_memory.h"
#include "setup/setup.h"

#include <cstring>

namespace kowen {
namespace {

constexpr int32_t kOpenMode = KOWEN_MODE_CREATE | KOWEN_MODE_WRITE;
constexpr uint32_t kFirstBlockBytes = 1;
constexpr int32_t kGrowthBytes = 4096;

OutputKind KindOf(const OutputTarget &target) {
    if (target.procedure)
        return OutputKind::kHost;
    return target.name && target.name[0] ? OutputKind::kNamed : OutputKind::kMemory;
}

FileHandle OpenForWriting(const char *name, QivIODesc *descriptor) {
    return static_cast<FileHandle>(qivOpen(name, descriptor, kOpenMode));
}

FileHandle OpenHost(const OutputTarget &target) {
    QivIODesc descriptor = {};
    descriptor.location = reinterpret_cast<void *>(target.ioContext);
    descriptor.procedure = target.procedure;
    return OpenForWriting(target.name ? target.name : "", &descriptor);
}

FileHandle OpenMemory(void **block) {
    QivIODesc descriptor = {};
    descriptor.location = block;
    descriptor.growBy = kGrowthBytes;
    return OpenForWriting(nullptr, &descriptor);
}

void ClearIn(SetupRecord *setup, FileHandle file) {
    if (setup && setup->header.outputFile == file)
        setup->header.outputFile = 0;
}

} // namespace

bool KeepOutputName(SetupRecord &setup, const char *name) noexcept {
    const std::size_t length = name ? std::strlen(name) : 0;
    setup.outputName[0] = '\0';
    if (length >= sizeof(setup.outputName))
        return false;
    if (length > 0)
        std::memcpy(setup.outputName, name, length + 1);
    return true;
}

int32_t OpenOutput(const OutputTarget &target, void **block, OutputFile *output) noexcept {
    *output = {0, KindOf(target)};
    *block = nullptr;
    if (output->kind == OutputKind::kHost) {
        output->file = OpenHost(target);
        return KOWEN_OK;
    }
    if (output->kind == OutputKind::kNamed) {
        output->file = OpenForWriting(target.name, nullptr);
    } else {
        *block = GlobalLock(GlobalAlloc(kGlobalFlags, kFirstBlockBytes));
        if (!*block)
            return KOWEN_ERR_MEMORY_OUTPUT;
        output->file = OpenMemory(block);
    }
    return output->file ? KOWEN_OK : KOWEN_ERR_OUTPUT;
}

int32_t CloseOutput(FileHandle file) noexcept {
    const int32_t result = qivClose(file);
    ClearOutput(file);
    return result;
}

void ClearOutput(FileHandle file) noexcept {
    ClearIn(lpRaster, file);
    ClearIn(lpSetup, file);
}

MemoryHandle OutputBlock(void *const *block) noexcept {
    return GlobalHandle(*block);
}

void FreeOutputBlock(void **block) noexcept {
    GlobalFree(OutputBlock(block));
    *block = nullptr;
}

} // namespace kowen
