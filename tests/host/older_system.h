// A process on a system that lacks the calls that leave nothing behind.
#pragma once

#if defined(__x86_64__)

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace kowen::test {

/// From now on this process has no files in memory and none without a name. False where the system
/// filters no calls.
inline bool ForgetNewerCalls() {
    constexpr uint32_t kLowHalf = 0; // of an argument, little-endian
    constexpr uint32_t kFlags = offsetof(seccomp_data, args) + 2 * sizeof(uint64_t) + kLowHalf;
    constexpr uint32_t kNoName = O_TMPFILE & ~O_DIRECTORY;
    sock_filter filter[] = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_memfd_create, 4, 0),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_openat, 0, 2),
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, kFlags),
        BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, kNoName, 2, 0),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EOPNOTSUPP),
    };
    const sock_fprog program = {sizeof filter / sizeof *filter, filter};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

} // namespace kowen::test

#endif
