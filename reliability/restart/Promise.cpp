#include "reliability/restart/Promise.h"

#include "reliability/Statistics.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace {

using namespace std::chrono_literals;

std::string textOf(double value)
{
    std::ostringstream text;
    text.precision(3);
    text << value;
    return text.str();
}

/// The chance of so many or more, each with a probability of its own.
double chanceOfAtLeast(int count, int of, double each)
{
    double below = 0.0, combinations = 1.0;
    for (int i = 0; i < count; ++i) {
        below += combinations * std::pow(each, i) * std::pow(1.0 - each, of - i);
        combinations *= static_cast<double>(of - i) / static_cast<double>(i + 1);
    }
    return 1.0 - below;
}

bool isTooDeaf(const Promise& promise, int deaf, int cycles)
{
    constexpr double kByChance = 0.01;
    return promise.deafRate == 0.0 ? deaf > 0 : chanceOfAtLeast(deaf, cycles, promise.deafRate) < kByChance;
}

}  // namespace

std::optional<Promise> promiseOf(const std::string& transport, std::chrono::milliseconds pause)
{
    constexpr double kAtOnce = 1.0;
    if (transport == "UDP") return Promise{kAtOnce, 4.0, 0.0};
    if (transport == "TCP_Server") return Promise{8.0, 8.0, 0.0};
    if (transport == "TCP_Client") return Promise{4.0, {}, 0.1};
    if (transport != "SHM") return std::nullopt;
    if (pause >= 7s) return Promise{kAtOnce, 4.0, 0.01};
    if (pause < 4s) return Promise{5.0, {}, 0.25};
    return std::nullopt;
}

std::vector<std::string> brokenOf(const Promise& promise, const CyclesSeen& seen, int cycles)
{
    std::vector<std::string> broken;
    if (isTooDeaf(promise, seen.deaf, cycles))
        broken.push_back("the peer stayed deaf in " + std::to_string(seen.deaf) + " of " + std::to_string(cycles) +
                         " cycles, which is more than " + textOf(100.0 * promise.deafRate) + " %");
    if (seen.heard.empty()) return broken;
    auto sorted = seen.heard;
    std::ranges::sort(sorted);
    const double median = Statistics::percentile(sorted, 50.0);
    if (sorted.size() > 1 && median > promise.usual)
        broken.push_back("half of the cycles took " + textOf(median) + " s and more instead of " +
                         textOf(promise.usual) + " s");
    if (promise.longest && sorted.back() > *promise.longest)
        broken.push_back("the longest took " + textOf(sorted.back()) + " s instead of " + textOf(*promise.longest) +
                         " s");
    return broken;
}

std::vector<std::string> brokenOverAll(const std::vector<CyclesRow>& rows)
{
    struct Sum {
        std::string transport;
        Promise promise;
        int rows = 0, cycles = 0;
        CyclesSeen seen;
    };
    std::vector<Sum> sums;
    for (const auto& [cycles, seen] : rows) {
        const auto promise = promiseOf(cycles.transport, cycles.pause);
        if (!promise || cycles.isSwept) continue;
        auto sum = std::ranges::find_if(sums, [&, &transport = cycles.transport](const Sum& one) {
            return one.transport == transport && one.promise == *promise;
        });
        if (sum == sums.end()) sum = sums.insert(sum, {cycles.transport, *promise, 0, 0, {}});
        ++sum->rows;
        sum->cycles += cycles.count;
        sum->seen.deaf += seen.deaf;
        sum->seen.heard.insert(sum->seen.heard.end(), seen.heard.begin(), seen.heard.end());
    }
    std::vector<std::string> broken;
    for (Sum& sum : sums) {
        if (sum.rows < 2) continue;
        sum.promise.longest.reset();  // each row has told
        for (const std::string& what : brokenOf(sum.promise, sum.seen, sum.cycles))
            broken.push_back(sum.transport + ", " + std::to_string(sum.rows) + " rows together: " + what);
    }
    return broken;
}
