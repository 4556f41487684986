#include "lab/ctl/TopicStatistics.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace orvanectl {

namespace {

double secondsOf(TopicStatistics::Clock::duration duration)
{
    return std::chrono::duration<double>(duration).count();
}

/// The track of a source, or none if there are too many.
template <class Key>
SequenceTrack* trackOf(std::map<Key, SequenceTrack>& tracks, const Key& key)
{
    if (const auto found = tracks.find(key); found != tracks.end()) return &found->second;
    return tracks.size() < TopicStatistics::kMostSources ? &tracks[key] : nullptr;
}

}  // namespace

std::uint64_t saturatedSum(std::uint64_t a, std::uint64_t b)
{
    return b > std::numeric_limits<std::uint64_t>::max() - a ? std::numeric_limits<std::uint64_t>::max() : a + b;
}

void SequenceHoles::add(const SequenceHoles& others)
{
    gaps = saturatedSum(gaps, others.gaps);
    missing = saturatedSum(missing, others.missing);
    back = saturatedSum(back, others.back);
}

void SequenceTrack::take(std::int64_t number, SequenceHoles& holes)
{
    const std::optional<std::int64_t> last = std::exchange(m_last, number);
    if (!last) return;
    if (number <= *last) {
        ++holes.back;
        return;
    }
    // The difference of any two fits into 64 bits without a sign.
    const std::uint64_t missing = static_cast<std::uint64_t>(number) - static_cast<std::uint64_t>(*last) - 1;
    if (missing == 0) return;
    ++holes.gaps;
    holes.missing = saturatedSum(holes.missing, missing);
}

void TopicStatistics::take(const Arrival& arrival)
{
    ++m_count;
    m_last = arrival.time;
    m_arrivals.push_back(arrival.time);
    if (m_arrivals.size() > kMostArrivals) m_arrivals.pop_front();
    prune(arrival.time);
    followWriter(arrival);
    if (SequenceTrack* const track = trackOf(m_tracks, {arrival.writer, arrival.deviceId}))
        track->take(arrival.sequenceNumber, m_holes);
    if (m_sources.size() < kMostSources && std::ranges::find(m_sources, arrival.deviceId) == m_sources.end())
        m_sources.push_back(arrival.deviceId);
}

/// False for a number that is not new, and for a writer that is not followed.
bool TopicStatistics::followWriter(const Arrival& arrival)
{
    const bool isFirst = !m_writers.contains(arrival.writer);
    SequenceTrack* const track = trackOf(m_writers, arrival.writer);
    if (!track) return false;
    const std::uint64_t back = m_transport.back;
    track->take(arrival.writerNumber, m_transport);
    if (isFirst && arrival.writerNumber > 1)
        m_earlier = saturatedSum(m_earlier, static_cast<std::uint64_t>(arrival.writerNumber) - 1);
    return m_transport.back == back;
}

void TopicStatistics::passOver(const Arrival& first, const Arrival& latest)
{
    if (followWriter(first)) m_transport.missing = saturatedSum(m_transport.missing, 1);
    if (latest.writerNumber == first.writerNumber) return;
    if (followWriter(latest)) m_transport.missing = saturatedSum(m_transport.missing, 1);
}

void TopicStatistics::prune(Time now)
{
    while (!m_arrivals.empty() && now - m_arrivals.front() > m_window) m_arrivals.pop_front();
}

std::optional<double> TopicStatistics::rate(Time now)
{
    prune(now);
    if (m_arrivals.size() < 2 || m_arrivals.back() <= m_arrivals.front()) return std::nullopt;
    return static_cast<double>(m_arrivals.size() - 1) / secondsOf(m_arrivals.back() - m_arrivals.front());
}

std::optional<double> TopicStatistics::longestInterval(Time now)
{
    if (!rate(now)) return std::nullopt;
    Clock::duration longest{};
    for (std::size_t i = 1; i < m_arrivals.size(); ++i) longest = std::max(longest, m_arrivals[i] - m_arrivals[i - 1]);
    return secondsOf(longest);
}

std::optional<double> TopicStatistics::jitter(Time now)
{
    if (!rate(now)) return std::nullopt;
    const auto intervals = static_cast<double>(m_arrivals.size() - 1);
    const double mean = secondsOf(m_arrivals.back() - m_arrivals.front()) / intervals;
    double squares = 0;
    for (std::size_t i = 1; i < m_arrivals.size(); ++i) {
        const double apart = secondsOf(m_arrivals[i] - m_arrivals[i - 1]) - mean;
        squares += apart * apart;
    }
    return std::sqrt(squares / intervals);
}

}  // namespace orvanectl
