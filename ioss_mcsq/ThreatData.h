#ifndef IOSS_MCSQ_THREATDATA_H
#define IOSS_MCSQ_THREATDATA_H

#include "ioss_mcsq/GssipMessage.h"
#include "ioss_mcsq/gps_msgs.h"

#include <cstddef>
#include <cstdint>

/// A line of bearing to a source of interference, as it is on the wire.
struct ThreatEntry {
    std::uint8_t statusA;  ///< bits 0 and 1: the state, 2 is to be reported; bit 3: `Power` is valid; bit 5: `BW` is
    std::uint8_t
        statusB;         ///< bit 0: there is a bearing; bit 1: the confidence is valid; bits 2 to 5: `confidence` / 25
    std::int16_t Power;  ///< passed on as it is; valid if `hasPower`
    std::uint16_t Center;  ///< 50 kHz, see `centerHz`
    std::uint16_t BW;      ///< 1 kHz, see `bandwidthHz`
    std::uint8_t reserved8[6];
    std::int16_t Az;  ///< azimuth, deg, any value: whoever reports it brings it into -180 to 180
    std::int16_t El;  ///< elevation, deg, any value: likewise into -90 to 90

    /// The entry is in use and has a bearing; no other is to be reported.
    bool isReported() const;
    bool hasPower() const;
    bool hasConfidence() const;

    /// Of azimuth and elevation alike, in steps of 25, 0 to 375; 0 to 100 occur. Valid if `hasConfidence`.
    unsigned confidence() const;

    /// Centre frequency in Hz.
    double centerHz() const;

    /// Bandwidth in Hz; 33 MHz where the entry has none.
    double bandwidthHz() const;
};

static_assert(sizeof(ThreatEntry) == 18);
static_assert(offsetof(ThreatEntry, Power) == 2 && offsetof(ThreatEntry, Center) == 4 &&
              offsetof(ThreatEntry, BW) == 6);
static_assert(offsetof(ThreatEntry, Az) == 14 && offsetof(ThreatEntry, El) == 16);

using packed_ThreatData_t = GssipFrame<100>;
static_assert(sizeof(packed_ThreatData_t) == 212);

/// The interference report of the anti-jam sensor, message 15051. Its numbers are the host's own, so the data are read
/// where they are. One thread at a time; the owner of a shared object locks around it.
class ThreatData : public GssipMessage {
public:
    static constexpr std::size_t kThreats = 9;

    ThreatData();

    void debugPrintMessage() override;

    /// s of the GPS week, whatever the sensor has sent.
    double gpsTime() const;

    /// Brings the value into the closed range 0 to 604800 by whole weeks and stores it.
    void setGpsTime(double seconds);

    /// Latitude, longitude and altitude of the sensor and their accuracy. The service only prints them; rad, rad, m and
    /// m are what `unit-sim` sends.
    double lat() const;
    double lon() const;
    double alt() const;
    std::uint16_t Pos_Accuracy() const;

    /// @param index  from 0; an entry that there is none of, from `kThreats` on, is all zero and so not reported
    ThreatEntry threat(std::size_t index) const;

private:
    packed_ThreatData_t m_packed;
};

#endif
