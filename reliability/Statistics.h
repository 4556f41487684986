#ifndef RELIABILITY_STATISTICS_H
#define RELIABILITY_STATISTICS_H

#include "reliability/Report.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

/// What long runs make of their measurements. Pure functions; no measurement at all gives not-a-number.
namespace Statistics {

/// The smallest of the values that so many percent of all don't exceed.
/// @param sorted   rising
/// @param percent  0 to 100
double percentile(std::span<const double> sorted, double percent);

/// How values are spread.
struct Spread {
    double p50, p99, p999, max;
};
Spread spreadOf(std::vector<double> values);

/// Tells a spread: a line with p50, p99 and the longest, and the figure p99.9, which a goal is for.
void tell(Report& report, const std::string& name, std::vector<double> values, const std::string& unit,
          std::optional<Goal> goal = {});

/// By how much something that was sampled at equal intervals has grown once it was warm: the median of the last quarter,
/// less that of the second one.
double growth(std::span<const double> samples);

}  // namespace Statistics

#endif
