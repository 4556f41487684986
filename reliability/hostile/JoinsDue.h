#ifndef RELIABILITY_HOSTILE_JOINSDUE_H
#define RELIABILITY_HOSTILE_JOINSDUE_H

#include <algorithm>
#include <cmath>

/// How many joins there are to be while something is done to the service.
struct JoinsDue {
    static constexpr double kMostOf = 0.75;  // of what is possible is to be reached beside all else
    static constexpr double kStandstill = 1.0 / 6.0;

    /// The least that is good.
    double goal;
    /// Fewer are a broken promise: the service as good as stands still. 0 where chance may have it so.
    double promised;

    /// @param turns  of the worker meanwhile
    /// @param share  of these that find inputs that fit; of few turns chance may take some
    static JoinsDue of(double turns, double share)
    {
        const double least = kMostOf * share * turns - 2.0 * std::sqrt(turns * share * (1.0 - share));
        return {std::max(least, 1.0), std::max(kStandstill * least, 0.0)};
    }
};

#endif
