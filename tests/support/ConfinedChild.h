#ifndef TESTS_SUPPORT_CONFINEDCHILD_H
#define TESTS_SUPPORT_CONFINEDCHILD_H

#include <cerrno>
#include <cstddef>
#include <functional>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/// What a child returns that can't be confined here.
inline constexpr int kNotPossible = 77;

/// Writes down what has been run; there in a build that counts it.
extern "C" [[gnu::weak]] void __gcov_dump();

/// Whether this process, a child, may make any system call.
inline bool s_mayCallAll = true;

/// What a process of its own returns from `body`; -1 if a signal ended it.
inline int inChild(const std::function<int()>& body)
{
    const pid_t child = ::fork();
    if (child == 0) {
        const int status = body();
        if (s_mayCallAll && __gcov_dump) __gcov_dump();
        ::syscall(SYS_exit_group, status);  // `_exit` looks for leaks first, under a sanitizer
    }
    int status = 0;
    if (child < 0 || ::waitpid(child, &status, 0) != child || !WIFEXITED(status)) return -1;
    return WEXITSTATUS(status);
}

/// From here on, of this process's system calls the one of this number is answered by `matching`, all others by
/// `others`, both as seccomp names them. For a child only.
inline bool confineSystemCalls(unsigned number, unsigned matching, unsigned others)
{
    sock_filter code[] = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
                          BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1), BPF_STMT(BPF_RET | BPF_K, matching),
                          BPF_STMT(BPF_RET | BPF_K, others)};
    const sock_fprog program{4, code};
    s_mayCallAll = others == SECCOMP_RET_ALLOW;
    return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 && ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program) == 0;
}

#endif
