#include "reliability/Statistics.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <limits>
#include <sstream>
#include <utility>

namespace Statistics {

namespace {

double medianOf(std::span<const double> values)
{
    std::vector<double> sorted(values.begin(), values.end());
    std::ranges::sort(sorted);
    return percentile(sorted, 50.0);
}

}  // namespace

double percentile(std::span<const double> sorted, double percent)
{
    if (sorted.empty()) return std::numeric_limits<double>::quiet_NaN();
    // 99.9 % of 1000 are 999, whatever the last digit of the product says.
    const double rank = std::ceil(percent * static_cast<double>(sorted.size()) / 100.0 - 1e-6);
    const auto index = static_cast<std::size_t>(std::max(rank, 1.0)) - 1;
    return sorted[std::min(index, sorted.size() - 1)];
}

Spread spreadOf(std::vector<double> values)
{
    std::ranges::sort(values);
    return {percentile(values, 50.0), percentile(values, 99.0), percentile(values, 99.9), percentile(values, 100.0)};
}

void tell(Report& report, const std::string& name, std::vector<double> values, const std::string& unit,
          std::optional<Goal> goal)
{
    const std::size_t count = values.size();
    const Spread spread = spreadOf(std::move(values));
    std::ostringstream text;
    text << std::setprecision(4) << name << ", " << count << " times: p50 " << spread.p50 << ", p99 " << spread.p99
         << ", longest " << spread.max << ' ' << unit;
    report.note(text.str());
    if (goal)
        report.figure(name + ", p99.9", spread.p999, unit, *goal);
    else
        report.figure(name + ", p99.9", spread.p999, unit);
}

double growth(std::span<const double> samples)
{
    const std::size_t quarter = samples.size() / 4;
    if (quarter == 0) return std::numeric_limits<double>::quiet_NaN();
    return medianOf(samples.last(quarter)) - medianOf(samples.subspan(quarter, quarter));
}

}  // namespace Statistics
