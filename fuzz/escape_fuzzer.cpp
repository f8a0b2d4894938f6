// Settings read and changed by escape code, in any order, with any sizes and values.
//
// Two setups share a profile, each with a section of its own. Every call is also made on a copy of
// the record, in the plainest words there are; result, output, record and, in the end, the profile
// must be the same. Inputs and outputs have exactly the bytes that a code needs and stand at odd
// addresses.
#include "fuzz/module_state.h"

#include "kowen/codes.h"
#include "setup/escapes.h"
#include "setup/setup.h"
#include "support/temp_directory.h"

#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <unistd.h>

namespace {

using namespace kowen;
using fuzz::Append;
using fuzz::Bytes;
using fuzz::Input;
using fuzz::Require;

constexpr int kMostSteps = 40;
constexpr char kProfile[] = "[S0]\nDriver=d\n[S1]\nDriver=d\n";
constexpr int32_t kCodes[] = {1,  9,  11, 12, 13, 14, 16, 17, 18, 19,
                              25, 26, 44, 45, 46, 56, 57, 81, 3,  82};

struct Call {
    int32_t code;
    uint32_t size;
    const void *in;
    void *out;
    int32_t persist;
};

// What a call answers, and the entry it writes; an empty key for none.
struct Outcome {
    int32_t result;
    Bytes out = {};
    std::string key = {};
    std::string text = {};
};

constexpr int32_t kRejected = -1;
constexpr int32_t kHandled = 1;
constexpr int32_t kUnknown = 0;

template <typename T> T Value(const void *bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

template <typename T> std::string Formatted(const char *format, T value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    return text;
}

// The bytes a code writes to the output.
size_t AnswerBytes(int32_t code) {
    switch (code) {
    case 16:
        return 8;
    case 17:
        return 16;
    case 26:
    case 45:
    case 57:
        return 4;
    case 56:
        return sizeof(RasterAnswer);
    default:
        return 0;
    }
}

Outcome SetInteger(const Call &call, SetupRecord *setup) {
    if (call.size != 4 || call.in == nullptr)
        return {kRejected};
    const auto value = Value<int32_t>(call.in);
    const bool isResolution = value >= 32 && value <= 400;
    const std::string text = Formatted("%d", value);
    if (call.code == 1 && value >= 101 && value <= 105) {
        setup->colorMode = value + 2;
        return {kHandled, {}, "Color Mode", Formatted("%d", value + 2)};
    }
    if (call.code == 9 && (value == 140 || value == 146 || value == 147)) {
        setup->colorFormat = value == 140 ? 215 : value == 146 ? 222 : 212;
        return {kHandled, {}, "Color Format", Formatted("%d", setup->colorFormat)};
    }
    if (call.code == 11 && isResolution) {
        setup->header.xResolution = static_cast<int16_t>(value);
        return {kHandled, {}, "X Resolution", text};
    }
    if (call.code == 12 && isResolution) {
        setup->header.yResolution = static_cast<int16_t>(value);
        return {kHandled, {}, "Y Resolution", text};
    }
    if (call.code == 44 && value >= 1 && value <= 100) {
        setup->quality = static_cast<int16_t>(value);
        return {kHandled, {}, "Quality", text};
    }
    return {kRejected};
}

Outcome SetInches(const Call &call, SetupRecord *setup) {
    if (call.size != 8 || call.in == nullptr)
        return {kRejected};
    const auto value = Value<double>(call.in);
    if (!(value >= 0.03125 && value <= 22.0))
        return {kRejected};
    (call.code == 13 ? setup->width : setup->height) = value;
    if (call.code == 13)
        return {kHandled, {}, "Width", ".3" + Formatted("%g", value)};
    return {kHandled, {}, "Height", Formatted("%.3g", value)};
}

Outcome SetMode(const Call &call, int32_t *mode, int32_t first, int32_t count) {
    if (call.size == 4 && call.in == nullptr)
        return {kRejected};
    if (call.size == 4 && Value<int32_t>(call.in) >= 0 && Value<int32_t>(call.in) < count)
        *mode = first + Value<int32_t>(call.in);
    return {kHandled};
}

Outcome Answered(const Call &call, const Bytes &answer) {
    if (call.out == nullptr)
        return {kRejected};
    return {kHandled, answer};
}

Outcome Answer(const Call &call, const SetupRecord &setup) {
    Bytes answer;
    if (call.code == 16) {
        const bool isPictures = setup.resolutionMode == 309;
        Append(answer, isPictures ? 0 : int32_t{setup.header.xResolution});
        Append(answer, isPictures ? 0 : int32_t{setup.header.yResolution});
    } else if (call.code == 17) {
        Append(answer, setup.sizeMode == 602 ? 0.0 : setup.width);
        Append(answer, setup.sizeMode == 602 ? 0.0 : setup.height);
    } else if (call.code == 26) {
        Append(answer, setup.hostValue);
    } else if (call.code == 45) {
        Append(answer, int32_t{setup.quality});
    } else if (call.size != 4) {
        return {kHandled};
    } else if (setup.colorMode < 103 || setup.colorMode > 107) {
        return {kRejected};
    } else {
        Append(answer, setup.colorMode - 2);
    }
    return Answered(call, answer);
}

// The call in plain words; but for 56, which is geometry.
Outcome Plainly(const Call &call, SetupRecord *setup) {
    switch (call.code) {
    case 1:
    case 9:
    case 11:
    case 12:
    case 44:
        return SetInteger(call, setup);
    case 13:
    case 14:
        return SetInches(call, setup);
    case 16:
    case 17:
    case 26:
    case 45:
    case 57:
        return Answer(call, *setup);
    case 18:
        return SetMode(call, &setup->resolutionMode, 307, 4);
    case 19:
        return SetMode(call, &setup->sizeMode, 600, 4);
    case 46:
        return SetMode(call, &setup->qualityMode, 241, 2);
    case 25:
        setup->hostValue = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(call.in));
        return {kHandled};
    case 81:
        if (call.size == 4)
            setup->ioProcedure =
                reinterpret_cast<HostIoProcedure>(reinterpret_cast<uintptr_t>(call.in));
        return {kHandled};
    default:
        return {kUnknown};
    }
}

// Bytes at an odd address, with nothing behind them; null for none.
class Block {
public:
    explicit Block(const Bytes &bytes) : room(new uint8_t[bytes.size() + 1]), count(bytes.size()) {
        std::copy(bytes.begin(), bytes.end(), room.get() + 1);
    }
    void *Get() const { return room.get() + 1; }
    Bytes Contents() const { return {room.get() + 1, room.get() + 1 + count}; }

private:
    std::unique_ptr<uint8_t[]> room;
    size_t count;
};

// Two setups and their profile. Reading a setup takes much longer than changing it, so they are
// made once, and are as they were for every input.
class Setups {
public:
    Setups() {
        const std::string path = directory.Write(kName, kProfile);
        for (int i = 0; i < 2; ++i) {
            handles[i] = CreateSetup(0, path.c_str(), i == 0 ? "S0" : "S1", nullptr);
            std::memcpy(&fresh[i], GlobalLock(handles[i]), sizeof fresh[i]);
        }
    }
    ~Setups() {
        for (const MemoryHandle handle : handles)
            DestroySetup(handle);
    }
    Setups(const Setups &) = delete;
    Setups &operator=(const Setups &) = delete;

    void Renew(bool profileToo) const {
        for (int i = 0; i < 2; ++i)
            std::memcpy(GlobalLock(handles[i]), &fresh[i], sizeof fresh[i]);
        if (profileToo)
            directory.Write(kName, kProfile);
    }
    std::string Profile() const { return directory.Read(kName); }
    MemoryHandle operator[](uint32_t which) const { return handles[which]; }

private:
    static constexpr const char *kName = "a.ini";
    TempDirectory directory;
    MemoryHandle handles[2];
    SetupRecord fresh[2];
};

class Host {
public:
    Host(Input *bytes, const Setups &both) : input(bytes), setups(both) { EditSetup(setups[0], 0); }
    ~Host() {
        EditSetup(0, 0); // none is current
        setups.Renew(!persisted[0].empty() || !persisted[1].empty());
    }
    Host(const Host &) = delete;
    Host &operator=(const Host &) = delete;

    void Step() {
        if (input->Seldom(16))
            EditSetup(setups[input->Below(2)], input->Byte());
        else
            Escape(input->Below(2));
    }

    void RequireProfile() const {
        if (persisted[0].empty() && persisted[1].empty())
            return; // reading the file takes longer than all the rest
        std::string expected;
        for (int i = 0; i < 2; ++i) {
            expected += i == 0 ? "[S0]\nDriver=d\n" : "[S1]\nDriver=d\n";
            for (const auto &[key, text] : persisted[i])
                expected += key + "=" + text + "\n";
        }
        Require(Sorted(setups.Profile()) == Sorted(expected), "what was persisted");
    }

private:
    // The lines of each section in any order: it does not matter where new ones are written.
    static std::map<std::string, std::map<std::string, int>> Sorted(const std::string &profile) {
        std::map<std::string, std::map<std::string, int>> sections;
        std::string section;
        Input text(reinterpret_cast<const uint8_t *>(profile.data()), profile.size());
        while (text.Left() > 0) {
            const std::string line = text.Text("\n");
            if (line.compare(0, 1, "[") == 0)
                section = line;
            else
                ++sections[section][line];
        }
        return sections;
    }

    int32_t AnyCode() { return input->Seldom(32) ? input->Number<int32_t>() : input->Pick(kCodes); }

    uint32_t AnySize(int32_t code) {
        if (input->Seldom(16))
            return input->Number<uint32_t>();
        return code == 13 || code == 14 ? 8 : 4;
    }

    // Values inside and around the ranges, or any.
    Bytes AnyValue(int32_t code, uint32_t size) {
        Bytes value;
        if (code == 56)
            return AnyQuery();
        if (size == 4) {
            const uint8_t kind = input->Byte() % 8;
            Append(value, kind == 7   ? input->Number<int32_t>()
                          : kind == 6 ? int32_t{input->Number<int16_t>()}
                          : kind == 5 ? input->Between(30, 402)
                          : kind == 4 ? input->Between(-1, 4)
                                      : input->Between(99, 148));
        } else if (size == 8) {
            Append(value, input->Seldom(4) ? input->Number<double>() : input->Byte() / 8.0);
        }
        value.resize(std::min<uint32_t>(size, 64));
        return value;
    }

    Bytes AnyQuery() {
        Bytes query;
        for (size_t i = 0; i < sizeof(RasterQuery) / 4; ++i)
            Append(query,
                   input->Seldom(8) ? input->Number<int32_t>() : int32_t{input->Number<int16_t>()});
        return query;
    }

    void Escape(uint32_t which) {
        Call call = {};
        call.code = AnyCode();
        call.size = AnySize(call.code);
        call.persist = input->Seldom(3);
        const Block in(AnyValue(call.code, call.size));
        const Bytes before(AnswerBytes(call.code), 0xA5);
        const Block out(before);
        const bool isPointer = call.code == 25 || call.code == 81;
        call.in = isPointer
                      ? reinterpret_cast<void *>(static_cast<uintptr_t>(input->Number<uint64_t>()))
                      : in.Get();
        if (input->Seldom(32))
            call.in = nullptr;
        call.out = input->Seldom(32) ? nullptr : out.Get();
        if (call.code == 56)
            return Query(which, call, out);
        SetupRecord record;
        std::memcpy(&record, GlobalLock(setups[which]), sizeof record);
        Outcome expected = Plainly(call, &record);
        if (expected.out.empty())
            expected.out = before;
        Require(Run(which, call) == expected.result, "the result");
        Require(out.Contents() == expected.out, "the answer");
        Require(std::memcmp(&record, GlobalLock(setups[which]), sizeof record) == 0, "the record");
        if (call.persist != 0 && !expected.key.empty())
            persisted[which][expected.key] = expected.text;
    }

    // Answers for the current setup, and changes nothing of the other.
    void Query(uint32_t which, const Call &call, const Block &out) {
        const bool isComplete = call.in != nullptr && call.out != nullptr;
        const uint32_t other = hRaster == setups[0] ? 1 : 0;
        SetupRecord record;
        std::memcpy(&record, GlobalLock(setups[other]), sizeof record);
        Require(Run(which, call) == (isComplete ? 1 : -1), "the result of a query");
        if (isComplete)
            Require(Value<RasterAnswer>(out.Get()).bitsPerPixel == 24, "the depth");
        Require(std::memcmp(&record, GlobalLock(setups[other]), sizeof record) == 0,
                "the setup that is not current");
    }

    int32_t Run(uint32_t which, const Call &call) {
        const MemoryHandle current = hRaster;
        const int32_t result =
            xEscapeSetup(setups[which], call.code, call.size, call.in, call.out, call.persist);
        Require(hRaster == current && lpRaster == GlobalLock(current), "the current setup");
        return result;
    }

    Input *input;
    const Setups &setups;
    std::map<std::string, std::string> persisted[2];
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const Setups setups;
    Input input(data, size);
    {
        Host host(&input, setups);
        for (int step = 0; step < kMostSteps && input.Left() > 0; ++step)
            host.Step();
        host.RequireProfile();
    }
    fuzz::RequireNothingIsCurrent();
    return 0;
}
