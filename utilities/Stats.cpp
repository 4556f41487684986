#include "utilities/Stats.h"

#include <cmath>
#include <limits>

Stats::Stats(bool calculate_deviation, bool calculate_rms)
    : calculateDeviation(calculate_deviation), calculateRMS(calculate_rms)
{
    ResetStatistics();
}

void Stats::ResetStatistics()
{
    count = 0;
    sum = 0.0;
    sumOfSquares = 0.0;
    varianceAccumulator = 0.0;
    minimum = std::numeric_limits<double>::max();
    maximum = std::numeric_limits<double>::min();
}

void Stats::ObserveValue(double value)
{
    if (count == std::numeric_limits<std::uint32_t>::max()) return;
    sum += value;
    if (value > maximum) maximum = value;
    if (value < minimum) minimum = value;
    ++count;
    sumOfSquares += value * value;
    if (calculateDeviation) {
        const double distance = value - sum / count;
        varianceAccumulator += distance * distance;
    }
}

double Stats::GetAverage() const
{
    return count == 0 ? 0.0 : sum / count;
}

double Stats::GetRMS() const
{
    return count == 0 || !calculateRMS ? 0.0 : std::sqrt(sumOfSquares / count);
}

double Stats::GetStandardDeviation() const
{
    return count < 2 || !calculateDeviation ? 0.0 : varianceAccumulator / (count - 1);
}

void Stats::GetStatistics(unsigned& observed, double& least, double& greatest, double& average, double& rms,
                          double& deviation) const
{
    observed = count;
    if (count == 0) return;
    least = minimum;
    greatest = maximum;
    average = GetAverage();
    if (calculateRMS) rms = GetRMS();
    if (calculateDeviation && count > 1) deviation = GetStandardDeviation();
}
