#ifndef LAB_CTL_WHY_JOINDIARY_H
#define LAB_CTL_WHY_JOINDIARY_H

#include "lab/ctl/why/Epoch.h"
#include "lab/ctl/why/JoinRule.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <optional>
#include <vector>

namespace orvanectl {

/// Keeps what the service hears, and says for each time message whether Blended Navigation came of it, and what kept it
/// from that by the service's own rules.
///
///     take(UTCTime) -> an epoch begins; the one before is over
///     take(...)        the other inputs
///     tell(gps s)      that epoch was published
///
/// The service looks at its inputs four times a second, so what was there for so long counts; of several such states
/// the one with the fewest causes. Inputs of the next epoch that come a moment before its time message change nothing.
///
/// Moments are those of arrival; one before the last that was given counts as that. One thread at a time; nothing is
/// printed.
class JoinDiary {
public:
    using Time = std::chrono::steady_clock::time_point;

    /// Epochs that are over and not taken yet; of more it is only known how many they were.
    static constexpr std::size_t kMostPending = 10'000;

    /// What is heard besides the five topics.
    struct Hearing {
        bool bus = false;       ///< `tell` is called; otherwise an epoch is joined when the service could have done it
        bool receiver = false;  ///< `take(GSSIP)` is called; otherwise the receiver is there unless all else was
        bool queue = false;     ///< `takeReading` is called; without it nothing is known of a receiver that isn't heard
    };

    /// Of one input.
    struct InputState {
        std::optional<Time> arrived;                               ///< the latest that was not refused
        double behind = std::numeric_limits<double>::quiet_NaN();  ///< s, how much older it is than the time message
        std::uint64_t taken = 0;
        std::uint64_t refused = 0;
        std::uint64_t broken = 0;          ///< of the receiver: what can't be unpacked
        aspn2_msgs::idl::header header{};  ///< of the latest that was not refused
    };

    JoinDiary(const ServerSettings& settings, Hearing hearing);

    void take(const aspn2_msgs::idl::UTCTime& message, Time now);
    void take(const aspn2_msgs::idl::PositionVelocityAttitude& message, Time now);
    void take(const aspn2_msgs::idl::HalvexPNT& message, Time now);
    void take(const aspn2_msgs::idl::MeasurementIncorporationStatus& message, Time now);
    void take(const aspn2_msgs::idl::AssuranceState& message, Time now);

    /// Any record of the receiver's queue; what is no 8504 is passed over.
    void take(const aspn2_msgs::idl::GSSIP& message, Time now);

    /// Something on that queue was no record.
    void takeNoRecord(Time now);

    /// The service has read something from that queue, whatever it was.
    void takeReading(Time now);

    /// @param gpsSeconds  of the record that was published
    void tell(double gpsSeconds, Time now);

    /// Whether the receiver is heard from now on, whatever was so before.
    void setReceiverHeard(bool isHeard, Time now);
    bool isReceiverHeard() const { return m_hearing.receiver; }

    /// Whether the bus has a service that runs; so it is until this says otherwise.
    void setServiceRuns(bool runs, Time now);

    /// Epochs that nothing can change any more, each once, in their order; in place of what was left out its number.
    std::vector<Epoch> takeDecided(Time now);

    /// The rest, but for an epoch that the service may not have looked at yet. Time messages that should have come by
    /// now are missed.
    std::vector<Epoch> end(Time now);

    InputState input(JoinInput input) const;

    /// Why no epoch begins: no time message since ever, or for so long that it is no pause between two; or only some that
    /// are refused. Nothing while they come.
    std::optional<MissCause> silence(Time now) const;

    /// Roughly what a copy takes, in bytes: it grows with the epochs that are not decided yet.
    std::size_t weight() const;

private:
    using Header = aspn2_msgs::idl::header;

    struct Heard {
        bool isNew = false;  // since the latest join
        bool isWhole = true;
        bool usesUp = false;  // the inputs of its join, though it isn't whole
        Header header;
        InputState state;
        std::map<std::uint8_t, Time> refused;  // by server, the latest
    };

    /// What was there without a change, and how long.
    struct Span {
        std::vector<MissCause> causes;
        Time::duration lasted{};
    };

    /// An epoch that is over, and may still be told.
    struct Pending {
        Epoch epoch;
        Header time;
        Time ended;
    };

    template <class Message>
    void takeTopic(JoinInput input, const Message& message, Time now);
    Heard& heard(JoinInput input) { return m_heard[static_cast<std::size_t>(input)]; }
    const Heard& heard(JoinInput input) const { return m_heard[static_cast<std::size_t>(input)]; }
    void refuse(JoinInput input, std::uint8_t server, Time now);

    void pass(Time now);
    bool isLookedAtUntil(Time now) const;
    bool isRead() const;
    bool fits(JoinInput input, const Header& time) const;
    void judge(const Span& span);
    void useUp(bool isLookedAt);
    bool wasUsedUp() const;
    void join(const Header& time, Time before);
    void closeEpoch(Time now);
    void keep(Pending pending);
    void countGap(double apart);
    std::uint64_t missingIn(double apart) const;
    void addMissing(std::uint64_t epochs, double gpsSeconds);
    double interval() const;

    std::vector<MissCause> causes() const;
    std::optional<MissCause> causeOf(JoinInput input) const;
    std::vector<MissCause> finalCauses() const;
    std::string refusedServers(const Heard& heard, Time since) const;

    JoinRule m_rule;
    Hearing m_hearing;
    std::array<Heard, kJoinInputs> m_heard;
    Time m_now = Time::min();
    Time m_firstLook = Time::min();
    bool m_serviceRuns = true;

    // Of the epoch under way.
    bool m_isUnderWay = false;
    bool m_isFirst = true;
    bool m_wasWithoutService = false;
    Epoch m_epoch;
    Header m_time;
    Time m_began = Time::min();
    Time m_fresh = Time::min();  // what came before belongs to the epoch before
    Span m_span;                 // that goes on
    std::optional<Span> m_best;
    std::optional<Span> m_refused;   // all were there, the report no frame: the service may have used them
    Time m_refusedAt = Time::min();  // the latest of it
    bool m_isUsedUp = false;         // so it has

    std::deque<double> m_intervals;  // s, between the latest time messages, those that were left out included
    std::deque<Pending> m_pending;
};

}  // namespace orvanectl

#endif
