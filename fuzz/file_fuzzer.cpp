// Files opened, read, written, moved in, flushed, closed and opened again, in any order: in memory,
// on disk and served by a host. Beside each stands a string with a position.
#include "fuzz/file_comparison.h"
#include "fuzz/module_state.h"

#include "io/file_handle.h"
#include "kowen/codes.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::FileComparison;
using fuzz::Input;
using fuzz::PlainFile;
using fuzz::Require;

constexpr int kMostFiles = 4;
constexpr int kMostSteps = 30;
constexpr const char *kName = "a.bin";

int32_t AnyMode(Input *input) {
    constexpr int32_t modes[] = {0, 1, 2, 3, 4096, 4097, 4098, 4099};
    return input->Pick(modes);
}

void RunSteps(Input *input, FileComparison *comparison) {
    for (int step = 0; step < kMostSteps && input->Left() > 0 && !input->Seldom(24); ++step)
        comparison->Step();
}

/// The file on disk, from open to open.
class Disk {
public:
    Disk() { Remove(); }
    ~Disk() { Remove(); }

    void Run(Input *input) {
        const int32_t mode = AnyMode(input);
        Require((qivOpen(Path().c_str(), nullptr, kModeExists) != -1) == contents.has_value(),
                "whether it exists");
        const bool starts = mode >= KOWEN_MODE_CREATE || mode == KOWEN_MODE_WRITE;
        FailingDisk failing;
        const bool fails = input->Seldom(8);
        if (fails)
            failing.Fail(static_cast<FailingDisk::Operation>(input->Below(FailingDisk::kRemove)),
                         input->Between(1, 12),
                         input->Bool() ? FailingDisk::kOnlyThat : FailingDisk::kThatAndAllLater);
        if (contents && input->Seldom(6))
            return RunWrapped(input, fails);
        const auto file = static_cast<FileHandle>(qivOpen(Path().c_str(), nullptr, mode));
        Require(fails || (file != 0) == (starts || contents.has_value()), "whether it opens");
        if (file != 0)
            RunOpen(input, file, mode, starts, fails);
        else if (fails)
            contents = ReadBack();
    }

private:
    // A stream of the caller's, which stays open.
    void RunWrapped(Input *input, bool fails) {
        std::FILE *stream = std::fopen(Path().c_str(), "r+b");
        QivIODesc descriptor = {};
        descriptor.stream = stream;
        const auto file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, kModeWrap));
        Require(fails || file != 0, "a stream that can be wrapped");
        if (file != 0)
            RunOpen(input, file, kModeWrap, false, fails);
        std::fclose(stream);
        contents = ReadBack();
    }

    void RunOpen(Input *input, FileHandle file, int32_t mode, bool starts, bool fails) {
        PlainFile plain;
        plain.room = starts ? "" : *contents;
        plain.length = plain.room.size();
        FileComparison comparison(input, fuzz::FileKind::kDisk, file, mode, 0, plain);
        if (fails)
            comparison.Reset();
        RunSteps(input, &comparison);
        if (input->Seldom(8) && !fails) {
            Require(qivCloseandDelete(file, Path().c_str()) == 0, "the result of a delete");
            contents.reset();
            Require(!Directory().Has(kName), "a file that is gone");
            return;
        }
        const int32_t result = qivClose(file);
        contents = ReadBack();
        if (!comparison.IsKnown())
            return;
        Require(result == 0, "a close that succeeds");
        Require(contents == comparison.Expected().Contents(), "what is on disk");
    }

    static const TempDirectory &Directory() {
        static const TempDirectory made;
        return made;
    }
    static std::string Path() { return Directory().File(kName); }
    static void Remove() { qivOpen(Path().c_str(), nullptr, KOWEN_MODE_DELETE); }
    static std::optional<std::string> ReadBack() {
        if (!Directory().Has(kName))
            return std::nullopt;
        return Directory().Read(kName);
    }

    std::optional<std::string> contents;
};

/// A block without its trailing zeros and one byte more; what the descriptor then says.
int32_t TrimmedSize(const Bytes &block) {
    auto size = static_cast<int32_t>(block.size());
    while (size > 0 && block[static_cast<size_t>(size - 1)] == 0)
        --size;
    return size - 1;
}

void RunMemory(Input *input) {
    const int32_t mode = AnyMode(input);
    const bool starts = mode >= KOWEN_MODE_CREATE;
    const Bytes block = fuzz::SomeBytes(input);
    const int32_t growBy = input->Seldom(8) ? input->Between(-1, 0) : input->Between(1, 700);
    void *data = GlobalLock(GlobalAlloc(kGlobalFlags, static_cast<uint32_t>(block.size())));
    std::copy(block.begin(), block.end(), static_cast<uint8_t *>(data));
    QivIODesc descriptor = {};
    descriptor.location = &data;
    descriptor.size = static_cast<int32_t>(block.size());
    descriptor.growBy = growBy;
    const auto file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, mode));
    Require(file != 0, "a memory file that opens");
    Require(starts || descriptor.size == TrimmedSize(block), "the size without its zeros");

    PlainFile plain;
    plain.room.assign(block.begin(), block.end());
    plain.length = starts ? 0 : static_cast<size_t>(std::max(TrimmedSize(block), 0));
    FileComparison comparison(input, fuzz::FileKind::kMemory, file, mode, growBy, plain);
    RunSteps(input, &comparison);
    const int32_t result = qivClose(file);
    if (comparison.IsKnown()) {
        std::string expected = comparison.Expected().Contents();
        const bool mayFail = comparison.HasFailed() || growBy <= 0;
        const bool isMarked = (mode & 3) != 0 && !mayFail;
        Require(result == 0 || mayFail, "a close that succeeds");
        if (isMarked)
            expected += '\xFF';
        Require(GlobalSize(GlobalHandle(data)) >= expected.size(), "a block that holds it");
        Require(std::memcmp(data, expected.data(), expected.size()) == 0, "what is in memory");
    }
    GlobalFree(GlobalHandle(data));
}

/// A host that answers as the input says and keeps its last call.
struct HostCall {
    uintptr_t handle;
    int32_t operation;
    const void *argument;
    int32_t offset; ///< of a seek
    int32_t count;
};
HostCall lastCall;
int hostCalls;
intptr_t hostAnswer;

intptr_t Procedure(uintptr_t handle, int32_t operation, void *argument, int32_t count) {
    lastCall = {handle, operation, argument, 0, count};
    if (operation == KOWEN_IO_SEEK)
        std::memcpy(&lastCall.offset, argument, sizeof lastCall.offset);
    ++hostCalls;
    return hostAnswer;
}

// One call of the procedure with these words, whose answer comes back.
void RequireCall(uintptr_t handle, int32_t operation, int32_t count, int32_t result) {
    Require(std::exchange(hostCalls, 0) == 1, "one call");
    Require(lastCall.handle == handle && lastCall.operation == operation, "the operation");
    Require(lastCall.count == count, "the count");
    Require(result == static_cast<int32_t>(hostAnswer), "the host's answer");
}

// What the host's answers to writes tell of bytes that it has not taken.
struct Taken {
    bool less = false;   ///< once
    bool counts = false; ///< it answers how many it has taken, and not only "done"

    void Note(int32_t count) {
        if (count > 0 && hostAnswer < count)
            less = true;
        else if (count > 1)
            counts = true;
    }
};

void HostStep(Input *input, FileHandle file, uintptr_t handle, Taken *taken) {
    char buffer[16];
    hostAnswer = input->Number<int32_t>();
    const int32_t count = input->Between(-2, 16);
    const int32_t operation = input->Between(KOWEN_IO_READ, KOWEN_IO_SEEK);
    if (operation == KOWEN_IO_SEEK) {
        const int32_t offset = input->Number<int32_t>();
        RequireCall(handle, operation, count, qivSeek(file, offset, count));
        Require(lastCall.offset == offset, "the offset");
        return;
    }
    const int32_t result =
        operation == KOWEN_IO_READ ? qivRead(file, buffer, count) : qivWrite(file, buffer, count);
    if (count < 0) {
        Require(result == 0 && hostCalls == 0, "no call for less than nothing");
        return;
    }
    RequireCall(handle, operation, count, result);
    Require(lastCall.argument == buffer, "the buffer");
    if (operation == KOWEN_IO_WRITE)
        taken->Note(count);
}

// Whether a file exists, and its delete.
void AskHost(Input *input, QivIODesc *descriptor) {
    hostAnswer = input->Number<int32_t>();
    const bool asksForIt = input->Bool();
    const intptr_t answer = qivOpen(kName, descriptor, asksForIt ? kModeExists : KOWEN_MODE_DELETE);
    RequireCall(0, asksForIt ? KOWEN_IO_EXISTS : KOWEN_IO_DELETE, 0, static_cast<int32_t>(answer));
    Require(lastCall.argument == kName, "the name");
}

void RunHost(Input *input) {
    const int32_t mode = AnyMode(input);
    QivIODesc descriptor = {};
    descriptor.location = &descriptor;
    descriptor.procedure = Procedure;
    hostCalls = 0;
    if (input->Seldom(8))
        return AskHost(input, &descriptor);
    const uintptr_t handle = hostAnswer = input->Byte();
    const auto file = static_cast<FileHandle>(qivOpen("", &descriptor, mode));
    Require((file != 0) == (handle != 0), "a file that the host opens");
    Require(std::exchange(hostCalls, 0) == 1 && lastCall.operation == KOWEN_IO_OPEN &&
                lastCall.count == mode,
            "one call to open");
    if (file == 0)
        return;
    Taken taken;
    for (int step = 0; step < kMostSteps && input->Left() > 0 && !input->Seldom(16); ++step)
        HostStep(input, file, handle, &taken);
    hostAnswer = input->Number<int32_t>();
    const auto answer = static_cast<int32_t>(hostAnswer);
    if (input->Bool()) {
        const bool isLost = answer == 0 && taken.less && taken.counts;
        Require(qivClose(file) == (isLost ? -1 : answer), "the result of a close");
        RequireCall(handle, KOWEN_IO_CLOSE, 0, answer);
    } else {
        Require(qivCloseandDelete(file, "") == 0, "the result of a delete");
        RequireCall(handle, KOWEN_IO_CLOSE, KOWEN_MODE_DELETE, answer);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    const fuzz::MemoryLimit limit;
    Input input(data, size);
    Disk disk;
    for (int i = 0; i < kMostFiles && input.Left() > 0; ++i) {
        switch (input.Below(4)) {
        case 0:
            RunMemory(&input);
            break;
        case 1:
            RunHost(&input);
            break;
        default:
            disk.Run(&input);
            break;
        }
    }
    return 0;
}
