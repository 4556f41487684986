// Makes whoever it is loaded into (LD_PRELOAD) live by the lab's clock: what reads a clock, sleeps, waits with a deadline
// or sets a timer through the C library. Without ORVANE_LAB_CLOCK in the environment nothing changes.
//
// A wait is one of the machine's for a tenth of a second at the most, after which the clock is looked at again: so a
// step of its real time arrives in waits that have begun, and a new rate before it holds.

#include "lab/clock/ClockPage.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dlfcn.h>
#include <linux/futex.h>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <sys/select.h>
#include <sys/syscall.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <unistd.h>

static_assert(sizeof(long) == 8, "with 32 bits the C library has each of these functions twice");

namespace {

using labclock::ClockState;
using labclock::kSecond;

constexpr std::int64_t kLongestWait = labclock::ClockPage::kNotice / 2;  // of the machine
constexpr std::int64_t kFarthest = INT64_MAX / 4;
constexpr const char* kVariable = "ORVANE_LAB_CLOCK";

/// Ends the process: one that ran by another clock than its neighbours would be worse.
[[noreturn]] void refuse(const char* path, const char* what)
{
    for (const char* part : {"lab-clock: ", path, ": ", what, "\n"})
        if (write(STDERR_FILENO, part, std::strlen(part)) < 0) break;
    _exit(125);
}

/// A function of the C library, looked up when it is first wanted. A second look-up at the same time finds the same.
template <class Function>
class Original {
public:
    /// @param version  of the symbol, where a default one would be an old one
    constexpr explicit Original(const char* name, const char* version = nullptr) : m_name(name), m_version(version) {}

    template <class... Arguments>
    auto operator()(Arguments... arguments)
    {
        return find()(arguments...);
    }

    Function* find()
    {
        void* found = m_found.load(std::memory_order_relaxed);
        if (!found) {
            if (m_version) found = dlvsym(RTLD_NEXT, m_name, m_version);
            if (!found) found = dlsym(RTLD_NEXT, m_name);
            if (!found) refuse(m_name, "the C library has no such function");
            m_found.store(found, std::memory_order_relaxed);
        }
        return reinterpret_cast<Function*>(found);
    }

private:
    const char* m_name;
    const char* m_version;
    std::atomic<void*> m_found = nullptr;
};

// What the attributes say is known to the compiler by the declarations of the C library.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wignored-attributes"
#define ORIGINAL(name) constinit Original<decltype(::name)> original_##name(#name)
ORIGINAL(clock_gettime);
ORIGINAL(clock_nanosleep);
ORIGINAL(gettimeofday);
ORIGINAL(time);
ORIGINAL(ppoll);
ORIGINAL(pselect);
ORIGINAL(epoll_pwait);
ORIGINAL(pthread_cond_clockwait);
constinit Original<decltype(::pthread_cond_signal)> original_pthread_cond_signal("pthread_cond_signal", "GLIBC_2.3.2");
constinit Original<decltype(::pthread_cond_broadcast)> original_pthread_cond_broadcast("pthread_cond_broadcast",
                                                                                       "GLIBC_2.3.2");
ORIGINAL(pthread_mutex_clocklock);
ORIGINAL(pthread_rwlock_clockrdlock);
ORIGINAL(pthread_rwlock_clockwrlock);
ORIGINAL(sem_clockwait);
ORIGINAL(sigtimedwait);
ORIGINAL(timerfd_create);
ORIGINAL(timerfd_settime);
ORIGINAL(timerfd_gettime);
ORIGINAL(setitimer);
ORIGINAL(getitimer);
ORIGINAL(syscall);
#undef ORIGINAL
#pragma GCC diagnostic pop

// What a thread does first in a signal handler must not look symbols up.
[[gnu::constructor]] void lookUp()
{
    original_clock_gettime.find();
    original_clock_nanosleep.find();
    original_gettimeofday.find();
    original_time.find();
    original_ppoll.find();
    original_pselect.find();
    original_epoll_pwait.find();
    original_pthread_cond_clockwait.find();
    original_pthread_cond_signal.find();
    original_pthread_cond_broadcast.find();
    original_pthread_mutex_clocklock.find();
    original_sem_clockwait.find();
    original_sigtimedwait.find();
    original_setitimer.find();
    original_getitimer.find();
    original_syscall.find();
    // By default a sleep may last 50 us longer, which is a lot of an accelerated second.
    if (std::getenv(kVariable)) prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
}

/// The page of the clock; nothing if there is none to live by.
const labclock::ClockPage* page()
{
    static std::atomic<const labclock::ClockPage*> mapped = nullptr;
    static std::atomic<bool> isKnown = false;
    if (isKnown.load(std::memory_order_acquire)) return mapped.load(std::memory_order_relaxed);
    // Threads that come here at once map it as often, which does no harm.
    const char* const path = std::getenv(kVariable);
    if (path && *path) {
        const char* error = nullptr;
        const int kept = errno;
        const labclock::ClockPage* const found = labclock::mapClockPage(path, false, error);
        if (!found) refuse(path, error);
        errno = kept;
        mapped.store(found, std::memory_order_relaxed);
    }
    isKnown.store(true, std::memory_order_release);
    return mapped.load(std::memory_order_relaxed);
}

std::int64_t machineNow()
{
    timespec now{};
    original_clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<std::int64_t>(now.tv_sec) * kSecond + now.tv_nsec;
}

std::int64_t nanosecondsOf(const timespec& time)
{
    const auto seconds = std::clamp<std::int64_t>(time.tv_sec, -kFarthest / kSecond, kFarthest / kSecond);
    return seconds * kSecond + time.tv_nsec;
}

timespec timespecOf(std::int64_t nanoseconds)
{
    timespec time{};
    time.tv_sec = static_cast<time_t>(nanoseconds / kSecond);
    time.tv_nsec = static_cast<long>(nanoseconds % kSecond);
    return time;
}

bool isProper(const timespec& time)
{
    return time.tv_nsec >= 0 && time.tv_nsec < kSecond;
}

enum class Kind { Monotonic, Real, Other };

Kind kindOf(clockid_t clock)
{
    switch (clock) {
    case CLOCK_MONOTONIC:
    case CLOCK_MONOTONIC_RAW:
    case CLOCK_MONOTONIC_COARSE:
    case CLOCK_BOOTTIME:
        return Kind::Monotonic;
    case CLOCK_REALTIME:
    case CLOCK_REALTIME_COARSE:
    case CLOCK_TAI:
        return Kind::Real;
    default:
        return Kind::Other;
    }
}

/// A moment of the clock.
struct Present {
    ClockState state;
    std::int64_t machine = 0;

    Present()
    {
        if (!page()->read(state, machine, machineNow)) refuse(std::getenv(kVariable), "is no clock of lab-clock");
    }

    std::int64_t of(Kind kind) const
    {
        return kind == Kind::Real ? labclock::realAt(state, machine) : labclock::monotonicAt(state, machine);
    }
};

std::int64_t now(Kind kind)
{
    return Present().of(kind);
}

/// When a wait is to end by the clock.
class Deadline {
public:
    Deadline(Kind kind, std::int64_t at) : m_kind(kind), m_at(at) {}

    static Deadline in(std::int64_t span)
    {
        const std::int64_t present = now(Kind::Monotonic);
        return {Kind::Monotonic, present + std::clamp<std::int64_t>(span, 0, kFarthest)};
    }

    std::int64_t left() const { return std::max<std::int64_t>(m_at - now(m_kind), 0); }
    bool hasPassed() const { return left() == 0; }

    /// How long the machine may wait until it looks again.
    std::int64_t wait() const
    {
        const Present present;
        std::int64_t rest = 0;
        if (__builtin_sub_overflow(m_at, present.of(m_kind), &rest)) rest = m_at < 0 ? 0 : kFarthest;
        return labclock::machineSpan(present.state, present.machine, rest, kLongestWait);
    }

    /// The machine's monotonic time then.
    timespec waitUntil() const { return timespecOf(machineNow() + wait()); }

private:
    Kind m_kind;
    std::int64_t m_at;
};

/// Repeats a wait that ends too early by its time.
/// @param wait      gets the machine's monotonic time until which it may wait
/// @param isTimeout  of its result
template <class Wait, class IsTimeout>
auto waitFor(const Deadline& deadline, Wait wait, IsTimeout isTimeout)
{
    while (true) {
        const timespec until = deadline.waitUntil();
        const auto result = wait(until);
        if (!isTimeout(result) || deadline.hasPassed()) return result;
    }
}

constexpr auto isTimedOut = [](int result) { return result == ETIMEDOUT; };

int failWith(int error)
{
    errno = error;
    return -1;
}

/// A wait in the kernel for a span, which a signal may end.
int sleepUntil(const Deadline& deadline)
{
    return waitFor(
        deadline,
        [](timespec until) { return original_clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr); },
        [](int result) { return result == 0; });
}

/// What `deadline` leaves of a poll, as the wait of one try.
template <class Try>
int pollUntil(const Deadline& deadline, Try attempt)
{
    while (true) {
        const timespec wait = timespecOf(deadline.wait());
        const int result = attempt(wait);
        if (result != 0 || deadline.hasPassed()) return result;
    }
}

constexpr std::int64_t kMillisecond = kSecond / 1000;

/// How often the threads of this process have told condition variables something. Several may share a number.
std::atomic<std::uint32_t>& tellsOf(const pthread_cond_t* condition)
{
    constexpr std::size_t kNumbers = 1024;
    static std::atomic<std::uint32_t> numbers[kNumbers];
    return numbers[reinterpret_cast<std::uintptr_t>(condition) / sizeof *condition % kNumbers];
}

// The C library keeps there who may use a condition variable, and by which clock it waits.
constexpr unsigned kByOtherProcesses = 1;
constexpr unsigned kByMonotonicClock = 2;

}  // namespace

extern "C" {

int clock_gettime(clockid_t clock, timespec* time) noexcept
{
    const Kind kind = kindOf(clock);
    if (kind == Kind::Other || !page()) return original_clock_gettime(clock, time);
    *time = timespecOf(now(kind));
    return 0;
}

int gettimeofday(timeval* time, void* zone) noexcept
{
    if (!page()) return original_gettimeofday(time, zone);
    const std::int64_t real = now(Kind::Real);
    time->tv_sec = static_cast<time_t>(real / kSecond);
    time->tv_usec = static_cast<suseconds_t>(real % kSecond / 1000);
    return 0;
}

time_t time(time_t* result) noexcept
{
    if (!page()) return original_time(result);
    const auto seconds = static_cast<time_t>(now(Kind::Real) / kSecond);
    if (result) *result = seconds;
    return seconds;
}

int timespec_get(timespec* time, int base) noexcept
{
    if (base != TIME_UTC) return 0;
    return clock_gettime(CLOCK_REALTIME, time) == 0 ? base : 0;
}

int clock_nanosleep(clockid_t clock, int flags, const timespec* request, timespec* rest)
{
    const Kind kind = kindOf(clock);
    if (kind == Kind::Other || !page() || !isProper(*request))
        return original_clock_nanosleep(clock, flags, request, rest);
    if (flags & TIMER_ABSTIME) return sleepUntil({kind, nanosecondsOf(*request)});
    const Deadline deadline = Deadline::in(nanosecondsOf(*request));
    const int error = sleepUntil(deadline);
    if (error == EINTR && rest) *rest = timespecOf(deadline.left());
    return error;
}

int nanosleep(const timespec* request, timespec* rest)
{
    const int error = clock_nanosleep(CLOCK_MONOTONIC, 0, request, rest);
    return error == 0 ? 0 : failWith(error);
}

int usleep(useconds_t microseconds)
{
    const timespec request = timespecOf(static_cast<std::int64_t>(microseconds) * 1000);
    return nanosleep(&request, nullptr);
}

unsigned sleep(unsigned seconds)
{
    timespec rest = timespecOf(static_cast<std::int64_t>(seconds) * kSecond);
    return nanosleep(&rest, &rest) == 0 ? 0U : static_cast<unsigned>(rest.tv_sec + (rest.tv_nsec >= kSecond / 2));
}

// Some callers begin to wait for the whole time again whenever they are woken, so a wait that is over too early is taken up
// again, unless something was told since it began: that may have come between two of the machine's waits. It wakes the
// caller a tenth of a second later then. Whether another process has told something is not known here.
int pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t clock, const timespec* until)
{
    const Kind kind = kindOf(clock);
    if (kind == Kind::Other || !page() || !isProper(*until))
        return original_pthread_cond_clockwait(condition, mutex, clock, until);
    const Deadline deadline(kind, nanosecondsOf(*until));
    const bool isShared = (condition->__data.__wrefs & kByOtherProcesses) != 0;
    const std::atomic<std::uint32_t>& tells = tellsOf(condition);
    const std::uint32_t before = tells;
    while (true) {
        const timespec next = deadline.waitUntil();
        const int result = original_pthread_cond_clockwait(condition, mutex, CLOCK_MONOTONIC, &next);
        if (result != ETIMEDOUT || deadline.hasPassed()) return result;
        if (isShared || tells != before) return 0;
    }
}

int pthread_cond_signal(pthread_cond_t* condition) noexcept
{
    ++tellsOf(condition);
    return original_pthread_cond_signal(condition);
}

int pthread_cond_broadcast(pthread_cond_t* condition) noexcept
{
    ++tellsOf(condition);
    return original_pthread_cond_broadcast(condition);
}

int pthread_cond_timedwait(pthread_cond_t* condition, pthread_mutex_t* mutex, const timespec* until)
{
    const bool isMonotonic = (condition->__data.__wrefs & kByMonotonicClock) != 0;
    return pthread_cond_clockwait(condition, mutex, isMonotonic ? CLOCK_MONOTONIC : CLOCK_REALTIME, until);
}

int pthread_mutex_clocklock(pthread_mutex_t* mutex, clockid_t clock, const timespec* until) noexcept
{
    const Kind kind = kindOf(clock);
    if (kind == Kind::Other || !page() || !isProper(*until))
        return original_pthread_mutex_clocklock(mutex, clock, until);
    return waitFor(
        {kind, nanosecondsOf(*until)},
        [=](timespec next) { return original_pthread_mutex_clocklock(mutex, CLOCK_MONOTONIC, &next); }, isTimedOut);
}

int pthread_mutex_timedlock(pthread_mutex_t* mutex, const timespec* until) noexcept
{
    return pthread_mutex_clocklock(mutex, CLOCK_REALTIME, until);
}

int pthread_rwlock_clockrdlock(pthread_rwlock_t* lock, clockid_t clock, const timespec* until) noexcept
{
    const Kind kind = kindOf(clock);
    if (kind == Kind::Other || !page() || !isProper(*until))
        return original_pthread_rwlock_clockrdlock(lock, clock, until);
    return waitFor(
        {kind, nanosecondsOf(*until)},
        [=](timespec next) { return original_pthread_rwlock_clockrdlock(lock, CLOCK_MONOTONIC, &next); }, isTimedOut);
}

int pthread_rwlock_clockwrlock(pthread_rwlock_t* lock, clockid_t clock, const timespec* until) noexcept
{
    const Kind kind = kindOf(clock);
    if (kind == Kind::Other || !page() || !isProper(*until))
        return original_pthread_rwlock_clockwrlock(lock, clock, until);
    return waitFor(
        {kind, nanosecondsOf(*until)},
        [=](timespec next) { return original_pthread_rwlock_clockwrlock(lock, CLOCK_MONOTONIC, &next); }, isTimedOut);
}

int pthread_rwlock_timedrdlock(pthread_rwlock_t* lock, const timespec* until) noexcept
{
    return pthread_rwlock_clockrdlock(lock, CLOCK_REALTIME, until);
}

int pthread_rwlock_timedwrlock(pthread_rwlock_t* lock, const timespec* until) noexcept
{
    return pthread_rwlock_clockwrlock(lock, CLOCK_REALTIME, until);
}

int sem_clockwait(sem_t* semaphore, clockid_t clock, const timespec* until)
{
    const Kind kind = kindOf(clock);
    if (kind == Kind::Other || !page() || !isProper(*until)) return original_sem_clockwait(semaphore, clock, until);
    return waitFor(
        {kind, nanosecondsOf(*until)},
        [=](timespec next) { return original_sem_clockwait(semaphore, CLOCK_MONOTONIC, &next); },
        [](int result) { return result != 0 && errno == ETIMEDOUT; });
}

int sem_timedwait(sem_t* semaphore, const timespec* until)
{
    return sem_clockwait(semaphore, CLOCK_REALTIME, until);
}

int ppoll(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask)
{
    if (!timeout || !page() || !isProper(*timeout)) return original_ppoll(descriptors, count, timeout, mask);
    return pollUntil(Deadline::in(nanosecondsOf(*timeout)),
                     [=](const timespec& wait) { return original_ppoll(descriptors, count, &wait, mask); });
}

int poll(pollfd* descriptors, nfds_t count, int milliseconds)
{
    if (milliseconds < 0) return ppoll(descriptors, count, nullptr, nullptr);
    const timespec timeout = timespecOf(milliseconds * kMillisecond);
    return ppoll(descriptors, count, &timeout, nullptr);
}

// What a call becomes that is compiled with checks of its buffers.
// NOLINTBEGIN(bugprone-reserved-identifier): names of the C library
[[noreturn]] void __chk_fail() noexcept;

int __poll_chk(pollfd* descriptors, nfds_t count, int milliseconds, std::size_t size)
{
    if (size / sizeof *descriptors < count) __chk_fail();
    return poll(descriptors, count, milliseconds);
}

int __ppoll_chk(pollfd* descriptors, nfds_t count, const timespec* timeout, const sigset_t* mask, std::size_t size)
{
    if (size / sizeof *descriptors < count) __chk_fail();
    return ppoll(descriptors, count, timeout, mask);
}
// NOLINTEND(bugprone-reserved-identifier)

int pselect(int count, fd_set* reading, fd_set* writing, fd_set* failing, const timespec* timeout, const sigset_t* mask)
{
    if (!timeout || !page() || !isProper(*timeout) || count > FD_SETSIZE)
        return original_pselect(count, reading, writing, failing, timeout, mask);
    fd_set* const sets[] = {reading, writing, failing};
    fd_set asked[3] = {};
    for (int i = 0; i < 3; ++i)
        if (sets[i]) asked[i] = *sets[i];
    return pollUntil(Deadline::in(nanosecondsOf(*timeout)), [&](const timespec& wait) {
        for (int i = 0; i < 3; ++i)
            if (sets[i]) *sets[i] = asked[i];
        return original_pselect(count, reading, writing, failing, &wait, mask);
    });
}

int select(int count, fd_set* reading, fd_set* writing, fd_set* failing, timeval* timeout)
{
    if (!timeout) return pselect(count, reading, writing, failing, nullptr, nullptr);
    if (timeout->tv_sec < 0 || timeout->tv_usec < 0 || timeout->tv_usec > 999'999) return failWith(EINVAL);
    timespec wait{};
    wait.tv_sec = timeout->tv_sec;
    wait.tv_nsec = timeout->tv_usec * 1000;
    const std::int64_t begin = page() ? now(Kind::Monotonic) : machineNow();
    const int result = pselect(count, reading, writing, failing, &wait, nullptr);
    // As this system does: what is left of the time.
    const std::int64_t passed = (page() ? now(Kind::Monotonic) : machineNow()) - begin;
    const timespec left = timespecOf(std::max<std::int64_t>(nanosecondsOf(wait) - passed, 0));
    timeout->tv_sec = left.tv_sec;
    timeout->tv_usec = static_cast<suseconds_t>(left.tv_nsec / 1000);
    return result;
}

int epoll_pwait(int descriptor, epoll_event* events, int size, int milliseconds, const sigset_t* mask)
{
    if (milliseconds <= 0 || !page()) return original_epoll_pwait(descriptor, events, size, milliseconds, mask);
    // Waits by nanoseconds: a millisecond may be a second of the clock.
    return pollUntil(Deadline::in(milliseconds * kMillisecond), [=](const timespec& wait) {
        pollfd waiting{descriptor, POLLIN, 0};
        const int result = original_ppoll(&waiting, nfds_t{1}, &wait, mask);
        return result < 0 ? result : original_epoll_pwait(descriptor, events, size, 0, nullptr);
    });
}

int epoll_wait(int descriptor, epoll_event* events, int size, int milliseconds)
{
    return epoll_pwait(descriptor, events, size, milliseconds, nullptr);
}

int sigtimedwait(const sigset_t* signals, siginfo_t* info, const timespec* timeout)
{
    if (!timeout || !page() || !isProper(*timeout)) return original_sigtimedwait(signals, info, timeout);
    const Deadline deadline = Deadline::in(nanosecondsOf(*timeout));
    while (true) {
        const timespec wait = timespecOf(deadline.wait());
        const int result = original_sigtimedwait(signals, info, &wait);
        if (result >= 0 || errno != EAGAIN || deadline.hasPassed()) return result;
    }
}

// Timers go by the rate that holds when they are set.

}  // extern "C"

namespace {

/// The clocks of timer descriptors, as far as they are known here.
constexpr int kDescriptors = 4096;
std::atomic<int> timerClocks[kDescriptors];

std::int64_t machineSpanOf(const timespec& span)
{
    const Present present;
    return labclock::machineSpan(present.state, present.machine, nanosecondsOf(span), kFarthest);
}

timespec clockSpanOf(const timespec& span)
{
    return timespecOf(labclock::clockSpan(Present().state, nanosecondsOf(span)));
}

void toClock(itimerspec& timer)
{
    timer.it_value = clockSpanOf(timer.it_value);
    timer.it_interval = clockSpanOf(timer.it_interval);
}

timespec timespecOf(const timeval& time)
{
    timespec result{};
    result.tv_sec = time.tv_sec;
    result.tv_nsec = time.tv_usec * 1000;
    return result;
}

timeval timevalOf(const timespec& time)
{
    timeval result{};
    // Rounded up: nothing would stop a timer.
    const timespec up = timespecOf(nanosecondsOf(time) + 999);
    result.tv_sec = up.tv_sec;
    result.tv_usec = static_cast<suseconds_t>(up.tv_nsec / 1000);
    return result;
}

bool isProper(const timeval& time)
{
    return time.tv_sec >= 0 && time.tv_usec >= 0 && time.tv_usec < 1'000'000;
}

}  // namespace

extern "C" {

int timerfd_create(clockid_t clock, int flags) noexcept
{
    const int descriptor = original_timerfd_create(clock, flags);
    if (descriptor >= 0 && descriptor < kDescriptors) timerClocks[descriptor] = static_cast<int>(clock);
    return descriptor;
}

int timerfd_settime(int descriptor, int flags, const itimerspec* timer, itimerspec* before) noexcept
{
    if (!page() || !isProper(timer->it_value) || !isProper(timer->it_interval) || timer->it_value.tv_sec < 0)
        return original_timerfd_settime(descriptor, flags, timer, before);
    itimerspec set = *timer;
    const bool isSet = nanosecondsOf(timer->it_value) != 0;
    if (isSet && (flags & TFD_TIMER_ABSTIME)) {
        const bool isKnown = descriptor >= 0 && descriptor < kDescriptors;
        const Kind kind = isKnown ? kindOf(static_cast<clockid_t>(timerClocks[descriptor].load())) : Kind::Monotonic;
        set.it_value = timespecOf(std::max<std::int64_t>(nanosecondsOf(timer->it_value) - now(kind), 1));
    }
    set.it_value = timespecOf(machineSpanOf(set.it_value));
    set.it_interval = timespecOf(machineSpanOf(set.it_interval));
    const int result = original_timerfd_settime(descriptor, 0, &set, before);
    if (result == 0 && before) toClock(*before);
    return result;
}

int timerfd_gettime(int descriptor, itimerspec* timer) noexcept
{
    const int result = original_timerfd_gettime(descriptor, timer);
    if (result == 0 && page()) toClock(*timer);
    return result;
}

int setitimer(int which, const itimerval* timer, itimerval* before) noexcept
{
    if (which != ITIMER_REAL || !page() || !timer || !isProper(timer->it_value) || !isProper(timer->it_interval))
        return original_setitimer(which, timer, before);
    const auto toMachine = [](const timeval& span) { return timevalOf(timespecOf(machineSpanOf(timespecOf(span)))); };
    const itimerval set{toMachine(timer->it_interval), toMachine(timer->it_value)};
    const int result = original_setitimer(which, &set, before);
    if (result == 0 && before)
        *before = {timevalOf(clockSpanOf(timespecOf(before->it_interval))),
                   timevalOf(clockSpanOf(timespecOf(before->it_value)))};
    return result;
}

int getitimer(int which, itimerval* timer) noexcept
{
    const int result = original_getitimer(which, timer);
    if (result == 0 && which == ITIMER_REAL && page())
        *timer = {timevalOf(clockSpanOf(timespecOf(timer->it_interval))),
                  timevalOf(clockSpanOf(timespecOf(timer->it_value)))};
    return result;
}

unsigned alarm(unsigned seconds) noexcept
{
    itimerval timer{};
    timer.it_value.tv_sec = static_cast<time_t>(seconds);
    itimerval before{};
    if (setitimer(ITIMER_REAL, &timer, &before) != 0) return 0;
    return static_cast<unsigned>(before.it_value.tv_sec + (before.it_value.tv_usec > 0));
}

}  // extern "C"

namespace {

/// What a call hands to the kernel: numbers, some of which are addresses.
using Words = long[6];

long callKernel(long number, const Words& words)
{
    return original_syscall(number, words[0], words[1], words[2], words[3], words[4], words[5]);
}

/// The futex wait that the C++ library makes for futures and atomics: the time is the fourth word.
long waitForFutex(Words& words)
{
    const auto* const time = reinterpret_cast<const timespec*>(words[3]);  // NOLINT(performance-no-int-to-ptr)
    const int operation = static_cast<int>(words[1]);
    const int command = operation & FUTEX_CMD_MASK;
    // Of other commands the word is something else, or nothing at all.
    const bool isWait = command == FUTEX_WAIT || command == FUTEX_WAIT_BITSET;
    if (!isWait || !time || !isProper(*time)) return callKernel(SYS_futex, words);
    const bool isSpan = command == FUTEX_WAIT;
    const Kind kind = operation & FUTEX_CLOCK_REALTIME ? Kind::Real : Kind::Monotonic;
    const Deadline deadline = isSpan ? Deadline::in(nanosecondsOf(*time)) : Deadline(kind, nanosecondsOf(*time));
    // As a wait until a time, by the monotonic clock, for whatever bit.
    words[1] = (operation & ~(FUTEX_CMD_MASK | FUTEX_CLOCK_REALTIME)) | FUTEX_WAIT_BITSET;
    if (isSpan) words[5] = static_cast<long>(FUTEX_BITSET_MATCH_ANY);
    return waitFor(
        deadline,
        [&](timespec until) {
            words[3] = reinterpret_cast<long>(&until);
            return callKernel(SYS_futex, words);
        },
        [](long result) { return result != 0 && errno == ETIMEDOUT; });
}

}  // namespace

extern "C" long syscall(long number, ...) noexcept
{
    Words words;
    va_list arguments;
    va_start(arguments, number);
    for (long& word : words) word = va_arg(arguments, long);
    va_end(arguments);
    if (!page()) return callKernel(number, words);
    switch (number) {
    case SYS_futex:
        return waitForFutex(words);
    case SYS_clock_gettime:
        // NOLINTNEXTLINE(performance-no-int-to-ptr)
        return clock_gettime(static_cast<clockid_t>(words[0]), reinterpret_cast<timespec*>(words[1]));
    default:
        return callKernel(number, words);
    }
}
