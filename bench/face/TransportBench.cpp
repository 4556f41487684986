// From write to callback: the transport's typed front beside the bare library, on the same messages, with the same
// settings, in one run. A process of its own publishes over shared memory; this one receives.
//
//     bench_transport [ROUNDS]
//
// Tells latency and the receiver's processor time at three rates, and throughput at full speed. Either side has its turn
// in every round, so that what else the machine does falls on both. Run it alone: DDS of others disturbs it.

#include "bench/Figure.h"
#include "bench/face/TransportSides.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

using aspn2_msgs::idl::PositionVelocityAttitude;

namespace {

constexpr int kFullSpeed = 20000;    // messages a round
constexpr int kFullSpeedRounds = 3;  // for each round of the slow rates: these are short
const char* const kSides[] = {"floor", "ours"};

std::int64_t now()
{
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

/// What has arrived of one side: each message carries the time of its write.
class Arrivals {
public:
    void add(const PositionVelocityAttitude& message)
    {
        const std::int64_t at = now();
        const std::lock_guard lock(m_mutex);
        m_last = at;
        m_latencies.push_back(static_cast<double>(at - message.header().seq_num()) / 1000.0);
        if (m_latencies.size() == 1) m_first = at;
    }

    /// Microseconds each, cleared.
    std::vector<double> take()
    {
        const std::lock_guard lock(m_mutex);
        return std::exchange(m_latencies, {});
    }
    std::size_t size() const
    {
        const std::lock_guard lock(m_mutex);
        return m_latencies.size();
    }
    double seconds() const
    {
        const std::lock_guard lock(m_mutex);
        return static_cast<double>(m_last - m_first) / 1e9;
    }

private:
    mutable std::mutex m_mutex;
    std::vector<double> m_latencies;
    std::int64_t m_first = 0;
    std::int64_t m_last = 0;
};

/// What the publishing process is told by one byte: which side, and how fast.
struct Order {
    bool isOurs;
    int count;
    int rate;  // messages a second; 0 for full speed
};

template <class Side>
void publishAs(Side& side, const Order& order)
{
    PositionVelocityAttitude message;
    auto next = std::chrono::steady_clock::now();
    for (int i = 0; i < order.count; ++i) {
        if (order.rate > 0) {
            next += std::chrono::nanoseconds(1'000'000'000 / order.rate);
            std::this_thread::sleep_until(next);
        }
        message.header().seq_num(now());
        side.write(message);
    }
}

void runPublisher(int orders, const std::string& path)
{
    Bare bare;
    Ours ours(path);
    bare.publish();
    ours.publish();
    for (Order order{}; read(orders, &order, sizeof order) == sizeof order;)
        order.isOurs ? publishAs(ours, order) : publishAs(bare, order);
}

/// Microseconds that this process has had of the processor.
double processorMicroseconds()
{
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

/// The arrivals of an order: all of them, or what there is when nothing has come for a second.
void waitFor(const Arrivals& arrivals, std::size_t count)
{
    std::size_t before = 0;
    for (int quiet = 0; arrivals.size() < count && quiet < 100; ++quiet) {
        if (arrivals.size() != std::exchange(before, arrivals.size())) quiet = 0;
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
}

}  // namespace

int main(int argc, char** argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 10;
    const std::string path = transportConnectionFile();
    int orders[2];
    if (pipe(orders) != 0) return 1;
    const pid_t publisher = fork();  // before there are threads
    if (publisher == 0) {
        close(orders[1]);
        runPublisher(orders[0], path);
        return 0;
    }
    close(orders[0]);

    Arrivals arrivals[2];
    {
        Bare bare;
        Ours ours(path);
        bare.subscribe([&](const auto& message) { arrivals[0].add(message); });
        ours.subscribe([&](const auto& message) { arrivals[1].add(message); });
        const auto run = [&](const Order& order) {
            arrivals[order.isOurs].take();
            if (write(orders[1], &order, sizeof order) != sizeof order) std::exit(1);
            waitFor(arrivals[order.isOurs], static_cast<std::size_t>(order.count));
        };
        for (const bool isOurs : {false, true})  // until each is matched
            while (arrivals[isOurs].size() == 0) run({isOurs, 10, 100});

        for (const int rate : {100, 1000, 10000}) {
            std::vector<double> latencies[2], costs[2];
            for (int round = 0; round < rounds; ++round)
                for (const bool isOurs : {round % 2 == 1, round % 2 == 0}) {
                    const double before = processorMicroseconds();
                    run({isOurs, rate, rate});
                    const double used = processorMicroseconds() - before;
                    const auto some = arrivals[isOurs].take();
                    latencies[isOurs].insert(latencies[isOurs].end(), some.begin(), some.end());
                    if (!some.empty()) costs[isOurs].push_back(used / static_cast<double>(some.size()));
                }
            for (const bool isOurs : {false, true}) {
                tellDistribution("transport.latency." + std::to_string(rate), kSides[isOurs], "us", latencies[isOurs]);
                tellFigure("transport.cost." + std::to_string(rate), kSides[isOurs], "us", median(costs[isOurs]));
            }
        }
        std::vector<double> speeds[2];
        for (int round = 0; round < kFullSpeedRounds * rounds; ++round)
            for (const bool isOurs : {round % 2 == 1, round % 2 == 0}) {
                run({isOurs, kFullSpeed, 0});
                speeds[isOurs].push_back(static_cast<double>(arrivals[isOurs].size()) / arrivals[isOurs].seconds());
            }
        for (const bool isOurs : {false, true})
            tellFigure("transport.throughput", kSides[isOurs], "1/s", median(speeds[isOurs]));
    }
    close(orders[1]);
    waitpid(publisher, nullptr, 0);
    std::remove(path.c_str());
}
