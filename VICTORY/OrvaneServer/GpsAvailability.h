#ifndef VICTORY_ORVANESERVER_GPSAVAILABILITY_H
#define VICTORY_ORVANESERVER_GPSAVAILABILITY_H

#include <array>
#include <cstdint>

/// Whether GPS measurements are to be had, by their latest three counts; all are 0 at first. One thread at a time.
class GpsAvailability {
public:
    enum class Change { None, Lost, Back };

    /// Stores a count in place of the oldest. Measurements are lost with three counts that are too low, and back with
    /// three that are not, so that a first low count is a loss at once.
    /// @param isLost  whether they are lost before
    Change store(std::int32_t count, bool isLost);

private:
    std::array<std::int32_t, 3> m_counts = {};
    std::uint32_t m_next = 0;
};

#endif
