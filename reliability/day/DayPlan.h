#ifndef RELIABILITY_DAY_DAYPLAN_H
#define RELIABILITY_DAY_DAYPLAN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// What happens in a day: lives of the service one behind the other, and in each, at random, what the unit does and what
/// clients of the bus ask for. Seconds count from the start of the unit. The same seed gives the same day.
struct DayPlan {
    struct Life {
        double begin = 0.0;
        double sanitize = 0.0;  ///< when the order to sanitize comes
        double end = 0.0;
    };
    struct Request {
        double at = 0.0;
        std::string name;  ///< of the bus
    };
    struct Mute {
        double from = 0.0;
        double to = 0.0;
        std::string output;
    };

    std::vector<Life> lives;
    std::vector<Request> requests;  ///< in the order of their times
    std::vector<Mute> mutes;
    std::string scenario;     ///< a file for unit-sim
    std::size_t outages = 0;  ///< of GPS

    /// Between the end of a life and the begin of the next nothing is planned for so long on either side.
    static constexpr double kQuiet = 90.0;
    static constexpr double kBeforeEnd = 150.0;  ///< the order to sanitize comes so long before

    /// @param seconds  in all, of which each life has its share, 600 s at least
    static DayPlan random(std::uint64_t seed, double seconds, std::size_t lives);
};

#endif
