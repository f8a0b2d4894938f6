// Lines of text read and written with any line ends, into buffers of any size.
//
// The input is text: a line of operations, then the file. An operation is a letter and a sign that
// tells how many (0 for none, 1 for one): r reads a line into so many bytes, w writes one of so
// many characters, f chooses the line format of that number, g finds the file's. A string with a
// position does the same by the book.
#include "fuzz/input.h"

#include "io/typed_io.h"
#include "support/memory_output.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace kowen;
using fuzz::Input;
using fuzz::Require;

constexpr char kUntouched = '\xA5';

struct PlainFile {
    std::string bytes;
    size_t position = 0;
    int format = kLinesEndLf;

    std::optional<char> Next() {
        if (position == bytes.size())
            return std::nullopt;
        return bytes[position++];
    }

    void Write(const std::string &text) {
        bytes.replace(position, text.size(), text);
        position += text.size();
    }

    std::string LineEnd() const {
        return format == kLinesEndCr ? "\r" : format == kLinesEndLf ? "\n" : "\r\n";
    }
};

/// A line as it is read: the result and what the buffer then holds.
struct Line {
    int32_t result;
    std::string buffer;
};

// A line that fills its buffer, or that the file's end ends, has no zero after it.
Line ReadPlainly(PlainFile *file, size_t size) {
    Line line = {0, std::string(size, kUntouched)};
    if (size > 0)
        line.buffer[0] = '\0';
    for (size_t stored = 0; stored < size; line.result = static_cast<int32_t>(stored)) {
        const std::optional<char> c = file->Next();
        if (!c)
            return {-1, line.buffer};
        if (*c == '\n' || *c == '\r') {
            line.buffer[stored] = '\0';
            if (*c == '\n')
                return line;
            const std::optional<char> after = file->Next();
            if (after && *after != '\n')
                --file->position;
            return after ? line : Line{-1, line.buffer};
        }
        line.buffer[stored++] = *c;
        if (stored < size)
            line.buffer[stored] = '\0';
    }
    return line;
}

int32_t FormatPlainly(PlainFile *file) {
    const size_t end = file->bytes.find_first_of("\r\n", file->position);
    file->position = 0;
    if (end == std::string::npos)
        return -1;
    if (file->bytes[end] == '\n')
        return kLinesEndLf;
    return file->bytes.substr(end, 2) == "\r\n" ? kLinesEndCrLf : kLinesEndCr;
}

void Read(FileHandle file, PlainFile *plain, int32_t size) {
    const auto room = static_cast<size_t>(std::max(size, 0));
    const std::unique_ptr<char[]> buffer(new char[room]);
    std::fill_n(buffer.get(), room, kUntouched);
    const Line expected = ReadPlainly(plain, room);
    Require(qivReadLine(file, buffer.get(), size) == expected.result, "the line's length");
    Require(std::string(buffer.get(), room) == expected.buffer, "the line");
}

void Write(FileHandle file, PlainFile *plain, int32_t length) {
    const std::string text(static_cast<size_t>(std::max(length, 0)), 'x');
    plain->Write(text);
    plain->Write(plain->LineEnd());
    Require(qivWriteLine(file, text.data(), length) == std::max(length, 0), "the length written");
}

void Run(char letter, int32_t number, FileHandle file, PlainFile *plain) {
    switch (letter) {
    case 'r':
        return Read(file, plain, number);
    case 'w':
        return Write(file, plain, number);
    case 'f':
        plain->format = number;
        qivSetLineFormat(file, static_cast<uint16_t>(number));
        return;
    case 'g':
        Require(qivGetLineFormat(file) == FormatPlainly(plain), "the line format");
        return;
    default:
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const std::string operations = input.Text("\n");
    PlainFile plain;
    plain.bytes = input.Text("");
    const MemoryOutput output;
    const FileHandle file = output.File();
    qivWrite(file, plain.bytes.data(), static_cast<int32_t>(plain.bytes.size()));
    qivSeek(file, 0, kFromStart);
    for (size_t i = 0; i + 1 < operations.size(); i += 2) {
        Run(operations[i], operations[i + 1] - '0', file, &plain);
        Require(qivSeek(file, 0, kFromCurrent) == static_cast<int32_t>(plain.position),
                "the position");
    }
    qivSeek(file, 0, kFromEnd);
    const std::vector<uint8_t> bytes = output.Bytes();
    Require(std::string(bytes.begin(), bytes.end()) == plain.bytes, "what the file holds");
    return 0;
}
