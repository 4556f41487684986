#ifndef PCSMAINTREPORTER_PCSMAINTREPORTER_H
#define PCSMAINTREPORTER_PCSMAINTREPORTER_H

#include "ASPN/FaultHysteresis.h"
#include "utilities/ThreadAnnotations.h"

#include <array>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace ASPN2 {

class DeviceIdFactory;

}  // namespace ASPN2

namespace aspn2_msgs::idl {

class MaintenanceEvent;

}  // namespace aspn2_msgs::idl

namespace FACE::TSS::Details {

template <class T>
class HX_TypedTS;

}  // namespace FACE::TSS::Details

/// The numbers of the unit's maintenance log, as they travel; it is the log that gives them their meaning. The LRU is
/// the replaceable unit that a fault comes from, the component a part of it.
namespace ASPN2::Maintenance {

namespace Criticality {
enum eCrit : std::int32_t {};
}  // namespace Criticality

namespace Outcome {
enum eOutcome : std::int32_t {};
}  // namespace Outcome

namespace Category {
enum eCat : std::int32_t {};
}  // namespace Category

namespace LRU {
enum eLru : std::int32_t {};
}  // namespace LRU

namespace Component {
enum eCmpo : std::int32_t {};
}  // namespace Component

}  // namespace ASPN2::Maintenance

/// Publishes entries for the unit's maintenance log as `MaintenanceEvent` records, on the caller's thread: one for the
/// process.
///
///     constructed -- InitMaintReporter --> publishing -- DoneMaintReporter --> constructed
///
/// Any thread may send and set the time, at any time. What can't be published is lost, with one line on the standard
/// output; no caller learns of it. `InitMaintReporter` and `DoneMaintReporter` are for one thread at a time. No lock is
/// held while a record is written, nor while the transport ends.
class PCSMaintReporter {
public:
    using eCrit = ASPN2::Maintenance::Criticality::eCrit;
    using eOutcome = ASPN2::Maintenance::Outcome::eOutcome;
    using eCat = ASPN2::Maintenance::Category::eCat;
    using eLru = ASPN2::Maintenance::LRU::eLru;
    using eCmpo = ASPN2::Maintenance::Component::eCmpo;

    using Clock = std::chrono::steady_clock;
    using MaintenanceEvent = aspn2_msgs::idl::MaintenanceEvent;
    using Transport = FACE::TSS::Details::HX_TypedTS<MaintenanceEvent>;

    /// One for the process, never destroyed: threads may send until the very end. A function at the exit of the process
    /// lets go of the transport.
    static PCSMaintReporter& Instance();

    /// @param now               the clock that records are stamped by
    /// @param faultSpanSeconds  that the record of faults is initialised with (`initFaultHysteresisOrExit`)
    explicit PCSMaintReporter(FaultHysteresis& hysteresis = FaultHysteresis::Instance(),
                              Clock::time_point (*now)() = &Clock::now, int faultSpanSeconds = kFaultSpanSeconds);
    PCSMaintReporter(const PCSMaintReporter&) = delete;
    PCSMaintReporter& operator=(const PCSMaintReporter&) = delete;

    /// Gives the connection a sender, keeps the transport until `DoneMaintReporter`, and initialises the record of
    /// faults, which forgets what it had. Throws `std::runtime_error`: for a null transport; if this is initialised
    /// already, which goes on as it was; and if there can be no sender, after which `DoneMaintReporter` is due before
    /// another try.
    /// @param name    leading word of console lines
    /// @param handle  the connection's id
    void InitMaintReporter(const std::string& name, const ASPN2::DeviceIdFactory& deviceIdFactory,
                           const std::shared_ptr<Transport>& transport, long long handle) EXCLUDES(m_mutex);

    /// Lets go of the transport. A record that is being written keeps it until it is out, so whoever is to see the
    /// transport end must have ended the senders before. Harmless if there is nothing to end. Not from within a
    /// callback of the transport.
    void DoneMaintReporter() EXCLUDES(m_mutex);

    /// Has the time of records run on from this one. Before, it is the steady clock's own. Sums and products wrap.
    void SetTimeOffset(std::chrono::nanoseconds now);
    void SetAspnTimeOffset(std::int64_t seconds, std::int64_t nanoseconds);

    /// The time of a record made now; it may be negative.
    std::chrono::nanoseconds GetTime() const;

    /// Publishes one record. Up to 55 characters of the description are kept, and 15 of the identity.
    /// @param repeatSeconds  goes into the record; nothing is repeated here
    void sendMaintenanceEvent(const std::string& description, const std::string& identity, eCrit criticality,
                              eOutcome outcome, std::uint8_t location, eCat category, eLru lru1, eCmpo comp1, eLru lru2,
                              eCmpo comp2, eLru lru3, eCmpo comp3, eLru lru4, eCmpo comp4, std::int32_t repeatSeconds);

    /// Publishes a description of any length, in up to nine records that are equal but for their description:
    /// "<prefix>_<number>:<piece>", or "<prefix>:<piece>" if it fits into one. Pieces have 52 characters less those of
    /// the prefix; what lies behind the ninth is dropped. An empty description is no record.
    /// @param prefix  null counts as "Evt". One of 52 or more leaves no room: the description is not split then, and
    ///                cut with its prefix
    void sendLongDescriptionMultiMaintenanceEvent(const std::string& description, const std::string& identity,
                                                  eCrit criticality, eOutcome outcome, std::uint8_t location,
                                                  eCat category, eLru lru1, eCmpo comp1, eLru lru2, eCmpo comp2,
                                                  eLru lru3, eCmpo comp3, eLru lru4, eCmpo comp4,
                                                  std::int32_t repeatSeconds, const char* prefix = nullptr);

    /// The fault sources of a server that has failed, all zero where it has none, and its location as the answer, 0
    /// where it has none. Servers 96 and 97 have a source without a location, deliberately.
    static std::uint8_t getDefaultLruSubForServerID(std::uint32_t serverId, eLru& lru1, eCmpo& comp1, eLru& lru2,
                                                    eCmpo& comp2, eLru& lru3, eCmpo& comp3, eLru& lru4, eCmpo& comp4);

private:
    /// What a record says besides its two texts.
    struct Particulars {
        struct FaultSource {
            eLru lru;
            eCmpo component;
        };
        eCrit criticality;
        eOutcome outcome;
        std::uint8_t location;
        eCat category;
        std::array<FaultSource, 4> faultSources;
        std::int32_t repeatSeconds;
    };

    static Particulars particularsOf(eCrit criticality, eOutcome outcome, std::uint8_t location, eCat category,
                                     eLru lru1, eCmpo comp1, eLru lru2, eCmpo comp2, eLru lru3, eCmpo comp3, eLru lru4,
                                     eCmpo comp4, std::int32_t repeatSeconds);
    static void buildMaintenanceEvent(MaintenanceEvent& record, const std::string& description,
                                      const std::string& identity, const Particulars& particulars);
    static void buildMultiMaintenanceEventVectorFromLongDescription(const std::string& description,
                                                                    const std::string& identity,
                                                                    const Particulars& particulars,
                                                                    std::vector<MaintenanceEvent>& records,
                                                                    const char* prefix);
    void publishMaintenanceEvent(MaintenanceEvent& record) EXCLUDES(m_mutex);

    /// Where records go.
    struct Outlet {
        std::string name;
        std::uint32_t deviceId = 0;
        std::shared_ptr<Transport> transport;
        long long handle = -1;
    };

    Outlet outlet() EXCLUDES(m_mutex);

    FaultHysteresis& m_hysteresis;
    Clock::time_point (*const m_now)();
    const int m_faultSpanSeconds;
    std::atomic<bool> m_initialized = false;
    std::atomic<std::uint64_t> m_sequenceNumber = 0;
    std::atomic<std::int64_t> m_timeOffset = 0;  // ns
    RankedMutex<LockRank::Reporters> m_mutex;
    Outlet m_outlet GUARDED_BY(m_mutex);
};

#endif
