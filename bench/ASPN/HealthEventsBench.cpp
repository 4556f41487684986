#include "ASPN/FaultHysteresis.h"
#include "ASPN/HealthReporter.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace {

constexpr const char* kFile = "VICTORY/OrvaneServer/OrvaneServerInbound.cpp";
constexpr const char* kText = "OrvaneServer: An exception occurred. Details: something about as long as texts are";
constexpr int kFull = 2000;

/// A reporter without a publisher, whose record of faults holds `faults`, with a limit that keeps it there.
struct Desk {
    explicit Desk(int faults)
    {
        hysteresis.OkInitFaultHysteresis(180, 16, faults);
        for (int i = 0; i < faults; ++i) {
            std::int32_t type = EventTypes::EVENT_FAULT;
            hysteresis.Check(type, kFile, i, kText);
        }
    }

    FaultHysteresis hysteresis;
    HealthReporter reporter{hysteresis};
};

Desk& deskWith(int faults)
{
    static Desk one(1);
    static Desk full(kFull);
    return faults == kFull ? full : one;
}

/// Times each call on its own, and tells the median of them less what reading the clock takes. What follows a call is
/// no part of it, though of the library's own figures.
template <class Call, class Follow>
void timeEach(benchmark::State& state, Call call, Follow follow)
{
    using Clock = std::chrono::steady_clock;
    const auto median = [](std::vector<std::int64_t>& times) {
        const auto middle = times.begin() + static_cast<std::ptrdiff_t>(times.size() / 2);
        std::nth_element(times.begin(), middle, times.end());
        return static_cast<double>(*middle);
    };
    const auto timed = [](auto&& body) {
        const Clock::time_point start = Clock::now();
        body();
        return std::chrono::nanoseconds(Clock::now() - start).count();
    };
    std::vector<std::int64_t> clock;
    for (int i = 0; i < 10'000; ++i) clock.push_back(timed([] {}));
    std::vector<std::int64_t> times;
    times.reserve(static_cast<std::size_t>(state.max_iterations));
    for (auto _ : state) {
        times.push_back(timed(call));
        follow();
    }
    state.counters["median_ns"] = benchmark::Counter(median(times) - median(clock), benchmark::Counter::kAvgThreads);
}

void check(benchmark::State& state)
{
    Desk& desk = deskWith(static_cast<int>(state.range(1)));
    timeEach(
        state,
        [&, text = std::string(kText)] {
            auto type = static_cast<std::int32_t>(state.range(0));
            benchmark::DoNotOptimize(desk.hysteresis.Check(type, kFile, 123, text));
        },
        [] {});
}

void sendEvent(benchmark::State& state)
{
    Desk& desk = deskWith(static_cast<int>(state.range(1)));
    // Each takes an event for the one that it has sent: the queue has room for the next.
    timeEach(
        state, [&] { desk.reporter.SendEvent(kFile, 123, static_cast<std::int32_t>(state.range(0)), kText); },
        [&, type = std::int32_t{}, text = std::string()]() mutable {
            desk.reporter.queue().pop_front(type, text, std::chrono::nanoseconds(0));
        });
}

void variants(benchmark::internal::Benchmark* bench)
{
    bench->ArgNames({"type", "faults"});
    for (const int type : {2, 3})
        for (const int faults : {1, kFull}) bench->Args({type, faults});
    for (const int threads : {1, 2, 4}) bench->Threads(threads);
}

}  // namespace

BENCHMARK(check)->Name("FaultHysteresis::Check")->Apply(variants);
BENCHMARK(sendEvent)->Name("SendEvent")->Apply(variants);
