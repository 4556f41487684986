// Calls one function of the C library that waits, or several times one that tells the time, and prints what it saw:
// clock_probe CALL SECONDS.

#include <atomic>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <future>
#include <map>
#include <mutex>
#include <poll.h>
#include <pthread.h>
#include <semaphore.h>
#include <shared_mutex>
#include <string>
#include <sys/epoll.h>
#include <sys/select.h>
#include <sys/time.h>
#include <sys/timerfd.h>
#include <thread>
#include <unistd.h>

namespace {

using Seconds = std::chrono::seconds;

timespec in(clockid_t clock, int seconds)
{
    timespec time{};
    clock_gettime(clock, &time);
    time.tv_sec += seconds;
    return time;
}

double read(clockid_t clock)
{
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

/// Locks in a thread of its own for the life of this object.
template <class Lock>
class Held {
public:
    explicit Held(Lock& lock)
        : m_thread([this, &lock] {
              lock.lock();
              m_isHeld = true;
              m_isHeld.notify_all();
              m_mayEnd.wait(false);
              lock.unlock();
          })
    {
        m_isHeld.wait(false);
    }
    ~Held()
    {
        m_mayEnd = true;
        m_mayEnd.notify_all();
        m_thread.join();
    }

private:
    std::atomic<bool> m_isHeld = false;
    std::atomic<bool> m_mayEnd = false;
    std::thread m_thread;
};

/// A condition variable of C that nobody tells; as often as it ends early it waits again.
int waitForCondition(clockid_t clock, const std::function<int(pthread_cond_t*, pthread_mutex_t*)>& wait)
{
    pthread_condattr_t attributes;
    pthread_condattr_init(&attributes);
    pthread_condattr_setclock(&attributes, clock);
    pthread_cond_t condition;
    pthread_cond_init(&condition, &attributes);
    pthread_mutex_t mutex = PTHREAD_MUTEX_INITIALIZER;
    pthread_mutex_lock(&mutex);
    int result = 0;
    while (result == 0) result = wait(&condition, &mutex);
    pthread_mutex_unlock(&mutex);
    return result == ETIMEDOUT ? 0 : result;
}

int waitForTimer(int flags, int seconds)
{
    const int timer = timerfd_create(CLOCK_REALTIME, 0);
    itimerspec set{};
    set.it_value = flags ? in(CLOCK_REALTIME, seconds) : timespec{seconds, 0};
    if (timerfd_settime(timer, flags, &set, nullptr) != 0) return 1;
    std::uint64_t count = 0;
    return ::read(timer, &count, sizeof count) == sizeof count ? 0 : 1;
}

/// A signal of a timer.
int waitForSignal(const std::function<void()>& setTimer)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGALRM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    setTimer();
    int signal = 0;
    return sigwait(&signals, &signal) == 0 && signal == SIGALRM ? 0 : 1;
}

using Call = std::function<int(int seconds)>;

const std::map<std::string, Call> kCalls = {
    {"sleep", [](int s) { return static_cast<int>(sleep(static_cast<unsigned>(s))); }},
    {"usleep", [](int s) { return usleep(static_cast<useconds_t>(s) * 1'000'000U); }},
    {"nanosleep",
     [](int s) {
         const timespec span{s, 0};
         return nanosleep(&span, nullptr);
     }},
    {"clock_nanosleep",
     [](int s) {
         const timespec span{s, 0};
         return clock_nanosleep(CLOCK_REALTIME, 0, &span, nullptr);
     }},
    {"clock_nanosleep-until",
     [](int s) {
         const timespec until = in(CLOCK_MONOTONIC, s);
         return clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr);
     }},
    {"clock_nanosleep-until-real",
     [](int s) {
         const timespec until = in(CLOCK_REALTIME, s);
         return clock_nanosleep(CLOCK_REALTIME, TIMER_ABSTIME, &until, nullptr);
     }},
    {"sleep_for",
     [](int s) {
         std::this_thread::sleep_for(Seconds(s));
         return 0;
     }},
    {"condition_variable",
     [](int s) {
         std::mutex mutex;
         std::condition_variable condition;
         std::unique_lock lock(mutex);
         return condition.wait_for(lock, Seconds(s), [] { return false; }) ? 1 : 0;
     }},
    {"condition_variable-real",
     [](int s) {
         std::mutex mutex;
         std::condition_variable condition;
         std::unique_lock lock(mutex);
         return condition.wait_until(lock, std::chrono::system_clock::now() + Seconds(s), [] { return false; });
     }},
    // Of callers that begin anew whenever they are woken.
    {"condition_variable-once",
     [](int s) {
         std::mutex mutex;
         std::condition_variable condition;
         std::unique_lock lock(mutex);
         return condition.wait_for(lock, Seconds(s)) == std::cv_status::timeout ? 0 : 1;
     }},
    {"condition_variable-told",
     [](int s) {
         std::mutex mutex;
         std::condition_variable condition;
         bool isTold = false;
         std::unique_lock lock(mutex);
         std::thread teller([&] {
             std::this_thread::sleep_for(Seconds(s));
             {
                 const std::lock_guard here(mutex);
                 isTold = true;
             }
             condition.notify_one();
         });
         const bool isSeen = condition.wait_for(lock, Seconds(s) * 1000, [&] { return isTold; });
         lock.unlock();
         teller.join();
         return isSeen ? 0 : 1;
     }},
    {"pthread_cond_timedwait",
     [](int s) {
         const timespec until = in(CLOCK_REALTIME, s);
         return waitForCondition(CLOCK_REALTIME,
                                 [&](auto* c, auto* m) { return pthread_cond_timedwait(c, m, &until); });
     }},
    {"pthread_cond_timedwait-monotonic",
     [](int s) {
         const timespec until = in(CLOCK_MONOTONIC, s);
         return waitForCondition(CLOCK_MONOTONIC,
                                 [&](auto* c, auto* m) { return pthread_cond_timedwait(c, m, &until); });
     }},
    {"future",
     [](int s) {
         std::promise<void> promise;
         return promise.get_future().wait_for(Seconds(s)) == std::future_status::timeout ? 0 : 1;
     }},
    {"future-real",
     [](int s) {
         std::promise<void> promise;
         const auto until = std::chrono::system_clock::now() + Seconds(s);
         return promise.get_future().wait_until(until) == std::future_status::timeout ? 0 : 1;
     }},
    {"timed_mutex",
     [](int s) {
         std::timed_mutex mutex;
         const Held held(mutex);
         return mutex.try_lock_for(Seconds(s)) ? 1 : 0;
     }},
    {"pthread_mutex_timedlock",
     [](int s) {
         std::timed_mutex mutex;
         const Held held(mutex);
         const timespec until = in(CLOCK_REALTIME, s);
         return pthread_mutex_timedlock(mutex.native_handle(), &until) == ETIMEDOUT ? 0 : 1;
     }},
    {"shared_timed_mutex",
     [](int s) {
         std::shared_timed_mutex mutex;
         const Held held(mutex);
         return mutex.try_lock_shared_for(Seconds(s)) || mutex.try_lock_for(Seconds(s)) ? 1 : 0;
     }},
    {"sem_timedwait",
     [](int s) {
         sem_t semaphore;
         sem_init(&semaphore, 0, 0);
         const timespec until = in(CLOCK_REALTIME, s);
         return sem_timedwait(&semaphore, &until) != 0 && errno == ETIMEDOUT ? 0 : 1;
     }},
    {"sem_clockwait",
     [](int s) {
         sem_t semaphore;
         sem_init(&semaphore, 0, 0);
         const timespec until = in(CLOCK_MONOTONIC, s);
         return sem_clockwait(&semaphore, CLOCK_MONOTONIC, &until) != 0 && errno == ETIMEDOUT ? 0 : 1;
     }},
    {"poll", [](int s) { return poll(nullptr, 0, s * 1000); }},
    {"ppoll",
     [](int s) {
         const timespec span{s, 0};
         return ppoll(nullptr, 0, &span, nullptr);
     }},
    {"select",
     [](int s) {
         int ends[2];
         if (pipe(ends) != 0) return 1;
         fd_set reading;
         FD_ZERO(&reading);
         FD_SET(ends[0], &reading);
         timeval span{s, 0};
         const int result = select(ends[0] + 1, &reading, nullptr, nullptr, &span);
         return result == 0 && span.tv_sec == 0 && span.tv_usec == 0 && !FD_ISSET(ends[0], &reading) ? 0 : 1;
     }},
    {"pselect",
     [](int s) {
         const timespec span{s, 0};
         return pselect(0, nullptr, nullptr, nullptr, &span, nullptr);
     }},
    {"epoll_wait",
     [](int s) {
         epoll_event event{};
         return epoll_wait(epoll_create1(0), &event, 1, s * 1000);
     }},
    {"sigtimedwait",
     [](int s) {
         sigset_t signals;
         sigemptyset(&signals);
         const timespec span{s, 0};
         return sigtimedwait(&signals, nullptr, &span) < 0 && errno == EAGAIN ? 0 : 1;
     }},
    {"timerfd", [](int s) { return waitForTimer(0, s); }},
    {"timerfd-until", [](int s) { return waitForTimer(TFD_TIMER_ABSTIME, s); }},
    {"setitimer",
     [](int s) {
         return waitForSignal([=] {
             const itimerval timer{{0, 0}, {s, 0}};
             setitimer(ITIMER_REAL, &timer, nullptr);
         });
     }},
    {"alarm", [](int s) { return waitForSignal([=] { alarm(static_cast<unsigned>(s)); }); }},
    // All that tell a time: coarse ones are late, and whoever comes later may have waited for a processor.
    {"times",
     [](int) {
         const double real = read(CLOCK_REALTIME);
         timeval day{};
         gettimeofday(&day, nullptr);
         timespec standard{};
         std::timespec_get(&standard, TIME_UTC);
         const double others[] = {static_cast<double>(time(nullptr)), static_cast<double>(day.tv_sec),
                                  static_cast<double>(standard.tv_sec), read(CLOCK_REALTIME_COARSE),
                                  static_cast<double>(std::chrono::system_clock::now().time_since_epoch().count()) /
                                      1e9};
         for (const double other : others)
             if (other < real - 1.0 || other > real + 500.0) return 1;
         const double monotonic = read(CLOCK_MONOTONIC);
         const double same[] = {read(CLOCK_MONOTONIC_COARSE), read(CLOCK_MONOTONIC_RAW), read(CLOCK_BOOTTIME),
                                static_cast<double>(std::chrono::steady_clock::now().time_since_epoch().count()) / 1e9};
         for (const double other : same)
             if (other < monotonic - 1.0 || other > monotonic + 500.0) return 1;
         return 0;
     }},
    // Nothing of a time that goes back.
    {"watch",
     [](int s) {
         double last = read(CLOCK_MONOTONIC);
         for (const double end = last + s; last < end;) {
             const double now = read(CLOCK_MONOTONIC);
             if (now < last) return 1;
             last = now;
         }
         return 0;
     }},
};

}  // namespace

int main(int argc, char** argv)
{
    const auto call = argc == 3 ? kCalls.find(argv[1]) : kCalls.end();
    if (call == kCalls.end()) return 2;
    std::printf("begins %.3f\n", read(CLOCK_REALTIME));
    std::fflush(stdout);
    const double begin = read(CLOCK_MONOTONIC);
    const int result = call->second(std::atoi(argv[2]));
    std::printf("result %d passed %.3f ends %.3f\n", result, read(CLOCK_MONOTONIC) - begin, read(CLOCK_REALTIME));
    return 0;
}
