#ifndef UTILITIES_STATS_H
#define UTILITIES_STATS_H

#include <cstdint>

/// Running figures of a series of values, which is not kept. All results are in the unit of the values, or its square.
/// One thread at a time.
class Stats {
public:
    /// @param calculate_deviation  whether `GetStandardDeviation` answers
    /// @param calculate_rms        whether `GetRMS` answers
    Stats(bool calculate_deviation, bool calculate_rms);

    /// Starts a new series. The maximum starts at the smallest positive normal double, which is deliberate: a series of
    /// negative numbers alone reports 2.2250738585072014e-308.
    void ResetStatistics();

    /// Adds a value; the series stops growing at 4294967295 values.
    void ObserveValue(double value);

    /// The mean, 0.0 for an empty series.
    double GetAverage() const;

    /// The root of the mean of the squares, 0.0 for an empty series or where the constructor left it out.
    double GetRMS() const;

    /// The squared distances of the values from the mean up to and including each, summed and divided by the count less
    /// one. No root is taken, deliberately: callers expect this variance. 0.0 with fewer than two values or where the
    /// constructor left it out.
    double GetStandardDeviation() const;

    /// All figures in one call. The count is always written; the others only for a series that isn't empty, `rms` and
    /// `deviation` only where the constructor asked for them, `deviation` from two values on. What is not written keeps
    /// what it held.
    void GetStatistics(unsigned& observed, double& least, double& greatest, double& average, double& rms,
                       double& deviation) const;

protected:
    std::uint32_t count = 0;
    double sum = 0.0;
    double sumOfSquares = 0.0;
    double maximum = 0.0;
    double minimum = 0.0;
    double varianceAccumulator = 0.0;
    bool calculateDeviation;
    bool calculateRMS;
};

#endif
