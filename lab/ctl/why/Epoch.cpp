#include "lab/ctl/why/Epoch.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace orvanectl {

namespace {

using Kind = MissCause::Kind;

constexpr const char* kNames[kJoinInputs] = {
    "UTCTime", "PositionVelocityAttitude", "HalvexPNT", "MeasurementIncorporationStatus", "AssuranceState", "8504"};

constexpr const char* kOthers = "others";  // in place of the names of refused servers

/// "1.2 s", or "1.2 to 1.4 s" where the two read differently.
std::string range(double least, double most)
{
    char first[32], last[32];
    std::snprintf(first, sizeof first, "%.1f", least);
    std::snprintf(last, sizeof last, "%.1f", most);
    const std::string text = first;
    return (text == last ? text : text + " to " + last) + " s";
}

std::string textOf(Kind kind, JoinInput input, const std::string& servers, double least, double most)
{
    std::string name = nameOf(input);
    switch (kind) {
    case Kind::Missing:
        return "no " + name;
    case Kind::Refused:
        return name + " refused, from " + servers;
    case Kind::NotAFrame:
        return name + " not a frame";
    case Kind::Unusable:
        return "no usable " + name;
    case Kind::Unread:
        return "no " + name + " read";
    case Kind::Late:
        return name + ' ' + range(least, most) + " late";
    case Kind::Early:
        return name + ' ' + range(least, most) + " early";
    case Kind::Overtaken:
        return name + " overtaken, all there for " + range(least, most);
    case Kind::NoService:
        return "no service running";
    case Kind::NotTold:
        return "all there, nothing published";
    }
    return name;
}

}  // namespace

const char* nameOf(JoinInput input)
{
    return kNames[static_cast<std::size_t>(input)];
}

std::string MissCause::text() const
{
    return textOf(kind, input, servers, seconds, seconds);
}

std::string lastingText(const MissCause& cause)
{
    std::string text = cause.text();
    if (!(cause.seconds >= 1)) return text;
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.0f s", std::floor(cause.seconds));
    return text + (cause.kind == Kind::Refused ? ", for " : " for ") + seconds;
}

void JoinSum::add(const Epoch& epoch)
{
    if (epoch.leftOut > 0) {
        m_leftOut += epoch.leftOut;
        return;
    }
    ++m_epochs;
    if (epoch.isJoined) {
        ++m_joined;
        return;
    }
    for (const MissCause& cause : epoch.causes) {
        Key key{cause.kind, cause.input, cause.servers};
        const bool isNewSet = !cause.servers.empty() && !m_causes.contains(key);
        if (isNewSet && m_sets >= kMostSets)
            std::get<std::string>(key) = kOthers;
        else if (isNewSet)
            ++m_sets;
        Count& count = m_causes[key];
        count.least = count.times == 0 ? cause.seconds : std::min(count.least, cause.seconds);
        count.most = count.times == 0 ? cause.seconds : std::max(count.most, cause.seconds);
        ++count.times;
    }
}

std::size_t JoinSum::weight() const
{
    constexpr std::size_t kOfNode = 48;
    std::size_t weight = 0;
    for (const auto& [key, count] : m_causes)
        weight += kOfNode + sizeof key + sizeof count + std::get<std::string>(key).size();
    return weight;
}

std::vector<std::pair<std::string, std::uint64_t>> JoinSum::causes() const
{
    std::vector<std::pair<std::string, std::uint64_t>> all;
    for (const auto& [key, count] : m_causes)
        all.emplace_back(
            textOf(std::get<Kind>(key), std::get<JoinInput>(key), std::get<std::string>(key), count.least, count.most),
            count.times);
    std::ranges::stable_sort(all, [](const auto& a, const auto& b) { return a.second > b.second; });
    return all;
}

std::string JoinSum::text(const std::optional<MissCause>& silence) const
{
    if (m_epochs == 0 && silence) return lastingText(*silence) + ", so that nothing can be joined";
    if (m_epochs == 0) return std::string("nothing is decided of a ") + nameOf(JoinInput::UtcTime) + " yet";
    char rate[32];
    std::snprintf(rate, sizeof rate, "%.2f", static_cast<double>(m_joined) / static_cast<double>(m_epochs));
    std::string text = (silence ? lastingText(*silence) + "; " : "") + "join rate " + rate + " (" +
                       std::to_string(m_joined) + " of " + std::to_string(m_epochs) + ')';
    const char* between = ": ";
    for (const auto& [cause, times] : causes()) {
        text += between + std::to_string(times) + " x " + cause;
        between = ", ";
    }
    if (m_leftOut > 0) text += "; " + std::to_string(m_leftOut) + " time messages left out, too many at a time";
    return text;
}

}  // namespace orvanectl
