// Has a program keep its counts of executed lines where it ends without the C library's exit: in a child of a test, by
// an abort, as behind a death. Linked into every program of that build, it is found before the C library's by the
// program and by the libraries that it loads. The C library's own calls don't find it: of a failed assert, or a call
// that is found to write too far, nothing is kept, nor of what a signal ends.

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" void __gcov_dump();
extern "C" void __gcov_reset();

extern "C" [[noreturn]] void _exit(int status)
{
    __gcov_dump();
    for (;;) ::syscall(SYS_exit_group, status);
}

extern "C" [[noreturn]] void _Exit(int status)
{
    _exit(status);
}

/// As the C library's does: no mask and no handler keeps it from being the end, also if the handler aborts once more.
extern "C" [[noreturn]] void abort() noexcept
{
    static std::atomic_flag isHandled;
    __gcov_dump();
    __gcov_reset();  // what a handler runs is added by the next one

    sigset_t own;
    sigemptyset(&own);
    sigaddset(&own, SIGABRT);
    pthread_sigmask(SIG_UNBLOCK, &own, nullptr);
    if (!isHandled.test_and_set()) {
        std::raise(SIGABRT);
        __gcov_dump();
    }
    for (;;) {
        std::signal(SIGABRT, SIG_DFL);
        std::raise(SIGABRT);
    }
}
