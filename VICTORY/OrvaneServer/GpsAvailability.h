#ifndef VICTORY_ORVANESERVER_GPSAVAILABILITY_H
#define VICTORY_ORVANESERVER_GPSAVAILABILITY_H

#include "aspn2_msgs/MeasurementIncorporationStatus.h"

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>

/// Whether GPS measurements are to be had, by their latest three counts; all are 0 at first, and they are not lost.
/// One thread at a time stores; any thread may ask meanwhile.
class GpsAvailability {
public:
    /// Stores the count of a message in place of the oldest. Measurements are lost with three counts that are too low,
    /// and back with three that are not, so that a first low count is a loss at once.
    /// @param warn  called with the id of the warning that is due, before anybody can see the change
    void storeGpsAvailability(const aspn2_msgs::idl::MeasurementIncorporationStatus& message,
                              const std::function<void(std::uint32_t id)>& warn);

    /// Any thread.
    bool isLost() const { return m_gpsLost; }

private:
    enum class Change { None, Lost, Back };

    /// Stores a count alone.
    /// @param isLost  whether they are lost before
    Change store(std::int32_t count, bool isLost);

    std::array<std::int32_t, 3> m_gpsAvailRing = {};
    std::uint32_t m_next = 0;
    std::atomic<bool> m_gpsLost = false;
};

#endif
