#include "api/target.h"

#include "base/failure.h"

#include <cstddef>

namespace kowen::host {
namespace {

bool HasMemory(const KowenOutput &output) {
    return output.size >= offsetof(KowenOutput, memorySize) + sizeof output.memorySize;
}

} // namespace

Target::Target(KowenOutput *output) : given(output) {
    if (output == nullptr || !HasMemory(*output))
        throw BadArgument("there is no output: its record is null or its size is not set");
    output->memory = nullptr;
    output->memorySize = 0;
    if (output->path != nullptr && output->write != nullptr)
        throw BadArgument("an output is a file or a writer, not both");
    if (output->path == nullptr) {
        name = "the JPEG";
        return;
    }
    if (*output->path == '\0')
        throw BadArgument("the output's path is empty");
    name = output->path;
    file.emplace(name, output->replace);
}

Sink *Target::Open(Progress *progress) {
    if (file) {
        sink =
            std::make_unique<DescriptorSink>(file->Open(), [progress] { return !progress->Ask(); });
    } else if (given->write != nullptr) {
        sink = std::make_unique<WriterSink>(given->write, given->writeContext);
    } else {
        auto made = std::make_unique<MemorySink>();
        memory = made.get();
        sink = std::move(made);
    }
    return sink.get();
}

void Target::Commit() {
    if (file)
        file->Commit();
    if (memory == nullptr)
        return;
    given->memorySize = memory->Size();
    given->memory = memory->Release();
}

} // namespace kowen::host
