#include "lab/ctl/why/JoinDiary.h"

#include "ASPN/AspnHelper.h"
#include "VICTORY/OrvaneServer/BlendedNavigation.h"
#include "VICTORY/OrvaneServer/MessageSource.h"
#include "VICTORY/OrvaneServer/NavInputs.h"
#include "lab/ctl/Counted.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orvanectl {

using namespace aspn2_msgs::idl;
using Kind = MissCause::Kind;

namespace {

constexpr auto kTurn = NavInputs::kBetweenLooks;
constexpr std::chrono::seconds kTellsWithin{1};    // after the end of an epoch
constexpr double kSameTime = 1e-4;                 // s
constexpr std::chrono::milliseconds kNearly{900};  // the longest that two inputs of a join are apart, but for jitter
constexpr std::size_t kIntervals = 9;              // of which the middle one counts
constexpr std::uint64_t kLongestGap = 3600;        // epochs
constexpr std::size_t kMostNamed = 8;              // servers that were refused
constexpr double kShortestSilence = 2;             // s, in which no time message comes
constexpr double kLongestPause = 60;               // s, between two of them

constexpr JoinInput kBesidesTime[] = {JoinInput::Pva, JoinInput::Pnt, JoinInput::Mis, JoinInput::Assurance,
                                      JoinInput::Receiver};

double secondsOf(std::chrono::steady_clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

bool areAlike(const std::vector<MissCause>& one, const std::vector<MissCause>& other)
{
    return std::ranges::equal(one, other, [](const MissCause& a, const MissCause& b) {
        return a.kind == b.kind && a.input == b.input && a.servers == b.servers;
    });
}

}  // namespace

JoinDiary::JoinDiary(const ServerSettings& settings, Hearing hearing) : m_rule(settings), m_hearing(hearing) {}

template <class Message>
void JoinDiary::takeTopic(JoinInput input, const Message& message, Time now)
{
    pass(now);
    if (!m_rule.takes(message)) return refuse(input, MessageSource::sourceOf(message), m_now);
    Heard& heard = this->heard(input);
    heard.isNew = true;
    heard.header = message.header();
    heard.state.arrived = m_now;
    ++heard.state.taken;
}

void JoinDiary::take(const PositionVelocityAttitude& message, Time now)
{
    takeTopic(JoinInput::Pva, message, now);
}

void JoinDiary::take(const HalvexPNT& message, Time now)
{
    takeTopic(JoinInput::Pnt, message, now);
}

void JoinDiary::take(const MeasurementIncorporationStatus& message, Time now)
{
    takeTopic(JoinInput::Mis, message, now);
}

void JoinDiary::take(const AssuranceState& message, Time now)
{
    takeTopic(JoinInput::Assurance, message, now);
}

void JoinDiary::take(const GSSIP& message, Time now)
{
    if (!JoinRule::isReport(message)) return;
    takeTopic(JoinInput::Receiver, message, now);
    if (!m_rule.takes(message)) return;
    Heard& receiver = heard(JoinInput::Receiver);
    receiver.isWhole = m_rule.isFrame(message);
    receiver.usesUp = !receiver.isWhole && m_rule.usesUp(message);
    if (!receiver.isWhole) ++receiver.state.broken;
}

void JoinDiary::takeNoRecord(Time now)
{
    pass(now);
    Heard& receiver = heard(JoinInput::Receiver);
    ++receiver.state.broken;
    // It takes the place of nothing: the service keeps the report before it, also one that came before its time message.
    const bool isOfUse = receiver.isNew && (receiver.isWhole || receiver.usesUp);
    if (isOfUse && ASPN2::deltaTov(m_time, receiver.header) < NavInputs::kFarthestApart) return;
    receiver.isNew = true;
    receiver.isWhole = false;
    receiver.usesUp = false;
    receiver.header = m_time;
    receiver.state.arrived = m_now;
}

void JoinDiary::setReceiverHeard(bool isHeard, Time now)
{
    pass(now);
    if (m_hearing.receiver == isHeard) return;
    m_hearing.receiver = isHeard;
    // What was only read, or was heard before, tells nothing of what comes now.
    heard(JoinInput::Receiver) = {};
    m_span = {};
    m_best.reset();
    m_refused.reset();
}

void JoinDiary::takeReading(Time now)
{
    if (m_hearing.receiver) return;
    pass(now);
    Heard& receiver = heard(JoinInput::Receiver);
    receiver.isNew = true;
    receiver.state.arrived = m_now;
}

void JoinDiary::take(const UTCTime& message, Time now)
{
    pass(now);
    if (!m_rule.takes(message)) return refuse(JoinInput::UtcTime, MessageSource::sourceOf(message), m_now);
    const double gpsSeconds = BlendedNavigation::gpsSeconds(message);
    if (m_isUnderWay) {
        closeEpoch(m_now);
        countGap(gpsSeconds - m_epoch.gpsSeconds);
        const double between = std::min(secondsOf(m_now - m_began), interval());
        m_fresh = m_now - std::chrono::duration_cast<Time::duration>(std::chrono::duration<double>(between / 2));
    }
    m_began = m_now;
    m_isUnderWay = true;
    m_wasWithoutService = !m_serviceRuns;
    m_epoch = {gpsSeconds, false, {}};
    m_time = message.header();
    m_span = {};
    m_best.reset();
    m_refused.reset();
    m_isUsedUp = false;
    Heard& time = heard(JoinInput::UtcTime);
    time.refused.clear();
    time.state.arrived = m_now;
    ++time.state.taken;
}

void JoinDiary::refuse(JoinInput input, std::uint8_t server, Time now)
{
    Heard& heard = this->heard(input);
    heard.refused[server] = now;
    ++heard.state.refused;
}

void JoinDiary::tell(double gpsSeconds, Time now)
{
    const auto isIt = [=](const Epoch& epoch) { return std::fabs(epoch.gpsSeconds - gpsSeconds) < kSameTime; };
    pass(now);
    if (m_isUnderWay && isIt(m_epoch)) {
        if (!m_epoch.isJoined) join(m_time, m_now);
        m_epoch.isJoined = true;
        return;
    }
    for (Pending& pending : m_pending) {
        if (!isIt(pending.epoch) || pending.epoch.isJoined || pending.epoch.leftOut > 0) continue;
        pending.epoch.isJoined = true;
        return join(pending.time, pending.ended);
    }
}

void JoinDiary::setServiceRuns(bool runs, Time now)
{
    pass(now);
    if (runs && !m_serviceRuns) m_span = {};  // it looks from now on
    m_serviceRuns = runs;
    if (!runs) m_wasWithoutService = true;
}

/// Inputs are used up that were there in time and could be joined.
void JoinDiary::join(const Header& time, Time before)
{
    for (const JoinInput input : kBesidesTime) {
        Heard& heard = this->heard(input);
        if (heard.isNew && heard.state.arrived <= before && fits(input, time)) heard.isNew = false;
    }
}

/// What was read without being heard may have any time.
bool JoinDiary::fits(JoinInput input, const Header& time) const
{
    if (input == JoinInput::Receiver && !m_hearing.receiver) return true;
    return m_rule.fits(heard(input).header, time);
}

/// What is there has been so until now.
void JoinDiary::pass(Time now)
{
    if (m_now == Time::min()) m_firstLook = now;
    now = std::max(now, m_now);
    if (m_isUnderWay && !m_epoch.isJoined && !m_isUsedUp) {
        Span span{causes(), now - m_now};
        const bool isLookedAt = isLookedAtUntil(now);
        if (areAlike(span.causes, m_span.causes)) span.lasted += m_span.lasted;
        m_span = std::move(span);
        judge(m_span);
        if (m_span.causes.empty() && !m_hearing.bus && isLookedAt) {
            m_epoch.isJoined = true;
            join(m_time, m_now);
        }
        useUp(isLookedAt);
    }
    m_now = now;
}

/// A report that is no frame is joined like others, and then nothing is published: all six are used.
void JoinDiary::useUp(bool isLookedAt)
{
    const auto& causes = m_span.causes;
    if (!m_serviceRuns || causes.size() != 1 || causes.front().kind != Kind::NotAFrame) return;
    if (!heard(JoinInput::Receiver).usesUp) return;
    if (m_best && m_best->causes.empty() && m_best->lasted >= kTurn) return;  // it has looked before
    m_refused = m_span;
    m_refusedAt = m_now;
    if (!(m_hearing.bus ? m_span.lasted >= kTurn : isLookedAt)) return;
    m_isUsedUp = true;
    m_best = m_span;
    join(m_time, m_now);
}

/// Also when the service must have looked before a frame came, since nothing was published of that.
bool JoinDiary::wasUsedUp() const
{
    return m_isUsedUp || (m_refused && m_best && m_best->causes.empty() && m_best->lasted >= kTurn);
}

/// Whether one of the looks that are made every turn falls between the last moment and this one.
bool JoinDiary::isLookedAtUntil(Time now) const
{
    return (now - m_firstLook) / kTurn != (m_now - m_firstLook) / kTurn;
}

/// Keeps what the service has seen for certain; of that, what lacks the least. Otherwise what lasted longest.
void JoinDiary::judge(const Span& span)
{
    const auto rank = [](const Span& one) {
        const bool isSeen = one.lasted >= kTurn;
        return std::tuple(isSeen, isSeen ? -static_cast<std::int64_t>(one.causes.size()) : 0, one.lasted);
    };
    if (!m_best || rank(span) > rank(*m_best)) m_best = span;
}

void JoinDiary::closeEpoch(Time now)
{
    m_isUnderWay = false;
    const bool wasFirst = std::exchange(m_isFirst, false);
    if (!m_epoch.isJoined) {
        m_epoch.causes = finalCauses();
        if (wasUsedUp()) join(m_time, m_refusedAt);
        // What came before the first message is not known.
        const auto isMissing = [](const MissCause& cause) {
            return cause.kind == Kind::Missing || cause.kind == Kind::Unread;
        };
        if (wasFirst && std::ranges::any_of(m_epoch.causes, isMissing)) return;
    }
    keep({m_epoch, m_time, now});
}

/// Time messages that all came at one moment, and those that seem to be missing between them, have no end.
void JoinDiary::keep(Pending pending)
{
    if (m_pending.size() < kMostPending) return m_pending.push_back(std::move(pending));
    if (m_pending.back().epoch.leftOut == 0) m_pending.push_back({{}, m_time, pending.ended});
    ++m_pending.back().epoch.leftOut;
}

std::vector<MissCause> JoinDiary::finalCauses() const
{
    if (m_wasWithoutService) return {{.kind = Kind::NoService}};
    if (!m_best) return {};
    if (wasUsedUp()) return m_refused->causes;
    if (!m_best->causes.empty()) return m_best->causes;
    if (m_best->lasted < kTurn) return {{.kind = Kind::Overtaken, .seconds = secondsOf(m_best->lasted)}};
    if (m_hearing.receiver) return {{.kind = Kind::NotTold}};
    return {{.kind = Kind::Unusable, .input = JoinInput::Receiver}};
}

/// Time messages that were left out are epochs, too.
void JoinDiary::countGap(double apart)
{
    if (!(apart > 0)) return;
    const std::uint64_t missing = missingIn(apart);
    addMissing(missing, m_epoch.gpsSeconds);
    m_intervals.push_back(apart / static_cast<double>(missing + 1));
    if (m_intervals.size() > kIntervals) m_intervals.pop_front();
}

std::uint64_t JoinDiary::missingIn(double apart) const
{
    const double usual = interval();
    if (!(usual > 0) || apart < 1.5 * usual) return 0;
    return static_cast<std::uint64_t>(std::min(std::round(apart / usual) - 1, static_cast<double>(kLongestGap)));
}

void JoinDiary::addMissing(std::uint64_t epochs, double gpsSeconds)
{
    const Heard& time = heard(JoinInput::UtcTime);
    const std::string servers = refusedServers(time, Time::min());
    const MissCause cause{servers.empty() ? Kind::Missing : Kind::Refused, JoinInput::UtcTime, 0, servers};
    for (std::uint64_t i = 1; i <= epochs; ++i)
        keep({{gpsSeconds + static_cast<double>(i) * interval(), false, {cause}}, m_time, m_now});
}

/// Between two time messages, in s; 0 before there are two.
double JoinDiary::interval() const
{
    if (m_intervals.empty()) return 0;
    std::vector<double> sorted(m_intervals.begin(), m_intervals.end());
    const auto middle = sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2);
    std::ranges::nth_element(sorted, middle);
    return *middle;
}

std::vector<MissCause> JoinDiary::causes() const
{
    std::vector<MissCause> all;
    for (const JoinInput input : kBesidesTime)
        if (input != JoinInput::Receiver || m_hearing.receiver)
            if (auto cause = causeOf(input)) all.push_back(std::move(*cause));
    if (!m_hearing.receiver && m_hearing.queue && !isRead())
        all.push_back({.kind = Kind::Unread, .input = JoinInput::Receiver});
    return all;
}

/// Whether something was read since the latest join that may be of this epoch.
bool JoinDiary::isRead() const
{
    const Heard& receiver = heard(JoinInput::Receiver);
    return receiver.isNew && *receiver.state.arrived >= std::min(m_fresh, m_began - kNearly);
}

/// Nothing if this input is there and close enough.
std::optional<MissCause> JoinDiary::causeOf(JoinInput input) const
{
    const Heard& heard = this->heard(input);
    const double behind = ASPN2::deltaTov(m_time, heard.header);
    // One that waits since the epoch before is none of this one.
    const bool isLeft = heard.state.arrived < m_fresh && behind > 0;
    if (heard.isNew && m_rule.fits(heard.header, m_time)) {
        if (heard.isWhole) return std::nullopt;
        return MissCause{Kind::NotAFrame, input, 0, {}};
    }
    if (heard.isNew && !isLeft) return MissCause{behind > 0 ? Kind::Late : Kind::Early, input, std::fabs(behind), {}};
    const std::string servers = refusedServers(heard, m_fresh);
    return MissCause{servers.empty() ? Kind::Missing : Kind::Refused, input, 0, servers};
}

/// "MasterClock and ZentorM", "... and 3 others".
std::string JoinDiary::refusedServers(const Heard& heard, Time since) const
{
    std::string text;
    std::size_t servers = 0;
    for (const auto& [server, arrived] : heard.refused)
        if (arrived >= since && ++servers <= kMostNamed)
            text += (text.empty() ? "" : " and ") + MessageSource::nameOf(server);
    if (servers > kMostNamed) text += " and " + counted(servers - kMostNamed, "other");
    return text;
}

std::vector<Epoch> JoinDiary::takeDecided(Time now)
{
    std::vector<Epoch> decided;
    while (!m_pending.empty() && (!m_hearing.bus || m_pending.front().ended + kTellsWithin <= now)) {
        Epoch& epoch = m_pending.front().epoch;
        if (epoch.isJoined) epoch.causes.clear();
        decided.push_back(std::move(epoch));
        m_pending.pop_front();
    }
    return decided;
}

std::vector<Epoch> JoinDiary::end(Time now)
{
    pass(now);
    if (m_isUnderWay) {
        // The second look is behind at least one whole turn.
        const bool isUndecided = !m_epoch.isJoined && !m_isUsedUp && m_now - m_began < 2 * kTurn;
        const std::uint64_t missing = missingIn(secondsOf(m_now - m_began));
        if (!isUndecided) closeEpoch(m_now);
        m_isUnderWay = false;
        addMissing(missing, m_epoch.gpsSeconds);
    }
    return takeDecided(Time::max());
}

std::optional<MissCause> JoinDiary::silence(Time now) const
{
    const Heard& time = heard(JoinInput::UtcTime);
    double seconds = 0;
    if (time.state.arrived) {
        seconds = secondsOf(now - *time.state.arrived);
        if (seconds < std::clamp(2 * interval(), kShortestSilence, kLongestPause)) return std::nullopt;
    }
    const std::string servers = refusedServers(time, Time::min());
    return MissCause{servers.empty() ? Kind::Missing : Kind::Refused, JoinInput::UtcTime, seconds, servers};
}

std::size_t JoinDiary::weight() const
{
    constexpr std::size_t kOfServer = 64;
    std::size_t weight = sizeof *this;
    for (const Heard& heard : m_heard) weight += heard.refused.size() * kOfServer;
    for (const Pending& pending : m_pending) {
        weight += sizeof pending;
        for (const MissCause& cause : pending.epoch.causes) weight += sizeof cause + cause.servers.size();
    }
    return weight;
}

JoinDiary::InputState JoinDiary::input(JoinInput input) const
{
    const Heard& heard = this->heard(input);
    InputState state = heard.state;
    state.header = heard.header;
    const bool isTimed = heard.state.arrived && heard.state.taken > 0 && this->heard(JoinInput::UtcTime).state.arrived;
    if (input != JoinInput::UtcTime && isTimed) state.behind = ASPN2::deltaTov(m_time, heard.header);
    return state;
}

}  // namespace orvanectl
