#ifndef VICTORY_ORVANESERVER_NAVINPUTS_H
#define VICTORY_ORVANESERVER_NAVINPUTS_H

#include "VICTORY/OrvaneServer/ServerSettings.h"
#include "aspn2_msgs/AssuranceState.h"
#include "aspn2_msgs/GSSIP.h"
#include "aspn2_msgs/HalvexPNT.h"
#include "aspn2_msgs/MeasurementIncorporationStatus.h"
#include "aspn2_msgs/PositionVelocityAttitude.h"
#include "aspn2_msgs/UTCTime.h"
#include "ioss_mcsq/ZentorM_8504_Msg.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>

/// The latest of the six inputs of Blended Navigation, and whether each came since the last output. There is no queue,
/// and no input ages out.
///
/// Any thread. The lock is held for a whole join, the console and the caller's work in it included: what is stored
/// meanwhile waits.
class NavInputs {
public:
    /// Inputs that are so far from the time message, or farther, are not joined with it.
    static constexpr double kFarthestApart = 1.0;  // s

    /// After each pause of this length the service looks whether there is something to join.
    static constexpr std::chrono::milliseconds kBetweenLooks{250};

    /// Six inputs that belong together, as they lie under the lock.
    struct Joined {
        const aspn2_msgs::idl::UTCTime& utcTime;
        const aspn2_msgs::idl::HalvexPNT& pnt;
        const aspn2_msgs::idl::MeasurementIncorporationStatus& mis;
        const aspn2_msgs::idl::PositionVelocityAttitude& pva;
        const aspn2_msgs::idl::AssuranceState& assurance;
        const unpacked_msg8504_t& receiver;
    };

    explicit NavInputs(const ServerSettings& settings) : m_settings(settings) {}

    /// Store a message in place of the latest of its kind. False, and nothing done, if it is not from the source that
    /// the settings name; an assurance state is taken from anybody.
    bool store(const aspn2_msgs::idl::PositionVelocityAttitude& message) EXCLUDES(m_navDataMutex);
    bool store(const aspn2_msgs::idl::UTCTime& message) EXCLUDES(m_navDataMutex);
    bool store(const aspn2_msgs::idl::HalvexPNT& message) EXCLUDES(m_navDataMutex);
    bool store(const aspn2_msgs::idl::MeasurementIncorporationStatus& message) EXCLUDES(m_navDataMutex);
    bool store(const aspn2_msgs::idl::AssuranceState& message) EXCLUDES(m_navDataMutex);

    /// Stores the receiver's status, message 8504, as it came: it is unpacked when it is joined.
    void storeReceiver(const aspn2_msgs::idl::GSSIP& message) EXCLUDES(m_navDataMutex);

    /// Calls `body`, under the lock, if all six came and each is less than `kFarthestApart` from the time message; all
    /// count as used then, also if the receiver's frame is refused, which costs the call without a word. Otherwise all
    /// stay, as they do when `body` throws.
    void join(const std::function<void(const Joined&)>& body) EXCLUDES(m_navDataMutex);

    /// How many joins there were whose body has returned, modulo 2^32. Does not wait for one that is under way.
    std::uint32_t joins() const { return m_joins; }

private:
    template <class Message>
    bool storeLatest(const Message& message, std::uint8_t wantedSource, Message NavInputs::*latest,
                     bool NavInputs::*isNew) EXCLUDES(m_navDataMutex);
    bool areAllNew() const REQUIRES(m_navDataMutex);

    /// Whether all are close to the time message; shows how close, unless quiet.
    bool belongTogether() const REQUIRES(m_navDataMutex);

    const ServerSettings& m_settings;
    RankedMutex<LockRank::Inputs> m_navDataMutex;
    aspn2_msgs::idl::PositionVelocityAttitude m_pva GUARDED_BY(m_navDataMutex);
    aspn2_msgs::idl::UTCTime m_utcTime GUARDED_BY(m_navDataMutex);
    aspn2_msgs::idl::HalvexPNT m_fusionPNT GUARDED_BY(m_navDataMutex);
    aspn2_msgs::idl::MeasurementIncorporationStatus m_mis GUARDED_BY(m_navDataMutex);
    aspn2_msgs::idl::AssuranceState m_assuranceState GUARDED_BY(m_navDataMutex);
    aspn2_msgs::idl::GSSIP m_8504 GUARDED_BY(m_navDataMutex);
    bool m_hasPVA GUARDED_BY(m_navDataMutex) = false;
    bool m_hasUTCTime GUARDED_BY(m_navDataMutex) = false;
    bool m_hasFusionPNT GUARDED_BY(m_navDataMutex) = false;
    bool m_hasMIS GUARDED_BY(m_navDataMutex) = false;
    bool m_hasAssuranceState GUARDED_BY(m_navDataMutex) = false;
    bool m_has8504 GUARDED_BY(m_navDataMutex) = false;
    std::atomic<std::uint32_t> m_joins = 0;
};

#endif
