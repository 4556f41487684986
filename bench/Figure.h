#ifndef BENCH_FIGURE_H
#define BENCH_FIGURE_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

// What the programs of bench/ tell script/bench that google's library doesn't: a line of JSON for each figure.

/// The value below which this share of them lies; 0 if there are none.
/// @param values  sorted
/// @param share   0 to 1
inline double quantile(const std::vector<double>& values, double share)
{
    if (values.empty()) return 0.0;
    const double place = share * static_cast<double>(values.size() - 1);
    const auto below = static_cast<std::size_t>(place);
    const std::size_t above = std::min(below + 1, values.size() - 1);
    return std::lerp(values[below], values[above], place - static_cast<double>(below));
}

inline double median(std::vector<double> values)
{
    std::ranges::sort(values);
    return quantile(values, 0.5);
}

/// A figure of one side: "floor" is the least that others would need, "limit" what the machine needs itself, "ours" ours.
/// Names and units must need no escape.
inline void tellFigure(const std::string& name, const std::string& side, const std::string& unit, double value,
                       const std::string& more = "")
{
    std::ostringstream line;
    line << R"({"name": ")" << name << R"(", "side": ")" << side << R"(", "unit": ")" << unit << R"(", "value": )"
         << std::setprecision(6) << value << more << "}";
    std::cout << line.str() << std::endl;
}

/// As the median of them, with the highest and all hundredths: "quantiles" has 101 values.
inline void tellDistribution(const std::string& name, const std::string& side, const std::string& unit,
                             std::vector<double> values)
{
    std::ranges::sort(values);
    std::ostringstream more;
    more << std::setprecision(6) << R"(, "count": )" << values.size() << R"(, "quantiles": [)";
    for (int hundredth = 0; hundredth <= 100; ++hundredth)
        more << (hundredth > 0 ? ", " : "") << quantile(values, hundredth / 100.0);
    more << "]";
    tellFigure(name, side, unit, quantile(values, 0.5), more.str());
}

#endif
