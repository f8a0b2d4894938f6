// That the module needs the system calls that docs/reliability.md lists for each thing it does, and
// no others: the work is done by a process that may make no other call.
#include "limits/limits.h"
#include "module/hostile_host.h"
#include "support/child_process.h"

#include <cstddef>
#include <fstream>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <malloc.h>
#include <map>
#include <sstream>
#include <sys/prctl.h>
#include <sys/syscall.h>

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
    {"mmap", SYS_mmap},
    {"mprotect", SYS_mprotect},
    {"mremap", SYS_mremap},
    {"munmap", SYS_munmap},
    {"newfstatat", SYS_newfstatat},
    {"openat", SYS_openat},
    {"pread64", SYS_pread64},
    {"read", SYS_read},
    {"readlink", SYS_readlink},
    {"rename", SYS_rename},
    {"rt_sigpending", SYS_rt_sigpending},
    {"rt_sigprocmask", SYS_rt_sigprocmask},
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

void AllowOnly(const Calls &calls) {
    std::vector<sock_filter> filter = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_exit_group, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)};
    for (const std::string &call : calls) {
        filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, kNumbers.at(call), 0, 1));
        filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
    }
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS));
    const sock_fprog program = {static_cast<unsigned short>(filter.size()), filter.data()};
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 ||
        prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) != 0)
        _exit(77);
}

class SystemCalls : public HostileHost {
protected:
    /// Work, a bool(), in a process that may make these calls only. 0: it is true; -1: it made
    /// another.
    template <typename Work> int With(const Calls &calls, Work work) const {
        return RunInChild([&] {
                   AllowOnly(calls);
                   return work() ? 0 : 1;
               })
            .exitCode;
    }

    /// That the calls of the guide's row are enough, and that each is needed. Calls for memory are
    /// made or not as the heap is; the row "memory" is not looked at one by one.
    template <typename Work> void ExpectListed(const std::string &what, Work work) {
        const Calls memory = Listed("memory"), listed = Listed(what);
        ASSERT_FALSE(listed.empty()) << what;
        Calls all = listed;
        all.insert(all.end(), memory.begin(), memory.end());
        const int code = With(all, work);
        if (code == 77)
            GTEST_SKIP() << "this system filters no calls";
        EXPECT_EQ(code, 0) << what;
        for (size_t i = 0; what != "memory" && i < listed.size(); ++i) {
            Calls fewer = all;
            fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(i));
            EXPECT_EQ(With(fewer, work), -1) << what << " needs no " << listed[i];
        }
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
    ExpectListed("memory", [this] {
        return Export(plain, setup).jpeg == plain.jpeg &&
               Export(steps, otherSetup).jpeg == steps.jpeg && DrawToProcedure();
    });
}

TEST_F(SystemCalls, OfPicturesInFiles) {
    const std::string path = Path("a.jpg");
    ExpectListed("a picture in a file", [&] { return Export(plain, setup, path).result == 0; });
    EXPECT_EQ(FileBytes("a.jpg"), plain.jpeg);
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

} // namespace

#endif
