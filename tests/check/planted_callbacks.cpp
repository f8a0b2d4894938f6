// Hosts that call the module at the wrong time, most of them from inside a callback.
#include "check/planted.h"

#include <thread>

namespace kowen::test {

namespace {

/// Exports with a status callback that does something, once.
Planted WrongFromStatus(const char *name, Mistakes reported,
                        const std::function<void(CheckedHost &, MemoryHandle)> &spoil) {
    return {name, std::move(reported), [spoil](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    Prank prank;
                    prank.onStatus = [&] {
                        spoil(host, setup);
                        return 0;
                    };
                    EXPECT_EQ(host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(),
                                          &prank.record),
                              0);
                });
            }};
}

/// What a procedure answers: an open, so many writes, and a close.
struct Answers {
    intptr_t open;
    int wrongWrites;
    int32_t write;
    int32_t close;
};
Answers answers;

intptr_t Answer(uintptr_t, int32_t operation, void *, int32_t count) {
    if (operation == KOWEN_IO_OPEN)
        return answers.open;
    if (operation == KOWEN_IO_CLOSE)
        return answers.close;
    return answers.wrongWrites-- > 0 ? answers.write : count;
}

Planted WrongAnswers(const char *name, Mistakes reported, const Answers &given) {
    return {name, std::move(reported), [given](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    answers = given;
                    host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                                reinterpret_cast<const void *>(&Answer), nullptr, 0);
                    EXPECT_EQ(host.Export(setup, host.MakeBitmap()), 0);
                });
            }};
}

/// Draws a picture on the raster device. The callback that says 100 percent calls the same door.
/// Nothing becomes of that: the file is the same as without it, and the next callback comes.
Planted WrongFromDevice(const char *name,
                        const std::function<int32_t(CheckedHost &)> &callTheDoor) {
    return {name, {"callback-calls"}, [callTheDoor](CheckedHost &host) {
                WithSetup(host, [&](MemoryHandle setup) {
                    Prank prank;
                    int calls = 0;
                    prank.onStatus = [&] { return ++calls, 0; };
                    const std::string plain = host.DrawPicture(setup, &prank.record);
                    EXPECT_EQ(calls, 3);
                    prank.onStatus = [&] { return ++calls == 5 ? callTheDoor(host) : 0; };
                    EXPECT_EQ(host.DrawPicture(setup, &prank.record), plain);
                    EXPECT_EQ(calls, 6);
                    EXPECT_GT(plain.size(), 600u);
                });
            }};
}

} // namespace

std::vector<Planted> CallbackMistakes() {
    return {
        {"CallFromAnotherThread",
         {"one-thread"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [&] {
                     std::thread([&] { EXPECT_EQ(host.version(), 0u); }).join();
                     return 0;
                 };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
             });
         }},
        {"CallFromInsideACallback",
         {"callback-calls"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [&] {
                     EXPECT_EQ(host.version(), 0x02000005u);
                     host.free(host.alloc(KOWEN_GLOBAL_FLAGS, 1)); // memory is allowed
                     return 0;
                 };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
             });
         }},
        {"SetupDestroyedFromInsideACallback",
         {"callback-calls", "setup-outlives"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [&] {
                     EXPECT_EQ(host.destroySetup(setup), 1);
                     return 0;
                 };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
             });
         }},
        {"WriteAnsweredWithMoreThanItsCount",
         {"write-answer"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 host.escape(setup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                             reinterpret_cast<const void *>(&TakesTooMuch), nullptr, 0);
                 host.Export(setup, host.MakeBitmap());
             });
         }},
        WrongAnswers("OpenRefused", {"io-open"}, {0, 0, 0, 0}),
        WrongAnswers("OpenFailedAsTheSystemSaysIt", {"io-answer"}, {-1, 0, 0, 0}),
        WrongAnswers("WritesFailedAsTheSystemSaysIt", {"io-answer", "io-answer"}, {1, 2, -1, 0}),
        WrongAnswers("CloseFailed", {"io-answer"}, {1, 0, 0, -1}),
        WrongFromDevice("DeviceTerminatedFromItsCallback",
                        [](CheckedHost &host) { return host.Terminate(); }),
        WrongFromDevice("DeviceInitialisedFromItsCallback",
                        [](CheckedHost &host) {
                            OpenRecord record = {};
                            return host.raster(0, KOWEN_DD_INITIALISE, &record);
                        }),
        WrongFromDevice("RequestFromTheDevicesCallback",
                        [](CheckedHost &host) { return host.Run(kCloseDevice); }),
        WrongFromDevice(
            "NoRequestFromTheDevicesCallback",
            [](CheckedHost &host) { return host.raster(0, KOWEN_DD_DISPATCH, nullptr); }),
        WrongFromStatus("SetupExportedFromItsCallback", {"callback-calls", "setup-outlives"},
                        [](CheckedHost &host, MemoryHandle setup) {
                            BitmapRecord bitmap = host.MakeBitmap();
                            EXPECT_EQ(host.Export(setup, bitmap), 303);
                        }),
        {"DeviceTerminatedFromAnExportsCallback",
         {"callback-calls"},
         [](CheckedHost &host) {
             const MemoryHandle drawn = host.MakeSetup();
             host.BeginBody(drawn);
             WithSetup(host, [&](MemoryHandle setup) {
                 Prank prank;
                 prank.onStatus = [&] { return host.Terminate(); };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
             });
             host.EndPicture();
             host.destroySetup(drawn);
         }},
        {"OtherSetupMadeCurrentFromACallback",
         {"callback-calls", "callback-calls", "setup-outlives", "callback-calls"},
         [](CheckedHost &host) {
             WithSetup(host, [&](MemoryHandle setup) {
                 const MemoryHandle other = host.MakeSetup();
                 Prank prank;
                 prank.onStatus = [&] {
                     host.editSetup(other, 1);
                     EXPECT_EQ(host.Export(setup, host.MakeBitmap()), 303);
                     EXPECT_EQ(host.AskSize(other), 8); // which is still current
                     return 0;
                 };
                 host.Export(setup, host.MakeBitmap(), CheckedHost::MakeCell(), &prank.record);
                 EXPECT_EQ(host.AskSize(setup), 8); // current again
                 host.destroySetup(other);
             });
         }},
    };
}

} // namespace kowen::test
