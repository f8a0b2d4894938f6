#include "io/struct_io.h"

#include "io/typed_io.h"

#include <algorithm>
#include <cstring>

namespace kowen {
namespace {

constexpr uint32_t kUnmeasurable = UINT32_MAX;

char UpperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

// Bytes of one member of a code; 0 for a code that is no member.
int32_t MemberBytes(char code) {
    switch (code) {
    case 'C':
        return 1;
    case 'S':
        return 2;
    case 'L':
    case 'F':
        return 4;
    case 'D':
        return 8;
    default:
        return 0;
    }
}

// Reads the count in front of a code, 1 without digits, UINT32_MAX at most; text then stands at
// the code.
uint32_t TakeCount(const char *&text) {
    if (*text < '0' || *text > '9')
        return 1;
    uint64_t count = 0;
    for (; *text >= '0' && *text <= '9'; ++text)
        count = std::min<uint64_t>(count * 10 + static_cast<uint64_t>(*text - '0'), UINT32_MAX);
    return static_cast<uint32_t>(count);
}

// Both saturate at UINT32_MAX.
uint32_t AddSaturated(uint32_t size, uint64_t more) {
    return static_cast<uint32_t>(std::min<uint64_t>(size + more, UINT32_MAX));
}

uint32_t RoundUpSaturated(uint32_t size, uint32_t width) {
    return AddSaturated(size, (width - size % width) % width);
}

// The size of a union's alternative, as far as it has been measured.
void AddMembers(uint32_t &size, uint32_t width, uint32_t count) {
    size = AddSaturated(RoundUpSaturated(size, width), uint64_t{count} * width);
}

const char *MeasureUnion(const char *text, uint32_t *size, int32_t nesting);

// Adds a union or the start of a structure, which text stands at. Returns the union's end, the
// structure's start, or null when the brackets are nested too deep.
const char *AddNested(uint32_t &size, const char *text, int32_t nesting) {
    if (nesting > kMaxNesting)
        return nullptr;
    size = RoundUpSaturated(size, static_cast<uint32_t>(GetPadWidth(text)));
    if (*text == '{')
        return text;
    uint32_t nested;
    text = MeasureUnion(text, &nested, nesting);
    size = AddSaturated(size, nested);
    return nested == kUnmeasurable ? nullptr : text;
}

// GetUnionSize; nesting counts the brackets that are open, the union's own among them.
const char *MeasureUnion(const char *text, uint32_t *size, int32_t nesting) {
    if (nesting > kMaxNesting) {
        *size = kUnmeasurable;
        return text + std::strlen(text);
    }
    *size = 0;
    uint32_t alternative = 0;
    int32_t structures = 0;
    if (*text)
        ++text;
    while (*text && *text != ')') {
        const uint32_t count = TakeCount(text);
        const char code = UpperCase(*text);
        if (code == '\0' || code == ')')
            break;
        if (const int32_t width = MemberBytes(code)) {
            AddMembers(alternative, static_cast<uint32_t>(width), count);
        } else if (code == '|') {
            *size = std::max(*size, alternative);
            alternative = 0;
        } else if (code == '}') {
            structures = std::max(structures - 1, 0);
        } else if (code == '{' || code == '(') {
            const char *last = AddNested(alternative, text, nesting + structures + 1);
            if (!last) {
                *size = kUnmeasurable;
                return text + std::strlen(text);
            }
            structures += code == '{' ? 1 : 0;
            text = last;
        }
        if (*text)
            ++text;
    }
    return text;
}

// One walk over the description for each record. Memory is passed in order, offset bytes of it so
// far.
struct Walk {
    FileHandle file;
    bool reads;
    unsigned char *into;
    const unsigned char *from;
    int32_t offset = 0;
    int32_t nesting = 0;
    bool transfers = true;
    int32_t last = 1; // result of the last transfer; below 1 ends the walk
    int32_t result = 0;
};

enum class Gap { kZeroed, kUntouched };

// Rounds the offset up. False when it leaves 31 bits, which ends the walk.
bool Align(Walk &walk, int32_t width, Gap gap) {
    const int32_t skipped = (width - walk.offset % width) % width;
    if (skipped > INT32_MAX - walk.offset) {
        walk.last = -1;
        return false;
    }
    if (walk.reads && gap == Gap::kZeroed && skipped > 0)
        std::memset(walk.into + walk.offset, 0, static_cast<std::size_t>(skipped));
    walk.offset += skipped;
    return true;
}

int32_t ReadMembers(FileHandle file, char code, void *memory, int32_t count) {
    switch (code) {
    case 'C':
        return qivReadChar(file, memory, count);
    case 'S':
        return qivReadShort(file, memory, count);
    case 'L':
        return qivReadLong(file, memory, count);
    case 'F':
        return qivReadFloat(file, memory, count);
    default:
        return qivReadDouble(file, memory, count);
    }
}

int32_t WriteMembers(FileHandle file, char code, const void *memory, int32_t count) {
    switch (code) {
    case 'C':
        return qivWriteChar(file, memory, count);
    case 'S':
        return qivWriteShort(file, memory, count);
    case 'L':
        return qivWriteLong(file, memory, count);
    case 'F':
        return qivWriteFloat(file, memory, count);
    default:
        return qivWriteDouble(file, memory, count);
    }
}

void MoveMembers(Walk &walk, char code, uint32_t count) {
    const int32_t width = MemberBytes(code);
    if (!Align(walk, width, code == 'S' ? Gap::kUntouched : Gap::kZeroed))
        return;
    const uint64_t bytes = uint64_t{count} * static_cast<uint32_t>(width);
    if (bytes > static_cast<uint32_t>(INT32_MAX - walk.offset)) {
        walk.last = -1;
        return;
    }
    if (walk.transfers) {
        const auto members = static_cast<int32_t>(count);
        walk.last = walk.reads ? ReadMembers(walk.file, code, walk.into + walk.offset, members)
                               : WriteMembers(walk.file, code, walk.from + walk.offset, members);
    }
    walk.offset += static_cast<int32_t>(bytes);
}

void OpenStructure(Walk &walk, const char *text) {
    if (++walk.nesting > kMaxNesting)
        walk.last = -1;
    else
        Align(walk, GetPadWidth(text), Gap::kZeroed);
}

// Passes over a union; returns its end.
const char *SkipUnion(Walk &walk, const char *text) {
    if (!Align(walk, GetPadWidth(text), Gap::kZeroed))
        return text;
    uint32_t size;
    text = MeasureUnion(text, &size, walk.nesting + 1);
    if (size > static_cast<uint32_t>(INT32_MAX - walk.offset))
        walk.last = -1;
    else
        walk.offset += static_cast<int32_t>(size);
    return text;
}

// Handles the item whose code text stands at; returns the item's last character.
const char *DoItem(Walk &walk, const char *text, uint32_t count) {
    const char code = UpperCase(*text);
    if (MemberBytes(code) != 0)
        MoveMembers(walk, code, count);
    else if (code == '{')
        OpenStructure(walk, text);
    else if (code == '}')
        walk.nesting = std::max(walk.nesting - 1, 0);
    else if (code == '[' || code == ']')
        walk.transfers = code == ']';
    else if (code == '(' && walk.reads)
        return SkipUnion(walk, text);
    else if (code != '|' && !(walk.reads && (code == ')' || code == 'P')))
        walk.result = -1;
    return text;
}

void DoRecord(Walk &walk, const char *text) {
    walk.nesting = 0;
    while (walk.last >= 1) {
        const uint32_t count = TakeCount(text);
        if (!*text)
            return;
        text = DoItem(walk, text, count);
        if (*text)
            ++text;
    }
}

int32_t DoRecords(Walk walk, const char *description, int32_t records) {
    const int32_t padWidth = GetPadWidth(description);
    for (; records > 0; --records) {
        DoRecord(walk, description);
        if (walk.last < 1 || !Align(walk, padWidth, Gap::kZeroed))
            return walk.last;
        ++walk.result;
        // Without members every record is alike: each counts, or each resets the result to 0.
        if (walk.offset == 0)
            return walk.result * records;
    }
    return walk.result;
}

} // namespace

int32_t qivReadStruct(FileHandle file, const char *description, void *buffer,
                      int32_t records) noexcept {
    return DoRecords({file, true, static_cast<unsigned char *>(buffer), nullptr}, description,
                     records);
}

int32_t qivWriteStruct(FileHandle file, const char *description, const void *buffer,
                       int32_t records) noexcept {
    return DoRecords({file, false, nullptr, static_cast<const unsigned char *>(buffer)},
                     description, records);
}

int32_t GetPadWidth(const char *text) noexcept {
    int32_t depth = *text == '{' || *text == '(' ? 0 : 1;
    int32_t width = 1;
    if (!*text)
        return width;
    do {
        const char code = UpperCase(*text++);
        if (code == '(' || code == '{')
            ++depth;
        else if (code == ')' || code == '}')
            --depth;
        else
            width = std::max(width, MemberBytes(code));
    } while (*text && depth > 0);
    return width;
}

const char *GetUnionSize(const char *text, uint32_t *size) noexcept {
    return MeasureUnion(text, size, 1);
}

} // namespace kowen
