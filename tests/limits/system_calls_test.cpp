// That the module needs the system calls that docs/reliability.md lists for each thing it does, and
// no others: the work is done by a process that may make no other call.
#include "limits/limits.h"
#include "module/hostile_host.h"
#include "support/child_process.h"

#include <cstddef>
#include <fstream>
#include <functional>
#include <latch>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <map>
#include <sstream>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <thread>

#if defined(__x86_64__) && !defined(KOWEN_SANITIZED)

namespace {

using namespace kowen::test;

const std::map<std::string, unsigned> kNumbers = {
    {"brk", SYS_brk},
    {"close", SYS_close},
    {"fchmod", SYS_fchmod},
    {"fchown", SYS_fchown},
    {"fcntl", SYS_fcntl},
    {"fstat", SYS_fstat},
    {"fsync", SYS_fsync},
    {"getrandom", SYS_getrandom},
    {"lseek", SYS_lseek},
    {"madvise", SYS_madvise},
    {"mmap", SYS_mmap},
    {"mprotect", SYS_mprotect},
    {"mremap", SYS_mremap},
    {"munmap", SYS_munmap},
    {"newfstatat", SYS_newfstatat},
    {"openat", SYS_openat},
    {"poll", SYS_poll},
    {"pread64", SYS_pread64},
    {"read", SYS_read},
    {"readlink", SYS_readlink},
    {"rename", SYS_rename},
    {"rt_sigpending", SYS_rt_sigpending},
    {"rt_sigprocmask", SYS_rt_sigprocmask},
    {"rt_sigreturn", SYS_rt_sigreturn},
    {"rt_sigtimedwait", SYS_rt_sigtimedwait},
    {"unlink", SYS_unlink},
    {"write", SYS_write},
};

using Calls = std::vector<std::string>;

/// The row of the guide's table that begins with these words.
Calls Listed(const std::string &what) {
    std::ifstream guide(KOWEN_RELIABILITY);
    std::string line;
    while (std::getline(guide, line) && !line.starts_with("| " + what + " |"))
        continue;
    Calls calls;
    for (size_t at = line.find('`'); at != std::string::npos; at = line.find('`', at + 1)) {
        const size_t end = line.find('`', at + 1);
        calls.push_back(line.substr(at + 1, end - at - 1));
        at = end;
    }
    return calls;
}

using Filter = std::vector<sock_filter>;

Filter FilterFor(const Calls &calls) {
    Filter filter = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                     BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
                     BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    for (const std::string &call : calls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kNumbers.at(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
    return filter;
}

void Apply(Filter &filter) {
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        _exit(77);
}

void AllowOnly(const Calls &calls) {
    Filter filter = FilterFor(calls);
    Apply(filter);
}

Calls operator+(Calls left, const Calls &right) {
    left.insert(left.end(), right.begin(), right.end());
    return left;
}

class SystemCalls : public HostileHost {
protected:
    /// Runs `run`, an int(Calls), which does something in a process that may make these calls only:
    /// 0 when all went well, -1 when it made another. Sees that the calls of the guide's row are
    /// enough, and that each is needed. Calls for memory are made or not as the heap is.
    template <typename Run> void ExpectListedFor(const std::string &what, Run run) {
        const Calls memory = Listed("memory"), listed = Listed(what);
        ASSERT_FALSE(memory.empty() || listed.empty()) << what;
        for (const std::string &call : listed) {
            Calls fewer = listed;
            std::erase(fewer, call);
            const int code = run(fewer + memory);
            if (code == 77)
                GTEST_SKIP() << "this system filters no calls";
            EXPECT_EQ(code, -1) << what << " needs no " << call;
        }
        EXPECT_EQ(run(listed + memory), 0) << what; // the last, so that its file stays
    }

    /// The same for work, a bool(), in a child; `prepare` runs there before, with all calls.
    template <typename Work>
    void ExpectListed(
        const std::string &what, Work work, const char *outputPath = nullptr,
        const std::function<void()> &prepare = [] {}) {
        ExpectListedFor(what, [&](const Calls &calls) {
            const auto filtered = [&] {
                prepare();
                AllowOnly(calls);
                return work() ? 0 : 1;
            };
            return RunInChild(filtered, "", outputPath).exitCode;
        });
    }

    bool ExportToMemory() const {
        return Export(plain, setup).jpeg == plain.jpeg &&
               Export(steps, otherSetup).jpeg == steps.jpeg;
    }

    /// The raster device with a procedure that keeps nothing.
    bool DrawToProcedure() {
        const auto procedure = [](uintptr_t, int32_t operation, void *, int32_t count) {
            return static_cast<intptr_t>(operation == KOWEN_IO_WRITE ? count
                                                                     : operation == KOWEN_IO_OPEN);
        };
        const HostIoProcedure address = procedure;
        host.escapeSetup(otherSetup, KOWEN_ESCAPE_SET_HOST_IO, 4,
                         reinterpret_cast<const void *>(address), nullptr, 0);
        if (raster.Initialise(otherSetup, "name") != 0)
            return false;
        for (Request &request : drawing)
            if (device(0, KOWEN_DD_DISPATCH, request.Data()) != 0)
                return false;
        return raster.Terminate() == 0;
    }

    void SetUp() override {
        host.module.Entry<ShortDoorFunction>("RASTER_dd_entry")(KOWEN_DOOR_ADDRESS, &device, 0);
        profile = host.directory.Write("s.ini", "[S]\nDriver=d\nQuality Mode=242\nQuality=50\n");
    }

    HostileDevice raster{host.module, "RASTER_dd_entry"};
    DeviceDoorFunction device = nullptr;
    std::vector<Request> drawing = DrawingRequests(plain.bitmap);
    std::string profile;
};

TEST_F(SystemCalls, OfPicturesInMemoryAndToAProcedure) {
    const Calls memory = Listed("memory");
    const int code = RunInChild([&] {
                         AllowOnly(memory);
                         return ExportToMemory() && DrawToProcedure() ? 0 : 1;
                     }).exitCode;
    if (code == 77)
        GTEST_SKIP() << "this system filters no calls";
    EXPECT_EQ(code, 0);
}

// A heap that counts the processors for its second thread and gives back all it can: what it does
// some day in any program.
void MakeHeapBusy() {
    mallopt(M_MMAP_THRESHOLD, 16 << 20);
    mallopt(M_TRIM_THRESHOLD, 1);
    mallopt(M_ARENA_TEST, 1);
    std::latch started(1);
    std::thread([&started] {
        std::free(std::malloc(1));
        started.count_down();
        pause();
    }).detach();
    started.wait();
}

// The thread's first memory is the module's, so the heap makes one for the thread.
TEST_F(SystemCalls, OfPicturesInMemoryInAThread) {
    const TestBitmap noise = MakeNoise(600, 400);
    const auto work = [&] {
        bool whole = true;
        for (int i = 0; i < 3; ++i) {
            ExportRecord record = {};
            whole = host.Export("", noise, CellFor(noise), setup, &record).result == 0 && whole;
        }
        return whole;
    };
    ExpectListedFor("memory of a thread", [&](const Calls &calls) {
        Filter filter = FilterFor(calls);
        const auto inThread = [&] {
            MakeHeapBusy();
            std::thread([&] {
                Apply(filter);
                _exit(work() ? 0 : 1);
            }).join();
            return 2;
        };
        return RunInChild(inThread).exitCode;
    });
}

TEST_F(SystemCalls, OfPicturesInFiles) {
    const std::string path = Path("a.jpg");
    ExpectListed("a picture in a file", [&] { return Export(plain, setup, path).result == 0; });
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

// A new file would take the number of a standard stream, which the host has closed.
TEST_F(SystemCalls, OfPicturesInFilesWhereAStandardStreamIsClosed) {
    const std::string path = Path("a.jpg");
    ExpectListed(
        "the same, where a standard stream is closed",
        [&] { return Export(plain, setup, path).result == 0; }, nullptr,
        [] { close(STDIN_FILENO); });
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

// The standard output of a host that has printed nothing yet.
void ForgetPrinting() {
    if (std::freopen("/dev/fd/1", "w", stdout) == nullptr)
        _exit(78);
}

// It is told of on the standard output. The heap tries what it does for threads, too.
TEST_F(SystemCalls, OfMemoryThatIsRefused) {
    const auto allocate = host.module.Symbol<GlobalAllocFunction>("GlobalAlloc");
    const Calls ofThreads = Listed("memory of a thread");
    const auto refuse = [&] {
        const bool refused = allocate(KOWEN_GLOBAL_FLAGS, 0x70000000) == 0;
        std::fflush(stdout);
        return refused;
    };
    ExpectListedFor("memory that is refused", [&](const Calls &calls) {
        const auto filtered = [&] {
            ForgetPrinting();
            SetLimit(RLIMIT_AS, size_t{1} << 30);
            AllowOnly(calls + ofThreads);
            return refuse() ? 0 : 1;
        };
        return RunInChild(filtered).exitCode;
    });
}

TEST_F(SystemCalls, OfPicturesInTheStandardOutput) {
    const auto work = [&] { return Export(plain, setup, "stdout").result == 0; };
    const std::string path = Path("a.jpg");
    ExpectListed("standard output, a pipe", work, nullptr, ForgetPrinting);
    ExpectListed("standard output, a file", work, path.c_str(), ForgetPrinting);
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
}

// The signals that the reader sends go to a handler of the host's, which returns by rt_sigreturn.
TEST_F(SystemCalls, OfAStandardOutputThatDoesNotWait) {
    const TestBitmap noise = MakeNoise(150, 100); // more than fits into the pipe
    ExpectListedFor("a pipe that does not wait", [&](const Calls &calls) {
        return ReadSlowly(
                   false,
                   [&](int) {
                       AllowOnly(calls + Calls{"rt_sigreturn"});
                       ExportRecord record = {};
                       _exit(host.Export("stdout", noise, CellFor(noise), setup, &record).result ==
                                     0
                                 ? 0
                                 : 1);
                       return 2;
                   })
            .status;
    });
}

// The device asks the host between its rows; what it has written goes.
TEST_F(SystemCalls, OfAPictureThatIsCancelled) {
    ExportRecord record = {};
    record.statusCallback = [](uintptr_t, int32_t, int32_t, int32_t, int32_t, int32_t, void *) {
        return int32_t{1};
    };
    ExpectListed("a picture that is cancelled", [&] {
        if (raster.Initialise(setup, Path("a.jpg"), &record) != 0)
            return false;
        for (Request &request : drawing)
            device(0, KOWEN_DD_DISPATCH, request.Data());
        raster.Terminate();
        return !host.directory.Has("a.jpg");
    });
}

TEST_F(SystemCalls, OfProfilesThatAreRead) {
    ExpectListed("a profile that is read", [this] {
        int32_t quality = 0;
        const MemoryHandle with = host.createSetup(0, profile.c_str(), "S", nullptr);
        host.escapeSetup(with, KOWEN_ESCAPE_GET_QUALITY, 0, nullptr, &quality, 0);
        return quality == 50;
    });
}

TEST_F(SystemCalls, OfProfilesThatAreWritten) {
    const MemoryHandle with = host.createSetup(0, profile.c_str(), "S", nullptr);
    ExpectListed("a profile that is written", [&] {
        const int32_t quality = 60;
        return host.escapeSetup(with, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 1) == 1;
    });
    EXPECT_EQ(host.directory.Read("s.ini"), "[S]\nDriver=d\nQuality Mode=242\nQuality=60\n");
    host.destroySetup(with);
}

TEST_F(SystemCalls, OfAProfileThatCannotBeWritten) {
    const std::string text = host.directory.Read("s.ini");
    const MemoryHandle with = host.createSetup(0, profile.c_str(), "S", nullptr);
    ExpectListed(
        "a profile that cannot be written",
        [&] {
            const int32_t quality = 60;
            host.escapeSetup(with, KOWEN_ESCAPE_SET_QUALITY, 4, &quality, nullptr, 1);
            return true;
        },
        nullptr, [] { SetLimit(RLIMIT_FSIZE, 10); });
    EXPECT_EQ(host.directory.Read("s.ini"), text);
    host.destroySetup(with);
}

} // namespace

#endif
