// An open file next to a string with a position, taken through the same steps.
//
// Where the interface leaves open what comes (after an error, a write may or may not need the
// buffer emptied; a memory file that cannot grow stops anywhere), the string is given up and only
// the sanitizers look on.
#pragma once

#include "fuzz/input.h"

#include "io/file_handle.h"
#include "kowen/codes.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace kowen::fuzz {

/// Beyond this nothing is written, and a memory file may be refused its block.
inline constexpr int64_t kFarAway = 1 << 20;

enum class FileKind { kMemory, kDisk };

/// What a file should hold.
struct PlainFile {
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
inline Bytes SomeBytes(Input *input) {
    const size_t count = input->Seldom(8) ? input->Below(26000) : input->Below(24);
    Bytes bytes = input->Take(std::min<size_t>(count, 24));
    bytes.resize(count, 1);
    for (size_t i = 24; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(bytes[i - 24] + 1);
    return bytes;
}

inline int32_t SomeOffset(Input *input) {
    if (input->Seldom(16))
        return input->Number<int32_t>();
    return input->Seldom(4) ? input->Between(-13000, 30000) : input->Between(-20, 60);
}

/// One open file and its string.
class FileComparison {
public:
    FileComparison(Input *bytes, FileKind itsKind, FileHandle handle, int32_t openMode,
                   int32_t step, PlainFile contents)
        : input(bytes), kind(itsKind), file(handle), mode(openMode), growBy(step),
          plain(std::move(contents)), lengthAtOpen(static_cast<int64_t>(plain.length)) {
        const bool starts = (openMode & KOWEN_MODE_CREATE) != 0;
        if (kind != FileKind::kMemory || (!starts && plain.length == 0))
            return;
        blockEnd = (starts ? static_cast<int64_t>(plain.room.size()) : lengthAtOpen) - 1;
        reach = lengthAtOpen - 1;
    }

    void Reset() { isKnown = false; }
    bool IsKnown() const { return isKnown; }
    bool HasFailed() const { return hasFailed; }
    const PlainFile &Expected() const { return plain; }

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
            hasFailed || (kind == FileKind::kMemory ? growBy <= 0 : mode == kModeRead);
        const auto count = static_cast<int32_t>(bytes.size());
        const int32_t written = qivWrite(file, bytes.data(), count);
        Require(written == count || written == 0 || written == -1, "all or nothing");
        Require(written == count || mayFail || !isKnown, "a write that succeeds");
        if (written != count || (kind == FileKind::kDisk && mode == kModeRead))
            isKnown = false;
        if (isKnown) {
            NoteSteps(plain.position, count);
            plain.Write(bytes);
        }
    }

    // Each byte that fills a memory file's block is found by a step, and is the last one that a
    // seek reaches in a file that was not opened for writing.
    void NoteSteps(int64_t position, int64_t count) {
        if (position > blockEnd + 1)
            reach.reset();
        for (int64_t at = std::max(position, blockEnd); reach && at < position + count;
             at = std::max(at + 1, blockEnd)) {
            reach = std::max(at, static_cast<int64_t>(plain.length) - 1);
            blockEnd += growBy;
        }
    }

    // Both may move the position, behind or to the start of the buffer.
    void Flush(bool fill) {
        const int32_t result = fill ? FillQivIOBuf(file) : FlushQivIO(file);
        Require(result >= -1, "bytes or -1");
        if (result == -1 && isKnown) {
            Require(!fill && kind == FileKind::kMemory && (growBy <= 0 || isHuge),
                    "a flush that succeeds");
            hasFailed = true;
            isKnown = !isHuge;
        }
        if (isKnown)
            plain.position = qivSeek(file, 0, kFromCurrent);
        if (isKnown && !fill && reach && result != -1) {
            reach = static_cast<int64_t>(plain.length) - 1;
            blockEnd += growBy;
        }
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
        const int isMemory = kind == FileKind::kMemory ? 1 : 0; // its last byte is the limit
        if (!IsWritable() && target > static_cast<int64_t>(plain.length) - isMemory)
            return false;
        if (!IsWritable() && isMemory && reach && target > *reach)
            return false;
        if (!IsWritable() && !(isMemory && reach) && target > lengthAtOpen - isMemory)
            return std::nullopt;
        if (kind == FileKind::kMemory && (growBy < 0 || target > kFarAway))
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
        if (kind == FileKind::kMemory)
            isKnown = reaches == false;
        else
            plain.position = qivSeek(file, 0, kFromCurrent);
    }

    Input *input;
    FileKind kind;
    FileHandle file;
    int32_t mode;
    int32_t growBy;
    PlainFile plain;
    int64_t lengthAtOpen;
    int64_t blockEnd = 0;         ///< of a memory file: the index of its block's last byte
    std::optional<int64_t> reach; ///< and of the last byte that its last step found
    bool isKnown = true;
    bool isHuge = false; ///< a block that may be refused any more
    bool hasFailed = false;
};

} // namespace kowen::fuzz
