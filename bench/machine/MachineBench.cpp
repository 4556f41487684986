// What the machine itself needs: the copy of a record, and the way from one process to another by a futex in shared
// memory, by a pipe that is read, and by a pipe that is polled first. Nothing that hands messages on can be quicker.
//
//     bench_machine [SECONDS]

#include "bench/Figure.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <linux/futex.h>
#include <memory>
#include <poll.h>
#include <stdexcept>
#include <string>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

std::int64_t now()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

/// A way from one process to another.
class Way {
public:
    Way() = default;
    virtual ~Way() = default;
    Way(const Way&) = delete;
    Way& operator=(const Way&) = delete;

    virtual void send(std::int64_t time) = 0;
    virtual std::int64_t receive() = 0;
};

class PipeWay : public Way {
public:
    explicit PipeWay(bool isPolled) : m_isPolled(isPolled)
    {
        if (pipe(m_ends) != 0) throw std::runtime_error("no pipe");
    }
    ~PipeWay() override
    {
        close(m_ends[0]);
        close(m_ends[1]);
    }
    PipeWay(const PipeWay&) = delete;
    PipeWay& operator=(const PipeWay&) = delete;

    void send(std::int64_t time) override
    {
        if (write(m_ends[1], &time, sizeof time) != sizeof time) throw std::runtime_error("cannot write a pipe");
    }
    std::int64_t receive() override
    {
        pollfd entry{m_ends[0], POLLIN, 0};
        if (m_isPolled && poll(&entry, 1, -1) != 1) throw std::runtime_error("cannot poll");
        std::int64_t time = 0;
        if (read(m_ends[0], &time, sizeof time) != sizeof time) throw std::runtime_error("cannot read a pipe");
        return time;
    }

private:
    int m_ends[2] = {-1, -1};
    bool m_isPolled;
};

/// A place in memory that both processes have, and a futex that counts what has been put there.
class FutexWay : public Way {
public:
    FutexWay()
        : m_shared(static_cast<Shared*>(
              mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0)))
    {
        if (m_shared == MAP_FAILED) throw std::runtime_error("no shared memory");
        m_shared = new (m_shared) Shared;
    }
    ~FutexWay() override { munmap(m_shared, sizeof(Shared)); }
    FutexWay(const FutexWay&) = delete;
    FutexWay& operator=(const FutexWay&) = delete;

    void send(std::int64_t time) override
    {
        m_shared->time = time;
        m_shared->sent += 1;
        syscall(SYS_futex, &m_shared->sent, FUTEX_WAKE, 1, nullptr, nullptr, 0);
    }
    std::int64_t receive() override
    {
        while (m_shared->sent == m_received)
            syscall(SYS_futex, &m_shared->sent, FUTEX_WAIT, m_received, nullptr, nullptr, 0);
        m_received = m_shared->sent;
        return m_shared->time;
    }

private:
    struct Shared {
        std::atomic<std::uint32_t> sent = 0;
        std::atomic<std::int64_t> time = 0;
    };
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free && sizeof(std::atomic<std::uint32_t>) == 4);

    Shared* m_shared;
    std::uint32_t m_received = 0;
};

/// Microseconds from the sending to the return of the receiver, which is this process.
std::vector<double> latencies(Way& way, int rate, int count)
{
    const pid_t sender = fork();
    if (sender == 0) {
        auto next = std::chrono::steady_clock::now() + std::chrono::milliseconds(20);
        for (int i = 0; i < count; ++i) {
            next += std::chrono::nanoseconds(1'000'000'000 / rate);
            std::this_thread::sleep_until(next);
            way.send(now());
        }
        way.send(0);  // the end
        _exit(0);
    }
    if (sender < 0) throw std::runtime_error("no process");
    std::vector<double> all;
    for (std::int64_t sent = way.receive(); sent != 0; sent = way.receive())
        all.push_back(static_cast<double>(now() - sent) / 1000.0);
    waitpid(sender, nullptr, 0);
    return all;
}

/// Nanoseconds that a copy takes: the quickest of some tries.
double copyNanoseconds(std::size_t size)
{
    constexpr int kCopies = 20'000;
    const std::vector<unsigned char> from(size, 0x5A);
    std::vector<unsigned char> to(size);
    double quickest = 1e9;
    for (int tries = 0; tries < 50; ++tries) {
        const std::int64_t begin = now();
        for (int i = 0; i < kCopies; ++i) {
            std::memcpy(to.data(), from.data(), size);
            asm volatile("" : : "r"(to.data()), "r"(from.data()) : "memory");  // none is left out
        }
        quickest = std::min(quickest, static_cast<double>(now() - begin) / kCopies);
    }
    return quickest;
}

}  // namespace

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? std::max(1, std::atoi(argv[1])) : 2;
    for (const std::size_t size : {156U, 212U, 412U, 768U, 1252U})
        tellFigure("copy." + std::to_string(size), "limit", "ns", copyNanoseconds(size));
    const std::pair<const char*, std::function<std::unique_ptr<Way>()>> ways[] = {
        {"futex", [] { return std::make_unique<FutexWay>(); }},
        {"pipe", [] { return std::make_unique<PipeWay>(false); }},
        {"poll", [] { return std::make_unique<PipeWay>(true); }}};
    for (const int rate : {100, 1000, 10000})
        for (const auto& [name, make] : ways)
            tellDistribution(std::string(name) + ".latency." + std::to_string(rate), "limit", "us",
                             latencies(*make(), rate, rate * seconds));
    return 0;
}
