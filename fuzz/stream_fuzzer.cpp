// The head of a JPEG changed while it passes to a sink, in pieces of any size, and what is learnt
// of it on the way.
//
// The stream is made of segments, so where the JFIF and the frame header are is known here, and the
// changed stream is put together from the same segments. Then some bytes may be damaged, and what
// comes out is compared with the plainest walk over the whole.
#include "fuzz/input.h"

#include "stream/edited_stream.h"

#include <algorithm>
#include <cerrno>
#include <optional>
#include <string>
#include <vector>

namespace {

using namespace kowen::host;
using kowen::fuzz::Bytes;
using kowen::fuzz::Input;
using kowen::fuzz::Require;

constexpr int kMostSegments = 12;
constexpr int kMostScans = 5;

void Add(const Bytes &more, Bytes *bytes) {
    bytes->insert(bytes->end(), more.begin(), more.end());
}

Bytes Segment(uint8_t marker, const Bytes &body) {
    const size_t length = body.size() + 2;
    Bytes bytes = {0xFF, marker, static_cast<uint8_t>(length / 256), static_cast<uint8_t>(length)};
    Add(body, &bytes);
    return bytes;
}

HeadEdits AnyEdits(Input *input) {
    HeadEdits edits;
    if (input->Bool())
        edits.height = input->Number<uint16_t>();
    edits.eightBits = input->Bool();
    if (input->Bool())
        edits.xDpi = input->Number<uint16_t>();
    if (input->Bool())
        edits.yDpi = input->Number<uint16_t>();
    if (input->Bool())
        edits.segments = Segment(0xE1, input->Fill(input->Below(40)));
    return edits;
}

void Put(uint16_t value, size_t at, Bytes *bytes) {
    (*bytes)[at] = static_cast<uint8_t>(value / 256);
    (*bytes)[at + 1] = static_cast<uint8_t>(value);
}

// Data of a scan: whatever, but no marker except those of restarts.
Bytes ScanData(Input *input) {
    Bytes data = input->Fill(input->Below(60));
    for (size_t i = 0; i < data.size(); ++i) {
        if (data[i] == 0xFF && i + 1 == data.size())
            data[i] = 1;
        else if (data[i] == 0xFF)
            data[i + 1] = input->Bool() ? 0 : static_cast<uint8_t>(0xD0 + input->Below(8));
    }
    return data;
}

// A stream as it is written and as it must come out.
struct Stream {
    Bytes given = {0xFF, 0xD8};
    Bytes wanted = {0xFF, 0xD8};
    bool hasJfif = false;
    bool hasFrame = false;

    void Both(const Bytes &bytes) {
        Add(bytes, &given);
        Add(bytes, &wanted);
    }

    void Jfif(Input *input, const HeadEdits &edits) {
        Bytes segment = Segment(0xE0, input->Fill(14 + input->Below(6)));
        Add(segment, &given);
        if (hasJfif)
            return Add(segment, &wanted);
        hasJfif = true;
        if (edits.xDpi)
            Put(*edits.xDpi, 12, &segment);
        if (edits.yDpi)
            Put(*edits.yDpi, 14, &segment);
        Add(segment, &wanted);
        Add(edits.segments, &wanted);
    }

    void Frame(Input *input, const HeadEdits &edits) {
        if (hasFrame)
            return;
        hasFrame = true;
        Bytes segment = Segment(input->Bool() ? 0xC0 : 0xC2, input->Fill(6 + input->Below(10)));
        Add(segment, &given);
        if (edits.height)
            Put(*edits.height, 5, &segment);
        if (edits.eightBits)
            segment[4] = 8;
        Add(segment, &wanted);
    }
};

Stream AnyStream(Input *input, const HeadEdits &edits) {
    constexpr uint8_t others[] = {0xDB, 0xC4, 0xE1, 0xE2, 0xED, 0xEE, 0xFE, 0xDD, 0xC1, 0x01};
    Stream stream;
    for (int i = input->Between(0, kMostSegments); i > 0; --i) {
        const uint32_t kind = input->Below(6);
        if (kind == 0)
            stream.Jfif(input, edits);
        else if (kind == 1)
            stream.Frame(input, edits);
        else if (kind == 2 && input->Bool())
            stream.Both(Segment(0xE0, input->Fill(input->Below(14)))); // too short for one of JFIF
        else
            stream.Both(Segment(input->Pick(others), input->Fill(input->Below(50))));
    }
    for (int i = input->Between(0, kMostScans); i > 0; --i) {
        stream.Both(Segment(0xDA, input->Fill(input->Below(12))));
        stream.Both(ScanData(input));
        if (input->Seldom(4))
            stream.Both(Segment(input->Pick(others), input->Fill(input->Below(20))));
    }
    if (!input->Seldom(8))
        stream.Both({0xFF, 0xD9});
    return stream;
}

// What the stream must become when nothing is known of how it was made; nothing when its head is
// whole and has no place for the edits.
std::optional<Bytes> PlainlyEdited(const Bytes &given, const HeadEdits &edits) {
    Bytes wanted = given;
    size_t jfif = 0;
    size_t frame = 0;
    size_t at = 2;
    while (at + 1 < given.size() && given[at] == 0xFF && given[at + 1] != 0xDA) {
        if (at + 3 >= given.size())
            return given;
        const size_t next = at + 2 + given[at + 2] * 256u + given[at + 3];
        if (next > given.size())
            return given;
        if (given[at + 1] == 0xE0 && next - at >= 18 && jfif == 0)
            jfif = at;
        if ((given[at + 1] == 0xC0 || given[at + 1] == 0xC2) && next - at >= 10)
            frame = at;
        at = next;
    }
    if (at + 1 >= given.size() || given[at] != 0xFF || !edits.Any())
        return given;
    if (jfif == 0 || frame == 0)
        return std::nullopt;
    if (edits.height)
        Put(*edits.height, frame + 5, &wanted);
    if (edits.eightBits)
        wanted[frame + 4] = 8;
    if (edits.xDpi)
        Put(*edits.xDpi, jfif + 12, &wanted);
    if (edits.yDpi)
        Put(*edits.yDpi, jfif + 14, &wanted);
    const size_t end = jfif + 2 + given[jfif + 2] * 256u + given[jfif + 3];
    wanted.insert(wanted.begin() + static_cast<ptrdiff_t>(end), edits.segments.begin(),
                  edits.segments.end());
    return wanted;
}

// What a whole stream says about itself.
struct PlainWatch {
    JpegFacts facts;
    std::string problem;

    explicit PlainWatch(const Bytes &s) {
        facts.bytes = s.size();
        problem = Walk(s);
        if (problem.empty() && (facts.scans == 0 || facts.components == 0))
            problem = "it has no picture data";
    }

private:
    std::string Walk(const Bytes &s) {
        for (size_t i = 0; i < 2; ++i) {
            if (i == s.size())
                return "it has no start";
            if (s[i] != (i == 0 ? 0xFF : 0xD8))
                return "it is damaged";
        }
        for (size_t at = 2;;) {
            if (at < s.size() && s[at] != 0xFF)
                return "it is damaged";
            if (at + 1 >= s.size())
                return "its end is missing";
            if (s[at + 1] == 0xD9)
                return at + 2 == s.size() ? "" : "it is damaged";
            if (at + 3 >= s.size())
                return "its end is missing";
            const size_t length = s[at + 2] * 256u + s[at + 3];
            if (length < 2)
                return "it is damaged";
            const size_t next = at + 2 + length;
            if (next > s.size())
                return "its end is missing";
            TakeSegment(s, at, length - 2);
            at = s[at + 1] == 0xDA ? TakeData(s, next) : next;
        }
    }

    void TakeSegment(const Bytes &s, size_t at, size_t body) {
        const auto number = [&](size_t i) { return s[at + 4 + i] * 256u + s[at + 5 + i]; };
        if ((s[at + 1] == 0xC0 || s[at + 1] == 0xC2) && body >= 6) {
            facts.height = number(1);
            facts.width = number(3);
            facts.components = s[at + 9];
        }
        if (s[at + 1] == 0xE0 && body >= 12 && s[at + 11] == 1) {
            facts.xDpi = number(8);
            facts.yDpi = number(10);
        }
    }

    // Where the marker behind it starts. Fill bytes before that belong to it.
    size_t TakeData(const Bytes &s, size_t at) {
        bool any = false;
        for (; at < s.size(); ++at) {
            if (s[at] != 0xFF) {
                any = true;
                continue;
            }
            while (at + 1 < s.size() && s[at + 1] == 0xFF)
                ++at;
            if (at + 1 == s.size())
                return at;
            if (s[at + 1] != 0 && (s[at + 1] < 0xD0 || s[at + 1] > 0xD7)) {
                facts.scans += any;
                return at;
            }
            any = true;
            ++at;
        }
        return at;
    }
};

// Takes so many writes, then refuses.
class KeepingSink : public Sink {
public:
    explicit KeepingSink(int mostWrites) : left(mostWrites) {}

    int Write(const uint8_t *bytes, size_t count) noexcept override {
        Require(!refused && !finished, "no write after the last");
        if (left-- == 0) {
            refused = true;
            return ENOSPC;
        }
        kept.insert(kept.end(), bytes, bytes + count);
        return 0;
    }
    int Finish() noexcept override {
        Require(!refused && !finished, "finished once, and only what is whole");
        finished = true;
        return 0;
    }

    Bytes kept;
    int left;
    bool refused = false;
    bool finished = false;
};

void RequireFacts(const JpegWatch &watch, const PlainWatch &plain) {
    const JpegFacts &facts = watch.Facts();
    Require(facts.bytes == plain.facts.bytes, "the length");
    Require(facts.width == plain.facts.width && facts.height == plain.facts.height, "the size");
    Require(facts.components == plain.facts.components, "the components");
    Require(facts.xDpi == plain.facts.xDpi && facts.yDpi == plain.facts.yDpi, "the resolution");
    Require(facts.scans == plain.facts.scans, "the scans");
    const char *problem = watch.Problem();
    Require(plain.problem == (problem == nullptr ? "" : problem), "what is wrong with it");
}

// wanted: nothing when the head cannot be edited, which ends the stream.
void Pass(Input *input, const Bytes &given, const HeadEdits &edits,
          const std::optional<Bytes> &wanted) {
    KeepingSink sink(input->Seldom(6) ? input->Between(0, 6) : -1);
    EditedStream stream(&sink, edits);
    const auto expected = [&] {
        return stream.HeadUnknown() ? EBADMSG : sink.refused ? ENOSPC : 0;
    };
    const uint32_t longest = 1 + input->Below(200);
    for (size_t at = 0; at < given.size();) {
        const size_t count = std::min<size_t>(given.size() - at, 1 + input->Below(longest));
        const Bytes piece(given.begin() + static_cast<ptrdiff_t>(at),
                          given.begin() + static_cast<ptrdiff_t>(at + count));
        const int result = stream.Write(piece.data(), count);
        Require(result == expected(), "a write");
        at += count;
    }
    const int result = stream.Finish();
    Require(result == expected() && result == stream.Error(), "the end");
    Require(stream.HeadUnknown() == !wanted.has_value(), "what is said of the head");
    Require(sink.finished == (result == 0), "a sink that is finished");
    const Bytes whole = wanted.value_or(Bytes());
    Require(sink.kept.size() <= whole.size() &&
                std::equal(sink.kept.begin(), sink.kept.end(), whole.begin()),
            "what the sink got");
    Require(sink.refused || sink.kept.size() == whole.size(), "all of it");
    RequireFacts(stream.Watch(), PlainWatch(sink.kept));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    const HeadEdits edits = AnyEdits(&input);
    Stream stream = AnyStream(&input, edits);
    const bool whole = stream.hasJfif && stream.hasFrame;
    if (whole && PlainlyEdited(stream.given, edits) != stream.given)
        Require(PlainlyEdited(stream.given, edits) == stream.wanted, "what is compared with");
    for (int i = input.Seldom(2) ? input.Between(0, 6) : 0; i > 0; --i) {
        const size_t at = input.Below(static_cast<uint32_t>(stream.given.size()));
        stream.given[at] = input.Bool() ? 0xFF : input.Byte();
    }
    if (input.Seldom(8))
        stream.given.resize(input.Below(static_cast<uint32_t>(stream.given.size()) + 1));
    Pass(&input, stream.given, edits, PlainlyEdited(stream.given, edits));
    return 0;
}
