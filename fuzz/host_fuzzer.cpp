// Pictures saved through the host library's C interface, as programs in other languages call it.
//
// The same picture is handed over twice: packed, and laid out in any way that strides can say, in
// memory of exactly its bytes, or row by row; to memory, a writer, a file or prepared. Codes and
// bytes must be the same. Then it is saved with something that fails: a row, a write, an answer to
// the progress, a record that is smaller than it should be.
#include "fuzz/exactly.h"
#include "fuzz/input.h"

#include "kowen/host.h"
#include "support/temp_directory.h"

#include <cerrno>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>

namespace {

using kowen::fuzz::Bytes;
using kowen::fuzz::Exactly;
using kowen::fuzz::Input;
using kowen::fuzz::Require;

constexpr const char *kRowMessage = "row out of reach";

KowenModule *TheModule() {
    static KowenModule *const module = KowenOpenModule(KOWEN_MODULE, nullptr);
    Require(module != nullptr, "a module");
    return module;
}

const TempDirectory &TheDirectory() {
    static const TempDirectory made;
    return made;
}

int ChannelsOf(KowenPixelFormat format) {
    switch (format) {
    case KOWEN_PIXEL_RGB:
        return 3;
    case KOWEN_PIXEL_RGBA:
    case KOWEN_PIXEL_BGRA:
        return 4;
    case KOWEN_PIXEL_GREY_ALPHA:
        return 2;
    default:
        return 1;
    }
}

// A picture, packed, with all that its record points at.
struct Whole {
    KowenPicture record = {};
    Bytes pixels;
    Bytes palette, alpha, exif, icc;
    std::string comment;

    size_t RowBytes() const {
        return record.format == KOWEN_PIXEL_BILEVEL
                   ? (record.width + 7) / 8
                   : record.width * static_cast<size_t>(ChannelsOf(record.format));
    }
};

double AnyDpi(Input *input) {
    constexpr double choices[] = {0,
                                  72,
                                  96.5,
                                  -3,
                                  600,
                                  std::numeric_limits<double>::quiet_NaN(),
                                  std::numeric_limits<double>::infinity()};
    return input->Pick(choices);
}

// The pointers are those of this object, so it must stay where it is.
void FillIn(Input *input, Whole *whole) {
    KowenPicture &record = whole->record;
    record.size = sizeof record;
    record.format = static_cast<KowenPixelFormat>(input->Between(1, 7));
    record.width = 1 + input->Below(40);
    record.height = 1 + input->Below(30);
    record.orientation = input->Below(9);
    record.xDpi = AnyDpi(input);
    record.yDpi = AnyDpi(input);
    if (record.format == KOWEN_PIXEL_INDEXED ||
        (record.format == KOWEN_PIXEL_BILEVEL && input->Bool())) {
        record.paletteSize = record.format == KOWEN_PIXEL_BILEVEL ? 2 : 1 + input->Below(256);
        whole->palette = input->Fill(size_t{record.paletteSize} * 3);
        whole->alpha = input->Fill(input->Bool() ? record.paletteSize : 0);
        record.palette = whole->palette.data();
        record.paletteAlpha = whole->alpha.empty() ? nullptr : whole->alpha.data();
    }
    if (input->Seldom(4)) {
        whole->exif = input->Fill(input->Below(80));
        record.exif = whole->exif.data();
        record.exifSize = whole->exif.size();
    }
    if (input->Seldom(4)) {
        whole->icc = input->Fill(input->Below(300));
        record.icc = whole->icc.data();
        record.iccSize = whole->icc.size();
    }
    if (input->Seldom(4)) {
        whole->comment = input->Text("\n");
        record.comment = whole->comment.c_str();
    }
    whole->pixels = input->Fill(whole->RowBytes() * record.height);
    record.pixels = whole->pixels.data();
}

// The picture's pixels with other strides. The memory has no byte more than they reach.
class LaidOut {
public:
    LaidOut(Input *input, const Whole &whole) : record(whole.record), room(0) {
        const bool bits = record.format == KOWEN_PIXEL_BILEVEL;
        const size_t channels = bits ? 1 : static_cast<size_t>(ChannelsOf(record.format));
        const size_t columns = bits ? whole.RowBytes() : record.width;
        const size_t channelStep = bits ? 1 : 1 + input->Below(3);
        const size_t pixelStep = bits ? 1 : channels * channelStep + input->Below(3);
        const size_t rowStep = columns * pixelStep + input->Below(6);
        const size_t last = (record.height - 1) * rowStep + (columns - 1) * pixelStep +
                            (channels - 1) * channelStep;
        room = Exactly<uint8_t>(last + 1);
        const bool up = input->Bool();
        const bool left = !bits && input->Bool();
        const bool back = !bits && channels > 1 && input->Bool();
        const uint8_t *from = whole.pixels.data();
        size_t first = 0;
        for (size_t y = 0; y < record.height; ++y) {
            for (size_t x = 0; x < columns; ++x) {
                for (size_t c = 0; c < channels; ++c) {
                    const size_t at = (up ? record.height - 1 - y : y) * rowStep +
                                      (left ? columns - 1 - x : x) * pixelStep +
                                      (back ? channels - 1 - c : c) * channelStep;
                    if (from == whole.pixels.data())
                        first = at;
                    room.Get()[at] = *from++;
                }
            }
        }
        record.pixels = room.Get() + first;
        record.stride = Signed(rowStep, up);
        record.pixelStride = bits ? 0 : Signed(pixelStep, left);
        record.channelStride = Signed(channelStep, back);
    }

    KowenPicture record;

private:
    static ptrdiff_t Signed(size_t step, bool negative) {
        return negative ? -static_cast<ptrdiff_t>(step) : static_cast<ptrdiff_t>(step);
    }

    Exactly<uint8_t> room;
};

// Rows on demand, of which one may fail.
struct Rows {
    const Whole *whole;
    uint32_t fails = UINT32_MAX;
    uint32_t next = 0;

    static int32_t Read(void *context, uint32_t row, void *pixels) {
        auto *self = static_cast<Rows *>(context);
        Require(row == self->next++, "rows from the top, once each");
        if (row == self->fails) {
            KowenSetRowError(kRowMessage);
            return 1;
        }
        const size_t bytes = self->whole->RowBytes();
        std::memcpy(pixels, self->whole->pixels.data() + row * bytes, bytes);
        return 0;
    }
    KowenPicture Record() {
        KowenPicture record = whole->record;
        record.pixels = nullptr;
        record.readRow = Read;
        record.rowContext = this;
        return record;
    }
};

struct Told {
    int stopsAt = -1; ///< which call
    int calls = 0;
    double last = 0;

    static int32_t Tell(void *context, double fraction) {
        auto *self = static_cast<Told *>(context);
        Require(fraction >= self->last && fraction <= 1, "progress that never falls");
        self->last = fraction;
        return self->calls++ == self->stopsAt;
    }
    KowenProgress Record() { return {sizeof(KowenProgress), Tell, this}; }
};

struct Written {
    Bytes bytes;
    int failsAt = -1;
    int calls = 0;

    static int32_t Write(void *context, const void *bytes, size_t count) {
        auto *self = static_cast<Written *>(context);
        if (self->calls++ == self->failsAt)
            return ENOSPC;
        const auto *first = static_cast<const uint8_t *>(bytes);
        self->bytes.insert(self->bytes.end(), first, first + count);
        return 0;
    }
};

// What a save gave.
struct Saved {
    int32_t code = -1;
    KowenResult result = {};
    Bytes bytes;

    bool operator==(const Saved &other) const {
        return code == other.code && bytes == other.bytes && result.notes == other.result.notes &&
               std::strcmp(result.message, other.result.message) == 0;
    }
};

enum class To { kMemory, kWriter, kFile, kPrepared };

// One save, and what holds of any.
Saved Save(const KowenPicture &picture, const KowenSettings *settings, To to, Told *told,
           Written *written) {
    Saved saved;
    saved.result.size = sizeof saved.result;
    KowenOutput output = {};
    output.size = sizeof output;
    const std::string path = TheDirectory().File("a.jpg");
    if (to == To::kFile)
        output.path = path.c_str();
    output.write = to == To::kWriter ? Written::Write : nullptr;
    output.writeContext = written;
    const KowenProgress progress = told->Record();
    KowenPrepared *prepared = nullptr;
    if (to == To::kPrepared) {
        prepared = KowenPrepare(TheModule(), &picture, settings, nullptr, &saved.result);
        Require((prepared == nullptr) == (saved.result.code != 0), "a picture that is prepared");
        saved.code = saved.result.code;
    }
    if (prepared != nullptr)
        saved.code = KowenExportPrepared(prepared, settings, &output, &progress, &saved.result);
    else if (to != To::kPrepared)
        saved.code = KowenSave(TheModule(), &picture, settings, &output, &progress, &saved.result);
    KowenFreePrepared(prepared);
    const bool good = saved.code == KOWEN_HOST_OK;
    Require(saved.result.code == saved.code, "one code");
    Require(good == (saved.result.message[0] == '\0'), "a sentence for each failure");
    Require(!good || told->last == 1, "told that all is done");
    Require((output.memory != nullptr) == (good && (to == To::kMemory || to == To::kPrepared)),
            "memory of what was saved");
    if (output.memory != nullptr)
        saved.bytes.assign(static_cast<uint8_t *>(output.memory),
                           static_cast<uint8_t *>(output.memory) + output.memorySize);
    KowenFree(output.memory);
    if (to == To::kWriter && good)
        saved.bytes = written->bytes;
    Require(to != To::kFile || TheDirectory().Has("a.jpg") == good, "a file when all is well");
    if (to == To::kFile && good) {
        const std::string file = TheDirectory().Read("a.jpg");
        saved.bytes.assign(file.begin(), file.end());
        std::remove(path.c_str());
    }
    if (good) {
        const Bytes &bytes = saved.bytes;
        Require(bytes.size() > 4 && bytes.size() == saved.result.bytes, "its length");
        Require(bytes[0] == 0xFF && bytes[1] == 0xD8, "its start");
        Require(bytes[bytes.size() - 2] == 0xFF && bytes.back() == 0xD9, "its end");
    }
    return saved;
}

struct Setting {
    const char *name;
    const char *value;
};

// Pictures stay small: what would make large ones is not among them.
constexpr Setting kSettings[] = {
    {"quality", "45"},
    {"quality", "100"},
    {"quality", "20"},
    {"progressive", "yes"},
    {"colour", "grey"},
    {"colour", "rgb444"},
    {"color", "ycc422"},
    {"colour-mode", "inverted"},
    {"colour-mode", "grey-inverted"},
    {"size", "8x60px"},
    {"size", "1x1px"},
    {"size", "0.1x0.3in"},
    {"size", "1x2cm"},
    {"size", "page"},
    {"size", "99999x9999px"},
    {"dpi", "72"},
    {"dpi", "100x150"},
    {"dpi", "page"},
    {"dpi", "0"},
    {"page", "50x40px@72"},
    {"page", "1x1in@32"},
    {"background", "#12aBfF"},
    {"exif", "drop"},
    {"icc", "drop"},
    {"comment", "keep"},
    {"max-bytes", "600"},
    {"max-bytes", "1k"},
    {"as-filter", "yes"},
    {"as-filter", "no"},
    {"colour-mode", "greys-inverted"},
};

std::string TextOf(const KowenSettings *settings, const char *name) {
    char text[200] = "";
    Require(KowenGet(settings, name, text, sizeof text) == KOWEN_HOST_OK, "a value");
    return text;
}

// A value that is none, mostly: it is refused and changes nothing, or is what Get gives back.
void SetAnything(Input *input, KowenSettings *settings) {
    const char *name = KowenSettingName(input->Below(13));
    const std::string before = TextOf(settings, name);
    const std::string value = input->Text("\n");
    const bool taken = KowenSet(settings, name, value.c_str(), nullptr) == KOWEN_HOST_OK;
    const std::string after = TextOf(settings, name);
    Require(taken || before == after, "a value that is refused changes nothing");
    Require(after.empty() || KowenSet(settings, name, after.c_str(), nullptr) == KOWEN_HOST_OK,
            "a value that is given can be set");
    Require(TextOf(settings, name) == after, "the same value again");
    Require(before.empty() || KowenSet(settings, name, before.c_str(), nullptr) == KOWEN_HOST_OK,
            "the value before");
    if (before.empty() && !after.empty())
        KowenSet(settings, name, "50x40px@72", nullptr);
}

// The default page has a million pixels, which few inputs need.
void SetSome(Input *input, KowenSettings *settings) {
    if (!input->Seldom(64))
        KowenSet(settings, "page", "50x40px@72", nullptr);
    for (int i = input->Between(0, 4); i > 0; --i) {
        const Setting setting = input->Pick(kSettings);
        KowenSet(settings, setting.name, setting.value, nullptr);
    }
    if (input->Seldom(4))
        SetAnything(input, settings);
}

void SaveWithFailure(Input *input, const Whole &whole, const KowenSettings *settings,
                     const Saved &good) {
    Told told;
    Written written;
    Rows rows = {&whole};
    switch (input->Below(4)) {
    case 0: {
        rows.fails = input->Below(whole.record.height);
        const Saved saved = Save(rows.Record(), settings, To::kMemory, &told, &written);
        const bool early = good.code != KOWEN_HOST_OK && saved.code == good.code;
        Require(early || saved.code == KOWEN_HOST_ERR_PICTURE, "a row that failed");
        Require(early || std::strstr(saved.result.message, kRowMessage) != nullptr, "its words");
        return;
    }
    case 1: {
        written.failsAt = static_cast<int>(input->Below(4));
        const Saved saved = Save(rows.Record(), settings, To::kWriter, &told, &written);
        if (written.calls <= written.failsAt)
            return Require(saved.code == good.code, "no write that failed");
        Require(saved.code == KOWEN_HOST_ERR_OUTPUT && saved.result.systemError == ENOSPC,
                "a write that failed");
        return;
    }
    case 2: {
        told.stopsAt = static_cast<int>(input->Below(20));
        const To to = input->Bool() ? To::kMemory : To::kFile;
        const Saved saved = Save(rows.Record(), settings, to, &told, &written);
        if (told.calls <= told.stopsAt || told.last == 1)
            return Require(saved.code == good.code, "stopped too late");
        Require(saved.code == KOWEN_HOST_ERR_CANCELLED, "stopped");
        return;
    }
    default: {
        // Records of an older library, or of none.
        const Exactly<uint8_t> record(Bytes(reinterpret_cast<const uint8_t *>(&whole.record),
                                            reinterpret_cast<const uint8_t *>(&whole.record) + 4 +
                                                input->Below(sizeof(KowenPicture) - 3)));
        const auto size = static_cast<uint32_t>(record.Values().size());
        std::memcpy(record.Get(), &size, sizeof size);
        const Exactly<uint8_t> result(4 + input->Below(sizeof(KowenResult) - 3));
        const auto resultSize = static_cast<uint32_t>(result.Values().size());
        std::memcpy(result.Get(), &resultSize, sizeof resultSize);
        KowenOutput output = {};
        output.size = static_cast<uint32_t>(input->Below(sizeof output + 1));
        KowenSave(TheModule(), reinterpret_cast<const KowenPicture *>(record.Get()), settings,
                  &output, nullptr, reinterpret_cast<KowenResult *>(result.Get()));
        KowenFree(output.memory);
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    Input input(data, size);
    KowenSettings *settings = KowenNewSettings();
    SetSome(&input, settings);
    Whole whole;
    FillIn(&input, &whole);
    Told told;
    Written written;
    const Saved good = Save(whole.record, settings, To::kMemory, &told, &written);

    const LaidOut laidOut(&input, whole);
    Rows rows = {&whole};
    const KowenPicture other = input.Bool() ? laidOut.record : rows.Record();
    told = {};
    const Saved again = Save(other, settings, static_cast<To>(input.Below(4)), &told, &written);
    Require(again.code == good.code && again.bytes == good.bytes, "the same, however it comes");
    SaveWithFailure(&input, whole, settings, good);
    KowenFreeSettings(settings);
    return 0;
}
