// Records moved by descriptions of any text, and descriptions measured.
//
// The input is the description, a line of text, then settings and bytes. Beside the module walks
// the plainest reading of the same description, which knows beforehand how much memory the records
// take: the module gets exactly that much.
#include "fuzz/input.h"

#include "io/struct_io.h"
#include "io/typed_io.h"
#include "support/memory_output.h"

#include <bit>
#include <cmath>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::Require;

constexpr int64_t kMostMemory = 1 << 20;
constexpr uint64_t kUnmeasurable = UINT32_MAX;

char Upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c;
}

int Width(char code) {
    const size_t place = std::string_view("CSLFD").find(code);
    constexpr int widths[] = {1, 2, 4, 4, 8};
    return place == std::string_view::npos ? 0 : widths[place];
}

/// One code and the count before it; end says where the next one starts.
struct Item {
    char code;
    uint64_t count;
    size_t end;
};

Item ItemAt(std::string_view text, size_t at) {
    uint64_t count = 0;
    const size_t digits = at;
    for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at)
        count = std::min<uint64_t>(count * 10 + static_cast<uint64_t>(text[at] - '0'), UINT32_MAX);
    const char code = at < text.size() ? Upper(text[at]) : '\0';
    return {code, at > digits ? count : 1, at + 1};
}

int PadWidth(std::string_view text) {
    int depth = text.substr(0, 1) == "{" || text.substr(0, 1) == "(" ? 0 : 1;
    int width = 1;
    for (const char c : text) {
        depth += c == '{' || c == '(' ? 1 : c == '}' || c == ')' ? -1 : 0;
        width = std::max(width, Width(Upper(c)));
        if (depth <= 0)
            break;
    }
    return width;
}

uint64_t RoundedUp(uint64_t size, int width) {
    const auto step = static_cast<uint64_t>(width);
    return (size + step - 1) / step * step;
}

/// A union's size and the place of its closing bracket, or of the text's end.
struct Union {
    uint64_t size;
    size_t end;
};

// nesting counts the brackets that are open, the union's own among them.
Union MeasureUnion(std::string_view text, size_t at, int nesting) {
    if (nesting > kMaxNesting)
        return {kUnmeasurable, text.size()};
    uint64_t largest = 0;
    uint64_t alternative = 0;
    int structures = 0;
    for (++at; at < text.size() && text[at] != ')';) {
        const Item item = ItemAt(text, at);
        if (item.code == ')' || item.code == '\0')
            return {std::min(largest, kUnmeasurable), std::min(item.end - 1, text.size())};
        at = item.end;
        if (const int width = Width(item.code))
            alternative = RoundedUp(alternative, width) + item.count * static_cast<uint64_t>(width);
        if (item.code == '|')
            largest = std::max(largest, std::exchange(alternative, 0));
        if (item.code == '}')
            structures = std::max(structures - 1, 0);
        if (item.code != '{' && item.code != '(')
            continue;
        if (nesting + structures + 1 > kMaxNesting)
            return {kUnmeasurable, text.size()};
        alternative = RoundedUp(alternative, PadWidth(text.substr(item.end - 1)));
        if (item.code == '{') {
            ++structures;
            continue;
        }
        const Union inner = MeasureUnion(text, item.end - 1, nesting + structures + 1);
        if (inner.size >= kUnmeasurable)
            return {kUnmeasurable, text.size()};
        alternative += inner.size;
        at = std::min(inner.end + 1, text.size());
    }
    return {std::min(largest, kUnmeasurable), at};
}

/// The file's bytes and settings.
struct PlainFile {
    Bytes bytes;
    size_t position = 0;
    bool isBigEndian = false;
    bool isFixedPoint = false;
};

/// The value of a member as its bytes: turned, where file and host differ.
void Turn(const PlainFile &file, uint8_t *member, int width) {
    if (file.isBigEndian != (std::endian::native == std::endian::big))
        std::reverse(member, member + width);
}

/// One walk of records through a file.
class PlainWalk {
public:
    PlainWalk(std::string_view description, PlainFile *itsFile, Bytes *itsMemory, bool readsIt)
        : text(description), file(itsFile), memory(itsMemory), reads(readsIt) {}

    /// The result; none when the records take more memory than there is, or when a float has no
    /// place in the fixed-point format.
    std::optional<int64_t> Run(int32_t records) {
        for (; records > 0; --records) {
            nesting = 0;
            for (size_t at = 0; at < text.size() && last >= 1 && isKnown;)
                at = Do(ItemAt(text, at));
            if (last >= 1)
                Align(PadWidth(text), true);
            if (!isKnown)
                return std::nullopt;
            if (last < 1)
                return last;
            ++result;
        }
        return result;
    }

private:
    size_t Do(const Item &item) {
        const std::string_view from = text.substr(std::min(item.end - 1, text.size()));
        if (Width(item.code) != 0) {
            Move(item);
        } else if (item.code == '{') {
            if (++nesting > kMaxNesting)
                last = -1;
            else
                Align(PadWidth(from), true);
        } else if (item.code == '}') {
            nesting = std::max(nesting - 1, 0);
        } else if (item.code == '[' || item.code == ']') {
            transfers = item.code == ']';
        } else if (item.code == '(' && reads) {
            Align(PadWidth(from), true);
            const Union skipped = MeasureUnion(text, item.end - 1, nesting + 1);
            Pass(static_cast<int64_t>(skipped.size));
            return std::min(skipped.end + 1, text.size());
        } else if (item.code != '\0' || item.end <= text.size()) {
            if (item.code != '|' && !(reads && (item.code == ')' || item.code == 'P')))
                result = -1;
        }
        return item.end;
    }

    // Lets the offset go on over bytes of memory; beyond 31 bits the walk ends before.
    bool Pass(int64_t bytes) {
        if (offset + bytes > INT32_MAX) {
            last = -1;
            return false;
        }
        offset += bytes;
        if (offset > kMostMemory)
            isKnown = false;
        else if (memory->size() < static_cast<size_t>(offset))
            memory->resize(static_cast<size_t>(offset), kUntouched);
        return isKnown;
    }

    void Align(int width, bool isZeroed) {
        const auto gap = static_cast<int64_t>(RoundedUp(static_cast<uint64_t>(offset), width) -
                                              static_cast<uint64_t>(offset));
        if (Pass(gap) && reads && isZeroed)
            std::fill_n(memory->end() - Behind() - gap, gap, 0);
    }

    // How much memory is behind the offset; there is some only when writing.
    std::ptrdiff_t Behind() const {
        return static_cast<std::ptrdiff_t>(memory->size()) - static_cast<std::ptrdiff_t>(offset);
    }

    void Move(const Item &item) {
        const int width = Width(item.code);
        Align(width, item.code != 'S');
        if (last < 1 || !isKnown)
            return;
        const int64_t start = offset;
        if (!Pass(static_cast<int64_t>(item.count) * width) || !transfers)
            return;
        uint8_t *members = memory->data() + start;
        const auto bytes = static_cast<size_t>(offset - start);
        last = reads ? Read(item, members, bytes) : Write(item, members, bytes);
    }

    int64_t Read(const Item &item, uint8_t *members, size_t bytes) {
        const size_t got = std::min(bytes, file->bytes.size() - file->position);
        std::copy_n(file->bytes.begin() + static_cast<std::ptrdiff_t>(file->position), got,
                    members);
        file->position += got;
        const int width = Width(item.code);
        if (width == 1)
            return static_cast<int64_t>(got);
        if (got < bytes)
            return 0;
        for (uint64_t i = 0; i < item.count; ++i, members += width) {
            Turn(*file, members, width);
            if (item.code != 'F' || !file->isFixedPoint)
                continue;
            int32_t fixed;
            std::memcpy(&fixed, members, sizeof fixed);
            const auto value = static_cast<float>(fixed / 65536.0);
            std::memcpy(members, &value, sizeof value);
        }
        return static_cast<int64_t>(item.count);
    }

    int64_t Write(const Item &item, const uint8_t *members, size_t bytes) {
        Bytes out(members, members + bytes);
        const auto width = static_cast<size_t>(Width(item.code));
        for (size_t at = 0; at < bytes; at += width) {
            if (item.code == 'F' && file->isFixedPoint)
                WriteFixed(out.data() + at);
            else
                Turn(*file, out.data() + at, static_cast<int>(width));
        }
        file->bytes.resize(std::max(file->bytes.size(), file->position + bytes));
        std::copy(out.begin(), out.end(),
                  file->bytes.begin() + static_cast<std::ptrdiff_t>(file->position));
        file->position += bytes;
        return static_cast<int64_t>(item.count);
    }

    // Fraction and integer half, both truncated, in the host's order.
    void WriteFixed(uint8_t *member) {
        float value;
        std::memcpy(&value, member, sizeof value);
        if (!(std::abs(value) < 32768.0F)) {
            isKnown = false;
            return;
        }
        const auto integer = static_cast<int16_t>(value);
        const auto fraction = static_cast<int16_t>(
            static_cast<int32_t>((value - static_cast<float>(integer)) * 65536.0F));
        std::memcpy(member, &fraction, 2);
        std::memcpy(member + 2, &integer, 2);
    }

    static constexpr uint8_t kUntouched = 0xA5;

    std::string_view text;
    PlainFile *file;
    Bytes *memory;
    bool reads;
    int64_t offset = 0;
    int nesting = 0;
    bool transfers = true;
    int64_t last = 1;
    int64_t result = 0;
    bool isKnown = true;
};

void Measure(const std::string &text) {
    Require(GetPadWidth(text.c_str()) == PadWidth(text), "the pad width");
    const size_t bracket = text.find('(');
    if (bracket == std::string::npos)
        return;
    uint32_t size;
    const char *end = GetUnionSize(text.c_str() + bracket, &size);
    const Union expected = MeasureUnion(text, bracket, 1);
    Require(size == expected.size, "the union's size");
    Require(size == kUnmeasurable || end == text.c_str() + expected.end, "the union's end");
}

// Reads into memory of exactly the records' size.
void ReadRecords(const MemoryOutput &output, const std::string &text, int32_t records,
                 PlainFile *file) {
    Bytes expected;
    const std::optional<int64_t> result = PlainWalk(text, file, &expected, true).Run(records);
    if (!result)
        return;
    const std::unique_ptr<uint8_t[]> memory(new uint8_t[expected.size()]);
    std::fill_n(memory.get(), expected.size(), uint8_t{0xA5});
    Require(qivReadStruct(output.File(), text.c_str(), memory.get(), records) == *result,
            "the records read");
    Require(std::equal(expected.begin(), expected.end(), memory.get()), "what was read");
}

// Writes from memory of exactly the records' size, which a first walk tells.
void WriteRecords(Input *input, const MemoryOutput &output, const std::string &text,
                  int32_t records, PlainFile *file) {
    Bytes memory;
    PlainFile ignored = *file;
    ignored.isFixedPoint = false;
    if (!PlainWalk(text, &ignored, &memory, false).Run(records))
        return;
    memory = input->Fill(memory.size());
    const std::optional<int64_t> result = PlainWalk(text, file, &memory, false).Run(records);
    memory.shrink_to_fit();
    const int32_t written = qivWriteStruct(output.File(), text.c_str(), memory.data(), records);
    if (!result)
        return;
    Require(written == *result, "the records written");
    Require(output.Bytes() ==
                Bytes(file->bytes.begin(),
                      file->bytes.begin() + static_cast<std::ptrdiff_t>(file->position)),
            "what was written");
    qivSeek(output.File(), 0, kFromStart);
    file->position = 0;
    ReadRecords(output, text, records, file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const std::string text = input.Text("\n").c_str();
    Measure(text);
    PlainFile file;
    file.isBigEndian = input.Bool();
    file.isFixedPoint = input.Seldom(3);
    const int32_t records = input.Seldom(8) ? input.Between(-1, 300) : input.Between(0, 4);
    const bool reads = input.Bool();
    const MemoryOutput output;
    qivSetDataFormat(output.File(), file.isBigEndian ? 1 : 0, file.isFixedPoint ? 1 : 0);
    if (!reads) {
        WriteRecords(&input, output, text, records, &file);
        return 0;
    }
    file.bytes = input.Take(input.Left());
    qivWrite(output.File(), file.bytes.data(), static_cast<int32_t>(file.bytes.size()));
    qivSeek(output.File(), 0, kFromStart);
    ReadRecords(output, text, records, &file);
    return 0;
}
