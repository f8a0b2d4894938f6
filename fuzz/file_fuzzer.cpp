// Files opened, read, written, moved in, flushed, closed and opened again, in any order: in memory,
// on disk and served by a host. Beside each stands a string with a position.
//
// Where the interface leaves open what comes (after an error, a write may or may not need the
// buffer emptied; a memory file that cannot grow stops anywhere), the string is given up and only
// the sanitizers look on.
#include "fuzz/module_state.h"

#include "io/file_handle.h"
#include "kowen/codes.h"
#include "support/failing_disk.h"
#include "support/temp_directory.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::Require;

constexpr int kMostFiles = 4;
constexpr int kMostSteps = 30;
// Beyond this nothing is written, and a memory file may be refused its block.
constexpr int64_t kFarAway = 1 << 20;
constexpr const char *kName = "a.bin";

enum class Kind { kMemory, kDisk };

/// What a file should hold.
struct Plain {
    std::string room; ///< of a memory file also what is behind the end: a gap shows it
    size_t length = 0;
    int64_t position = 0;

    std::string Contents() const { return room.substr(0, length); }

    std::string Read(size_t count) {
        const auto at = static_cast<size_t>(position);
        const std::string bytes = at < length ? Contents().substr(at, count) : "";
        position += static_cast<int64_t>(bytes.size());
        return bytes;
    }
    void Write(const Bytes &bytes) {
        if (bytes.empty())
            return;
        const auto end = static_cast<size_t>(position) + bytes.size();
        room.resize(std::max(room.size(), end), '\0');
        std::copy(bytes.begin(), bytes.end(), room.begin() + static_cast<std::ptrdiff_t>(position));
        length = std::max(length, end);
        position = static_cast<int64_t>(end);
    }
};

// Seldom more than a few bytes; sometimes more than a buffer.
Bytes SomeBytes(Input *input) {
    const size_t count = input->Seldom(8) ? input->Below(26000) : input->Below(24);
    Bytes bytes = input->Take(std::min<size_t>(count, 24));
    bytes.resize(count, 1);
    for (size_t i = 24; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(bytes[i - 24] + 1);
    return bytes;
}

int32_t SomeOffset(Input *input) {
    if (input->Seldom(16))
        return input->Number<int32_t>();
    return input->Seldom(4) ? input->Between(-13000, 30000) : input->Between(-20, 60);
}

/// One open file and its string.
class Comparison {
public:
    Comparison(Input *bytes, Kind itsKind, FileHandle handle, int32_t openMode, int32_t step,
               Plain contents)
        : input(bytes), kind(itsKind), file(handle), mode(openMode), growBy(step),
          plain(std::move(contents)), lengthAtOpen(static_cast<int64_t>(plain.length)) {}

    void Forget() { isKnown = false; }
    bool IsKnown() const { return isKnown; }
    bool HasFailed() const { return hasFailed; }
    const Plain &Expected() const { return plain; }

    void Step() {
        switch (input->Below(8)) {
        case 0:
        case 1:
            Read();
            break;
        case 2:
        case 3:
            Write();
            break;
        case 4:
            Flush(input->Bool());
            break;
        default:
            Seek();
            break;
        }
        if (isKnown)
            Require(qivSeek(file, 0, kFromCurrent) == plain.position, "the position");
    }

private:
    bool IsWritable() const { return (mode & 3) != 0; }

    void Read() {
        const int32_t count = input->Seldom(8) ? input->Between(-1, 26000) : input->Between(0, 40);
        const auto room = static_cast<size_t>(std::max(count, 0));
        const std::unique_ptr<char[]> buffer(new char[room]);
        const int32_t got = qivRead(file, buffer.get(), count);
        Require(got >= -1 && got <= std::max(count, 0), "a count that fits into the buffer");
        if (!isKnown)
            return;
        const std::string expected = plain.Read(room);
        Require(got == static_cast<int32_t>(expected.size()), "the bytes that are there");
        Require(std::memcmp(buffer.get(), expected.data(), expected.size()) == 0, "the same bytes");
    }

    // A file opened for reading takes what fits into its buffer, for no good.
    void Write() {
        const Bytes bytes = SomeBytes(input);
        const int32_t position = qivSeek(file, 0, kFromCurrent);
        if (position < 0 || position > kFarAway)
            return;
        const bool mayFail =
            hasFailed || (kind == Kind::kMemory ? growBy <= 0 : mode == KOWEN_MODE_READ);
        const auto count = static_cast<int32_t>(bytes.size());
        const int32_t written = qivWrite(file, bytes.data(), count);
        Require(written == count || written == 0 || written == -1, "all or nothing");
        Require(written == count || mayFail || !isKnown, "a write that succeeds");
        if (written != count || (kind == Kind::kDisk && mode == KOWEN_MODE_READ))
            isKnown = false;
        if (isKnown)
            plain.Write(bytes);
    }

    // Both may move the position, behind or to the start of the buffer.
    void Flush(bool fill) {
        const int32_t result = fill ? FillQivIOBuf(file) : FlushQivIO(file);
        Require(result >= -1, "bytes or -1");
        if (result == -1 && isKnown) {
            Require(!fill && kind == Kind::kMemory && (growBy <= 0 || isHuge),
                    "a flush that succeeds");
            hasFailed = true;
            isKnown = !isHuge;
        }
        if (isKnown)
            plain.position = qivSeek(file, 0, kFromCurrent);
    }

    int64_t Target(int32_t offset, int32_t whence) const {
        return offset + (whence == kFromCurrent ? plain.position
                         : whence == kFromEnd   ? static_cast<int64_t>(plain.length)
                                                : 0);
    }

    // Whether a seek succeeds, where that can be told from outside.
    std::optional<bool> Reaches(int64_t target, int32_t offset, int32_t whence) const {
        if (whence == kFromCurrent && offset == 0)
            return true;
        if (whence < kFromStart || whence > kFromEnd || target < 0 || target > INT32_MAX)
            return false;
        if (whence == kFromEnd)
            return true;
        const int isMemory = kind == Kind::kMemory ? 1 : 0; // its last byte is the limit
        if (!IsWritable() && target > static_cast<int64_t>(plain.length) - isMemory)
            return false;
        if (!IsWritable() && target > lengthAtOpen - isMemory)
            return std::nullopt;
        if (kind == Kind::kMemory && (growBy < 0 || target > kFarAway))
            return std::nullopt;
        return true;
    }

    void Seek() {
        const int32_t offset = SomeOffset(input);
        const int32_t whence = input->Seldom(32) ? input->Number<int32_t>() : input->Between(0, 2);
        const int64_t target = Target(offset, whence);
        const std::optional<bool> reaches = Reaches(target, offset, whence);
        const int32_t result = qivSeek(file, offset, whence);
        if (!isKnown)
            return;
        if (result != -1) {
            Require(reaches != false, "a place that is refused");
            Require(result == target, "the place that was asked for");
            plain.position = result;
            isHuge = isHuge || result > kFarAway;
            return;
        }
        Require(reaches != true, "a place that is reached");
        hasFailed = true;
        // A block that could not grow is lost. On disk the buffer was emptied, maybe.
        if (kind == Kind::kMemory)
            isKnown = reaches == false;
        else
            plain.position = qivSeek(file, 0, kFromCurrent);
    }

    Input *input;
    Kind kind;
    FileHandle file;
    int32_t mode;
    int32_t growBy;
    Plain plain;
    int64_t lengthAtOpen;
    bool isKnown = true;
    bool isHuge = false; ///< a block that may be refused any more
    bool hasFailed = false;
};

int32_t AnyMode(Input *input) {
    constexpr int32_t modes[] = {0, 1, 2, 3, 4096, 4097, 4098, 4099};
    return input->Pick(modes);
}

void RunSteps(Input *input, Comparison *comparison) {
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
        Require((qivOpen(Path().c_str(), nullptr, KOWEN_MODE_EXISTS) != -1) == contents.has_value(),
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
        const auto file = static_cast<FileHandle>(qivOpen(nullptr, &descriptor, KOWEN_MODE_WRAP));
        Require(fails || file != 0, "a stream that can be wrapped");
        if (file != 0)
            RunOpen(input, file, KOWEN_MODE_WRAP, false, fails);
        std::fclose(stream);
        contents = ReadBack();
    }

    void RunOpen(Input *input, FileHandle file, int32_t mode, bool starts, bool fails) {
        Plain plain;
        plain.room = starts ? "" : *contents;
        plain.length = plain.room.size();
        Comparison comparison(input, Kind::kDisk, file, mode, 0, plain);
        if (fails)
            comparison.Forget();
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
    const Bytes block = SomeBytes(input);
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

    Plain plain;
    plain.room.assign(block.begin(), block.end());
    plain.length = starts ? 0 : static_cast<size_t>(std::max(TrimmedSize(block), 0));
    Comparison comparison(input, Kind::kMemory, file, mode, growBy, plain);
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

void HostStep(Input *input, FileHandle file, uintptr_t handle) {
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
}

// Whether a file exists, and its delete.
void AskHost(Input *input, QivIODesc *descriptor) {
    hostAnswer = input->Number<int32_t>();
    const bool asksForIt = input->Bool();
    const intptr_t answer =
        qivOpen(kName, descriptor, asksForIt ? KOWEN_MODE_EXISTS : KOWEN_MODE_DELETE);
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
    for (int step = 0; step < kMostSteps && input->Left() > 0 && !input->Seldom(16); ++step)
        HostStep(input, file, handle);
    hostAnswer = input->Number<int32_t>();
    if (input->Bool()) {
        RequireCall(handle, KOWEN_IO_CLOSE, 0, qivClose(file));
    } else {
        Require(qivCloseandDelete(file, "") == 0, "the result of a delete");
        RequireCall(handle, KOWEN_IO_CLOSE, KOWEN_MODE_DELETE, static_cast<int32_t>(hostAnswer));
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
