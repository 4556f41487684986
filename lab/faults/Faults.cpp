/// To be loaded before the C library (LD_PRELOAD): stands before calls of it and has some of them fail, as the plan
/// says that the variable ORVANE_LAB_FAULTS names (lab/faults/FaultPlan.h). Any thread may call what stands here, at
/// any time, from within an allocation too: nothing of it allocates once the plan is read, and what it calls itself is
/// neither counted nor failed.

#include "lab/faults/FaultPage.h"
#include "lab/faults/FaultPlan.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <execinfo.h>
#include <fcntl.h>
#include <fstream>
#include <link.h>
#include <poll.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

// NOLINTBEGIN(bugprone-reserved-identifier): names of the C library
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
}
// NOLINTEND(bugprone-reserved-identifier)

namespace {

using faults::Kind;

constexpr int kMostFrames = 40;
constexpr int kLowestOwnDescriptor = 900;  // out of the way of the program's numbers

/// Not of the kind that is made at the first use, since that allocates.
[[gnu::tls_model("initial-exec")]] thread_local int t_inside = 0;

std::atomic<bool> s_isReady = false;
const faults::Plan* s_plan = nullptr;
faults::FaultPage s_ownPage{{1}, {0}, {}};
faults::FaultPage* s_page = &s_ownPage;
int s_log = -1;

/// While it lives, calls of this thread are those of this library.
struct Inside {
    Inside() { ++t_inside; }
    ~Inside() { --t_inside; }
    Inside(const Inside&) = delete;
    Inside& operator=(const Inside&) = delete;
};

/// What a call is about: a path, a descriptor, or neither; and a number that tells it from others of its kind: the command
/// of fcntl, the milliseconds of poll, the bytes of an allocation.
struct Place {
    const char* path = nullptr;
    int descriptor = -1;
    std::int64_t number = kNoNumber;

    static constexpr std::int64_t kNoNumber = INT64_MIN;
};

constexpr Place kNowhere;

constexpr Place ofSize(std::size_t bytes)
{
    return {nullptr, -1, static_cast<std::int64_t>(bytes)};
}

/// A text of limited length on the stack. What does not fit is left out.
class Text {
public:
    void add(const char* text)
    {
        while (*text != '\0' && m_size < m_text.size()) m_text[m_size++] = *text++;
    }
    void add(std::uint64_t number, unsigned base = 10)
    {
        std::array<char, 24> digits{};
        std::size_t next = digits.size() - 1;
        do {
            digits[--next] = "0123456789abcdef"[number % base];
            number /= base;
        } while (number != 0);
        add(&digits[next]);
    }
    /// A text that is to be one word.
    void addWord(const char* text)
    {
        for (; *text != '\0' && m_size < m_text.size(); ++text)
            m_text[m_size++] = static_cast<unsigned char>(*text) <= ' ' ? '?' : *text;
    }
    void addSigned(std::int64_t number)
    {
        if (number < 0) add("-");
        add(number < 0 ? 0 - static_cast<std::uint64_t>(number) : static_cast<std::uint64_t>(number));
    }
    void writeTo(int descriptor) const { static_cast<void>(syscall(SYS_write, descriptor, m_text.data(), m_size)); }

private:
    std::array<char, 6000> m_text{};
    std::size_t m_size = 0;
};

const char* fileNameOf(const char* path)
{
    const char* const slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

/// The object that an address lies in, empty if in none. Takes no lock.
const char* objectOf(void* address, std::uintptr_t& offset)
{
    dl_find_object found{};
    offset = reinterpret_cast<std::uintptr_t>(address);
    if (_dl_find_object(address, &found) != 0) return "";
    offset -= found.dlfo_link_map->l_addr;
    const char* const path = found.dlfo_link_map->l_name;
    return fileNameOf(path[0] == '\0' ? program_invocation_name : path);
}

/// Whether it only passes on what others want of the C library.
bool isRuntime(const char* object)
{
    for (const char* name : {"libfaults.so", "libc.so", "libstdc++.so", "libgcc_s.so", "ld-linux", "libm.so"})
        if (std::strncmp(object, name, std::strlen(name)) == 0) return true;
    return false;
}

/// OBJECT+0xOFFSET for each frame, and the name of a function that its object makes known.
void addFrames(Text& text)
{
    std::array<void*, kMostFrames> frames{};
    const int count = backtrace(frames.data(), kMostFrames);
    for (int i = 0; i < count; ++i) {
        void* const frame = frames[static_cast<std::size_t>(i)];
        std::uintptr_t offset = 0;
        const char* const object = objectOf(frame, offset);
        if (std::strncmp(object, "libfaults.so", 12) == 0) continue;
        text.add(" ");
        text.add(object[0] == '\0' ? "?" : object);
        text.add("+0x");
        text.add(offset, 16);
        Dl_info info{};
        if (dladdr(frame, &info) == 0 || !info.dli_sname) continue;
        text.add("(");
        text.add(info.dli_sname);
        text.add(")");
    }
}

void logFrames(Text& text)
{
    if (s_log < 0) return;
    addFrames(text);
    text.add("\n");
    text.writeTo(s_log);
}

bool isCallerMeant()
{
    if (s_plan->caller.empty()) return true;
    std::array<void*, kMostFrames> frames{};
    const int count = backtrace(frames.data(), kMostFrames);
    for (int i = 0; i < count; ++i) {
        std::uintptr_t offset = 0;
        const char* const object = objectOf(frames[static_cast<std::size_t>(i)], offset);
        if (!isRuntime(object)) return std::strstr(object, s_plan->caller.c_str()) != nullptr;
    }
    return false;
}

using Path = std::array<char, 4096>;

/// The path that a call is about; null if there is none.
const char* pathOf(const Place& place, Path& target)
{
    if (place.descriptor < 0) return place.path;
    std::array<char, 40> link{};
    std::snprintf(link.data(), link.size(), "/proc/self/fd/%d", place.descriptor);
    const ssize_t size = readlink(link.data(), target.data(), target.size() - 1);
    if (size <= 0) return nullptr;
    target[static_cast<std::size_t>(size)] = '\0';
    return target.data();
}

bool isPlaceMeant(const Place& place)
{
    if (s_plan->path.empty()) return true;
    Path target{};
    const char* const path = pathOf(place, target);
    return path && std::strstr(path, s_plan->path.c_str()) != nullptr;
}

void addPlace(Text& text, const Place& place)
{
    Path target{};
    if (const char* const path = pathOf(place, target)) {
        text.add(" at ");
        text.addWord(path);
    }
    if (place.number == Place::kNoNumber) return;
    text.add(" with ");
    text.addSigned(place.number);
}

int errorFor(Kind kind, const Place& place, const char* call)
{
    if (!isPlaceMeant(place) || !isCallerMeant()) return 0;
    const std::uint64_t number = s_page->calls[static_cast<std::size_t>(kind)].fetch_add(1) + 1;
    for (const faults::Rule& rule : s_plan->rules) {
        if (!rule.strikes(kind, number)) continue;
        s_page->failed.fetch_add(1);
        Text text;
        text.add("failed ");
        text.add(faults::kKinds[static_cast<std::size_t>(kind)].word.data());
        text.add(" ");
        text.add(number);
        text.add(" errno ");
        text.add(static_cast<std::uint64_t>(rule.error));
        text.add(" thread ");
        text.add(static_cast<std::uint64_t>(syscall(SYS_gettid)));
        text.add(" of ");
        text.add(call);
        addPlace(text, place);
        logFrames(text);
        return rule.error;
    }
    return 0;
}

/// Counts a call. The error that it is to fail with, in `errno` too; 0, and `errno` as it was, if it is to be made.
/// @param call  the name of the function
int strikes(Kind kind, const Place& place, const char* call)
{
    if (!s_isReady.load(std::memory_order_acquire) || t_inside != 0) return 0;
    if (s_page->isArmed.load(std::memory_order_acquire) == 0) return 0;
    const Inside inside;
    const int before = errno;
    const int error = errorFor(kind, place, call);
    errno = error != 0 ? error : before;
    return error;
}

/// What the program would have called without this library.
template <class Function>
Function* behind(const char* name, std::atomic<void*>& known)
{
    void* function = known.load(std::memory_order_acquire);
    if (!function) {
        const Inside inside;
        function = dlsym(RTLD_NEXT, name);
        if (!function) _exit(2);
        known.store(function, std::memory_order_release);
    }
    return reinterpret_cast<Function*>(function);
}

/// Tells where the program was; the signal's own action follows.
void logCrash(int signal)
{
    const Inside inside;
    Text text;
    text.add("crashed ");
    text.add(static_cast<std::uint64_t>(signal));
    logFrames(text);
}

[[noreturn]] void refuse(const std::string& text)
{
    std::fprintf(stderr, "faults: %s\n", text.c_str());
    _exit(2);
}

int openOwn(const std::string& path, int flags)
{
    const int opened = open(path.c_str(), flags | O_CLOEXEC, 0644);
    if (opened < 0) refuse(path + ": " + std::strerror(errno));
    const int moved = fcntl(opened, F_DUPFD_CLOEXEC, kLowestOwnDescriptor);
    if (moved < 0) return opened;
    close(opened);
    return moved;
}

void mapControl(const std::string& path)
{
    const int file = openOwn(path, O_RDWR | O_CREAT);
    void* page = MAP_FAILED;
    if (ftruncate(file, sizeof(faults::FaultPage)) == 0)
        page = mmap(nullptr, sizeof(faults::FaultPage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (page == MAP_FAILED) refuse(path + ": " + std::strerror(errno));
    close(file);
    s_page = static_cast<faults::FaultPage*>(page);
}

[[gnu::constructor]] void begin()
{
    const char* const path = std::getenv("ORVANE_LAB_FAULTS");
    if (!path) return;
    std::ifstream file(path);
    if (!file) refuse(std::string(path) + ": " + std::strerror(errno));
    try {
        s_plan = new faults::Plan(faults::readPlan(file, path));
    } catch (const std::exception& error) {
        refuse(error.what());
    }
    if (!s_plan->controlFile.empty()) mapControl(s_plan->controlFile);
    if (!s_plan->logFile.empty()) {
        s_log = openOwn(s_plan->logFile, O_WRONLY | O_CREAT | O_APPEND);
        struct sigaction action = {};
        action.sa_handler = &logCrash;
        action.sa_flags =
            static_cast<int>(SA_RESETHAND);  // the instruction is tried again, and the action is its own then
        sigaction(SIGSEGV, &action, nullptr);
        sigaction(SIGABRT, &action, nullptr);  // as long as the program has no action of its own
    }
    void* frame = nullptr;
    backtrace(&frame, 1);  // loads what it needs
    s_isReady.store(true, std::memory_order_release);
}

/// A line for each descriptor of the program that is open: its path, or what else the kernel calls it.
void noteDescriptors()
{
    const int file = openOwn(s_plan->descriptorsFile, O_WRONLY | O_CREAT | O_TRUNC);
    for (int descriptor = 0; descriptor < kLowestOwnDescriptor; ++descriptor) {
        Path target{};
        const char* const path = pathOf({nullptr, descriptor}, target);
        if (!path) continue;
        Text text;
        text.addWord(path);
        text.add("\n");
        text.writeTo(file);
    }
    close(file);
}

void noteCounts()
{
    const int file = openOwn(s_plan->countFile, O_WRONLY | O_CREAT | O_TRUNC);
    for (std::size_t i = 0; i < faults::kKindCount; ++i) {
        Text text;
        text.add(faults::kKinds[i].word.data());
        text.add(" ");
        text.add(s_page->calls[i].load());
        text.add("\n");
        text.writeTo(file);
    }
    close(file);
}

/// What the program has made of static duration is gone by then.
[[gnu::destructor]] void end()
{
    if (!s_isReady) return;
    const Inside inside;
    if (!s_plan->descriptorsFile.empty()) noteDescriptors();
    if (!s_plan->countFile.empty()) noteCounts();
}

}  // namespace

// The names that the program calls are given as those of the linker: what the headers say of these functions depends on
// the widths that a program is compiled for.

// STANDS_BEFORE(result, name, kind, place, failure, (parameters), (arguments))
// NOLINTBEGIN(bugprone-macro-parentheses): types take none
#define STANDS_BEFORE(result, name, kind, place, failure, parameters, arguments)                                       \
    extern "C" [[gnu::visibility("default")]] result before_##name parameters __asm__(#name);                          \
    result before_##name parameters                                                                                    \
    {                                                                                                                  \
        static std::atomic<void*> known;                                                                               \
        if ([[maybe_unused]] const int error = strikes(Kind::kind, place, #name); error != 0) return failure;          \
        return behind<result parameters>(#name, known) arguments;                                                      \
    }
// NOLINTEND(bugprone-macro-parentheses)

// What is opened may have to be given a mode.
#define STANDS_BEFORE_OPEN(name)                                                                                       \
    extern "C" [[gnu::visibility("default")]] int before_##name(const char* path, int flags, ...) __asm__(#name);      \
    int before_##name(const char* path, int flags, ...)                                                                \
    {                                                                                                                  \
        static std::atomic<void*> known;                                                                               \
        std::va_list more;                                                                                             \
        va_start(more, flags);                                                                                         \
        const unsigned mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, unsigned) : 0;                       \
        va_end(more);                                                                                                  \
        if (strikes(Kind::Open, Place{path}, #name) != 0) return -1;                                                   \
        return behind<int(const char*, int, ...)>(#name, known)(path, flags, mode);                                    \
    }
STANDS_BEFORE_OPEN(open)
STANDS_BEFORE_OPEN(open64)

#define STANDS_BEFORE_OPENAT(name)                                                                                     \
    extern "C"                                                                                                         \
        [[gnu::visibility("default")]] int before_##name(int folder, const char* path, int flags, ...) __asm__(#name); \
    int before_##name(int folder, const char* path, int flags, ...)                                                    \
    {                                                                                                                  \
        static std::atomic<void*> known;                                                                               \
        std::va_list more;                                                                                             \
        va_start(more, flags);                                                                                         \
        const unsigned mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(more, unsigned) : 0;                       \
        va_end(more);                                                                                                  \
        if (strikes(Kind::Openat, Place{path}, #name) != 0) return -1;                                                 \
        return behind<int(int, const char*, int, ...)>(#name, known)(folder, path, flags, mode);                       \
    }
STANDS_BEFORE_OPENAT(openat)
STANDS_BEFORE_OPENAT(openat64)

#define STANDS_BEFORE_FCNTL(name)                                                                                      \
    extern "C" [[gnu::visibility("default")]] int before_##name(int descriptor, int command, ...) __asm__(#name);      \
    int before_##name(int descriptor, int command, ...)                                                                \
    {                                                                                                                  \
        static std::atomic<void*> known;                                                                               \
        std::va_list more;                                                                                             \
        va_start(more, command);                                                                                       \
        void* const argument = va_arg(more, void*);                                                                    \
        va_end(more);                                                                                                  \
        if (strikes(Kind::Fcntl, Place{nullptr, descriptor, command}, #name) != 0) return -1;                          \
        return behind<int(int, int, ...)>(#name, known)(descriptor, command, argument);                                \
    }
STANDS_BEFORE_FCNTL(fcntl)
STANDS_BEFORE_FCNTL(fcntl64)

#define OF_DESCRIPTOR (Place{nullptr, d})

STANDS_BEFORE(int, __open_2, Open, (Place{p}), -1, (const char* p, int f), (p, f))
STANDS_BEFORE(int, __open64_2, Open, (Place{p}), -1, (const char* p, int f), (p, f))
STANDS_BEFORE(std::FILE*, fopen, Fopen, (Place{p}), nullptr, (const char* p, const char* m), (p, m))
STANDS_BEFORE(std::FILE*, fopen64, Fopen, (Place{p}), nullptr, (const char* p, const char* m), (p, m))
STANDS_BEFORE(std::FILE*, fdopen, Fopen, OF_DESCRIPTOR, nullptr, (int d, const char* m), (d, m))
STANDS_BEFORE(std::FILE*, fopencookie, Fopen, kNowhere, nullptr, (void* c, const char* m, cookie_io_functions_t f),
              (c, m, f))
STANDS_BEFORE(std::size_t, fread, Fread, kNowhere, 0, (void* b, std::size_t s, std::size_t n, std::FILE* f),
              (b, s, n, f))
STANDS_BEFORE(std::size_t, fwrite, Fwrite, kNowhere, 0, (const void* b, std::size_t s, std::size_t n, std::FILE* f),
              (b, s, n, f))

STANDS_BEFORE(ssize_t, read, Read, OF_DESCRIPTOR, -1, (int d, void* b, std::size_t n), (d, b, n))
STANDS_BEFORE(ssize_t, __read_chk, Read, OF_DESCRIPTOR, -1, (int d, void* b, std::size_t n, std::size_t s),
              (d, b, n, s))
STANDS_BEFORE(ssize_t, pread, Read, OF_DESCRIPTOR, -1, (int d, void* b, std::size_t n, long o), (d, b, n, o))
STANDS_BEFORE(ssize_t, pread64, Read, OF_DESCRIPTOR, -1, (int d, void* b, std::size_t n, std::int64_t o), (d, b, n, o))
STANDS_BEFORE(ssize_t, readv, Read, OF_DESCRIPTOR, -1, (int d, const iovec* v, int n), (d, v, n))
STANDS_BEFORE(ssize_t, write, Write, OF_DESCRIPTOR, -1, (int d, const void* b, std::size_t n), (d, b, n))
STANDS_BEFORE(ssize_t, writev, Write, OF_DESCRIPTOR, -1, (int d, const iovec* v, int n), (d, v, n))
STANDS_BEFORE(ssize_t, pwrite, Write, OF_DESCRIPTOR, -1, (int d, const void* b, std::size_t n, long o), (d, b, n, o))
STANDS_BEFORE(ssize_t, pwrite64, Write, OF_DESCRIPTOR, -1, (int d, const void* b, std::size_t n, std::int64_t o),
              (d, b, n, o))
STANDS_BEFORE(ssize_t, pwritev2, Write, OF_DESCRIPTOR, -1, (int d, const iovec* v, int n, long o, int f),
              (d, v, n, o, f))
STANDS_BEFORE(ssize_t, pwritev64v2, Write, OF_DESCRIPTOR, -1, (int d, const iovec* v, int n, std::int64_t o, int f),
              (d, v, n, o, f))

STANDS_BEFORE(void*, mmap, Mmap, OF_DESCRIPTOR, MAP_FAILED, (void* a, std::size_t n, int p, int f, int d, long o),
              (a, n, p, f, d, o))
STANDS_BEFORE(void*, mmap64, Mmap, OF_DESCRIPTOR, MAP_FAILED,
              (void* a, std::size_t n, int p, int f, int d, std::int64_t o), (a, n, p, f, d, o))
STANDS_BEFORE(int, msync, Msync, kNowhere, -1, (void* a, std::size_t n, int f), (a, n, f))
STANDS_BEFORE(int, fsync, Fsync, OF_DESCRIPTOR, -1, (int d), (d))
STANDS_BEFORE(int, fdatasync, Fsync, OF_DESCRIPTOR, -1, (int d), (d))
STANDS_BEFORE(int, rename, Rename, (Place{a}), -1, (const char* a, const char* b), (a, b))

// One that waits for a single descriptor is about that.
#define OF_POLL (Place{nullptr, n == 1 && p ? p->fd : -1, t})
STANDS_BEFORE(int, poll, Poll, OF_POLL, -1, (pollfd * p, nfds_t n, int t), (p, n, t))
STANDS_BEFORE(int, __poll_chk, Poll, OF_POLL, -1, (pollfd * p, nfds_t n, int t, std::size_t s), (p, n, t, s))
STANDS_BEFORE(int, epoll_create1, Event, kNowhere, -1, (int f), (f))
STANDS_BEFORE(int, epoll_create, Event, kNowhere, -1, (int n), (n))
STANDS_BEFORE(int, eventfd, Event, kNowhere, -1, (unsigned n, int f), (n, f))
STANDS_BEFORE(int, timerfd_create, Event, kNowhere, -1, (clockid_t c, int f), (c, f))

STANDS_BEFORE(int, socket, Socket, kNowhere, -1, (int f, int t, int p), (f, t, p))
STANDS_BEFORE(int, bind, Socket, OF_DESCRIPTOR, -1, (int d, const void* a, socklen_t n), (d, a, n))
STANDS_BEFORE(int, setsockopt, Socket, OF_DESCRIPTOR, -1, (int d, int l, int o, const void* v, socklen_t n),
              (d, l, o, v, n))
STANDS_BEFORE(ssize_t, send, Send, OF_DESCRIPTOR, -1, (int d, const void* b, std::size_t n, int f), (d, b, n, f))
STANDS_BEFORE(ssize_t, sendto, Send, OF_DESCRIPTOR, -1,
              (int d, const void* b, std::size_t n, int f, const void* a, socklen_t s), (d, b, n, f, a, s))
STANDS_BEFORE(ssize_t, sendmsg, Send, OF_DESCRIPTOR, -1, (int d, const void* m, int f), (d, m, f))
STANDS_BEFORE(ssize_t, recv, Receive, OF_DESCRIPTOR, -1, (int d, void* b, std::size_t n, int f), (d, b, n, f))
STANDS_BEFORE(ssize_t, recvfrom, Receive, OF_DESCRIPTOR, -1,
              (int d, void* b, std::size_t n, int f, void* a, socklen_t* s), (d, b, n, f, a, s))
STANDS_BEFORE(ssize_t, recvmsg, Receive, OF_DESCRIPTOR, -1, (int d, void* m, int f), (d, m, f))

STANDS_BEFORE(int, clock_gettime, Clock, kNowhere, -1, (clockid_t c, void* t), (c, t))
STANDS_BEFORE(int, sched_setscheduler, Sched, kNowhere, -1, (pid_t i, int p, const sched_param* s), (i, p, s))
STANDS_BEFORE(int, sched_setaffinity, Sched, kNowhere, -1, (pid_t i, std::size_t n, const void* m), (i, n, m))
STANDS_BEFORE(int, sched_getaffinity, Sched, kNowhere, -1, (pid_t i, std::size_t n, void* m), (i, n, m))
STANDS_BEFORE(int, sched_get_priority_min, Sched, kNowhere, -1, (int p), (p))
STANDS_BEFORE(int, sched_get_priority_max, Sched, kNowhere, -1, (int p), (p))
STANDS_BEFORE(int, pthread_setschedparam, Sched, kNowhere, error, (pthread_t i, int p, const sched_param* s), (i, p, s))
STANDS_BEFORE(int, pthread_setaffinity_np, Sched, kNowhere, error, (pthread_t i, std::size_t n, const void* m),
              (i, n, m))
STANDS_BEFORE(int, pthread_create, Thread, kNowhere, error,
              (pthread_t * i, const pthread_attr_t* a, void* (*f)(void*), void* c), (i, a, f, c))

#ifndef __LP64__
STANDS_BEFORE(int, __clock_gettime64, Clock, kNowhere, -1, (clockid_t c, void* t), (c, t))
#endif

// dlsym allocates, so these go to the C library under names of its own.
#define STANDS_BEFORE_ALLOCATION(result, name, failure, size, call, parameters)                                        \
    extern "C" [[gnu::visibility("default")]] result before_##name parameters __asm__(#name);                          \
    result before_##name parameters                                                                                    \
    {                                                                                                                  \
        if ([[maybe_unused]] const int error = strikes(Kind::Malloc, ofSize(size), #name); error != 0) return failure; \
        return call;                                                                                                   \
    }
STANDS_BEFORE_ALLOCATION(void*, malloc, nullptr, n, __libc_malloc(n), (std::size_t n))
STANDS_BEFORE_ALLOCATION(void*, calloc, nullptr, n* s, __libc_calloc(n, s), (std::size_t n, std::size_t s))
STANDS_BEFORE_ALLOCATION(void*, realloc, nullptr, n, __libc_realloc(p, n), (void* p, std::size_t n))
STANDS_BEFORE_ALLOCATION(void*, memalign, nullptr, n, __libc_memalign(a, n), (std::size_t a, std::size_t n))
STANDS_BEFORE_ALLOCATION(void*, aligned_alloc, nullptr, n, __libc_memalign(a, n), (std::size_t a, std::size_t n))

extern "C" [[gnu::visibility("default")]] int before_posix_memalign(void** p, std::size_t a,
                                                                    std::size_t n) __asm__("posix_memalign");
int before_posix_memalign(void** p, std::size_t a, std::size_t n)
{
    if (const int error = strikes(Kind::Malloc, ofSize(n), "posix_memalign"); error != 0) return error;
    if (a < sizeof(void*) || (a & (a - 1)) != 0) return EINVAL;
    *p = __libc_memalign(a, n);
    return *p ? 0 : ENOMEM;
}

extern "C" [[noreturn]] [[gnu::visibility("default")]] void before_abort() __asm__("abort");
void before_abort()
{
    static std::atomic<void*> known;
    struct sigaction action = {};
    const bool isLogged = sigaction(SIGABRT, nullptr, &action) == 0 && action.sa_handler == &logCrash;
    if (s_isReady && !isLogged) logCrash(SIGABRT);
    behind<void()>("abort", known)();
    _exit(2);
}
