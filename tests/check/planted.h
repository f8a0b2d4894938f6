// Hosts that break a rule each, for the tests of what is reported of them.
#pragma once

#include "check/checked_host.h"

#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

namespace kowen::test {

using Mistakes = std::vector<std::string>;

/// What hosts forget to free, kept to the end: a sanitizer would report it as well.
inline std::vector<MemoryHandle> &forgotten = *new std::vector<MemoryHandle>;

struct Planted {
    const char *name;
    Mistakes reported;
    std::function<void(CheckedHost &)> host;
};

inline void PrintTo(const Planted &planted, std::ostream *out) {
    *out << planted.name;
}

/// A status callback that does what a test says.
struct Prank {
    ExportRecord record = {};
    std::function<int32_t()> onStatus;

    Prank() {
        record.context = reinterpret_cast<uintptr_t>(this);
        record.statusCallback = [](uintptr_t context, int32_t, int32_t, int32_t, int32_t, int32_t,
                                   void *) {
            return reinterpret_cast<Prank *>(context)->onStatus();
        };
    }
};

/// Answers the first write of a file with more than its count.
inline intptr_t TakesTooMuch(uintptr_t, int32_t operation, void *, int32_t count) {
    static bool isFirst;
    if (operation == KOWEN_IO_OPEN)
        isFirst = true;
    if (operation != KOWEN_IO_WRITE)
        return operation == KOWEN_IO_OPEN;
    const int32_t answer = isFirst ? count + 1 : count;
    isFirst = false;
    return answer;
}

/// The trace says how a rule was broken.
inline void ExpectTold(const CheckedHost &host, const std::string &how) {
    EXPECT_NE(host.Trace().find(": " + how), std::string::npos) << host.Trace();
}

inline void WithSetup(CheckedHost &host, const std::function<void(MemoryHandle)> &use) {
    const MemoryHandle setup = host.MakeSetup();
    use(setup);
    host.destroySetup(setup);
}

/// Exports one picture with one thing wrong.
inline Planted
WrongExport(const char *name, Mistakes reported,
            const std::function<void(CheckedHost &, BitmapRecord &, CellRecord &)> &spoil) {
    return {name, std::move(reported), [spoil](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    BitmapRecord bitmap = host.MakeBitmap();
                    CellRecord cell = CheckedHost::MakeCell();
                    spoil(host, bitmap, cell);
                    host.Export(setup, bitmap, cell);
                    host.free(bitmap.palette);
                });
            }};
}

/// Sends one request with the device in the body of a picture.
inline Planted WrongDrawing(const char *name, Mistakes reported,
                            const std::function<void(CheckedHost &)> &draw) {
    return {name, std::move(reported), [draw](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    host.BeginBody(setup);
                    draw(host);
                    host.EndPicture();
                });
            }};
}

/// One escape with one thing wrong.
inline Planted WrongEscape(const char *name, const char *rule,
                           const std::function<void(CheckedHost &, MemoryHandle)> &escape) {
    return {name, {rule}, [escape](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) { escape(host, setup); });
            }};
}

const std::vector<uint8_t> kFourRows(24 * 4);

std::vector<Planted> LoadingMistakes();
std::vector<Planted> SetupMistakes();
std::vector<Planted> BlockMistakes();
std::vector<Planted> CallbackMistakes();
std::vector<Planted> BitmapMistakes();
std::vector<Planted> ExportMistakes();
std::vector<Planted> EscapeMistakes();
std::vector<Planted> DoorMistakes();
std::vector<Planted> DeviceMistakes();
std::vector<Planted> RequestMistakes();

} // namespace kowen::test
