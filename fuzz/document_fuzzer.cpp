// Streams inside compound documents: any tables, any chains, any sizes, read and moved in.
//
// The reference looks every byte up by itself, from the start of the chain. The document is in
// memory, so that the sanitizers see its end; the tables are blocks of exactly their entries.
#include "fuzz/input.h"

#include "io/file_record.h"
#include "support/memory_output.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <optional>
#include <vector>

namespace {

using namespace kowen;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::Require;

constexpr int kMostSteps = 20;
constexpr int32_t kMostSectors = 24;
using Table = std::vector<int32_t>;

/// A stream and the document it is in.
struct PlainStream {
    Bytes document;
    Table fat;
    Table miniFat;
    int32_t miniStreamStart;
    int32_t start;
    int32_t size;
    int32_t position = 0;

    bool IsBig() const { return size >= 4096; }

    // A chain that leaves its table, or has more sectors than that, ends.
    static std::optional<int32_t> Follow(const Table &table, int32_t sector, int64_t steps) {
        const auto count = static_cast<int64_t>(table.size());
        if (steps >= count)
            return std::nullopt;
        for (;; --steps) {
            if (sector < 0 || sector >= count)
                return std::nullopt;
            if (steps == 0)
                return sector;
            sector = table[static_cast<size_t>(sector)];
        }
    }

    /// Where in the document a byte of the stream is.
    std::optional<int64_t> Place(int64_t at) const {
        if (IsBig()) {
            const auto sector = Follow(fat, start, at / 512);
            if (!sector)
                return std::nullopt;
            return (int64_t{*sector} + 1) * 512 + at % 512;
        }
        const auto small = Follow(miniFat, start, at / 64);
        if (!small)
            return std::nullopt;
        const int64_t inMiniStream = int64_t{*small} * 64 + at % 64;
        const auto sector = Follow(fat, miniStreamStart, inMiniStream / 512);
        if (!sector)
            return std::nullopt;
        return (int64_t{*sector} + 1) * 512 + inMiniStream % 512;
    }

    Bytes Read(int32_t count) {
        Bytes bytes;
        for (; count > 0 && position < size; --count, ++position) {
            const std::optional<int64_t> place = Place(position);
            if (!place || *place >= static_cast<int64_t>(document.size()))
                break;
            bytes.push_back(document[static_cast<size_t>(*place)]);
        }
        return bytes;
    }

    int32_t Seek(int32_t offset, int32_t whence) {
        if (whence < kFromStart || whence > kFromEnd)
            return -1;
        const int64_t target = whence == kFromEnd       ? int64_t{size} - offset
                               : whence == kFromCurrent ? int64_t{position} + offset
                                                        : offset;
        position = static_cast<int32_t>(std::clamp<int64_t>(target, 0, std::max(size, 0)));
        return position;
    }
};

// Mostly a chain that goes on, so that streams come about.
Table AnyTable(Input *input, int32_t entries) {
    Table table;
    for (int32_t i = 0; i < entries; ++i) {
        const int8_t next = static_cast<int8_t>(input->Byte());
        table.push_back(next == 0 ? i + 1 : next == 127 ? input->Number<int32_t>() : next);
    }
    return table;
}

MemoryHandle Block(const Table &table) {
    const auto bytes = static_cast<uint32_t>(table.size() * sizeof(int32_t));
    const MemoryHandle handle = GlobalAlloc(kGlobalFlags, bytes);
    if (bytes > 0)
        std::memcpy(GlobalLock(handle), table.data(), bytes);
    return handle;
}

int32_t Sector(Input *input) {
    return input->Seldom(16) ? input->Number<int32_t>() : input->Between(-2, kMostSectors);
}

// Bytes in which no two sectors are alike.
Bytes Document(size_t count) {
    Bytes bytes(count);
    for (size_t i = 0; i < count; ++i)
        bytes[i] = static_cast<uint8_t>(i % 251 + i / 512 * 3);
    return bytes;
}

PlainStream AnyStream(Input *input) {
    PlainStream stream;
    stream.document = Document(input->Below((kMostSectors + 1) * 512));
    stream.fat = AnyTable(input, input->Between(0, kMostSectors));
    stream.miniFat = AnyTable(input, input->Between(0, kMostSectors));
    stream.miniStreamStart = Sector(input);
    stream.start = Sector(input);
    stream.size = input->Seldom(16) ? input->Number<int32_t>() : input->Between(0, 9000);
    return stream;
}

/// The stream opened over a memory file, as an opener of documents leaves it.
class OpenStream {
public:
    explicit OpenStream(const PlainStream &stream) {
        const FileHandle file = output.File();
        qivWrite(file, stream.document.data(), static_cast<int32_t>(stream.document.size()));
        auto *record = Lock<QivFile>(file);
        record->isDoc = 1;
        record->hFat = Block(stream.fat);
        record->hMiniFat = Block(stream.miniFat);
        record->miniStreamStart = stream.miniStreamStart;
        record->docStart = stream.start;
        record->docSize = stream.size;
    }
    ~OpenStream() {
        auto *record = Lock<QivFile>(File());
        GlobalFree(record->hFat);
        GlobalFree(record->hMiniFat);
        record->isDoc = 0; // the terminator byte goes into the file
    }
    OpenStream(const OpenStream &) = delete;
    OpenStream &operator=(const OpenStream &) = delete;

    FileHandle File() const { return output.File(); }

private:
    MemoryOutput output;
};

void Read(Input *input, FileHandle file, PlainStream *plain) {
    const int32_t count = input->Seldom(4) ? input->Between(-1, 9000) : input->Between(0, 70);
    const auto room = static_cast<size_t>(std::max(count, 0));
    const std::unique_ptr<uint8_t[]> buffer(new uint8_t[room]);
    const int32_t got = qivRead(file, buffer.get(), count);
    const Bytes expected = plain->Read(count);
    Require(got == static_cast<int32_t>(expected.size()), "the bytes that can be reached");
    Require(std::equal(expected.begin(), expected.end(), buffer.get()), "the same bytes");
}

void Seek(Input *input, FileHandle file, PlainStream *plain) {
    const int32_t offset =
        input->Seldom(16) ? input->Number<int32_t>() : input->Between(-100, 9000);
    const int32_t whence = input->Seldom(32) ? input->Number<int32_t>() : input->Between(0, 2);
    Require(qivSeek(file, offset, whence) == plain->Seek(offset, whence), "the place");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    PlainStream plain = AnyStream(&input);
    const OpenStream stream(plain);
    for (int step = 0; step < kMostSteps && input.Left() > 0; ++step) {
        if (input.Bool())
            Read(&input, stream.File(), &plain);
        else
            Seek(&input, stream.File(), &plain);
        Require(Lock<QivFile>(stream.File())->docPos == plain.position, "the position");
        Require(Lock<QivFile>(stream.File())->isDoc == 1, "a stream still");
    }
    return 0;
}
