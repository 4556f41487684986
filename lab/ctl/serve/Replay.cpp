#include "lab/ctl/serve/Replay.h"

#include <algorithm>

namespace orvanectl {

Replay::Replay(const mcap::Source& source, const RecordingIndex& index, const ServerSettings& settings, Limits limits)
    : m_source(source), m_index(index), m_limits(limits), m_apart(limits.apart), m_nextPlace(limits.apart),
      m_now(index.start)
{
    const RecordedPlace front{0, 0, 0, {}, {}, RecordedUnit(index, settings)};
    m_places.push_back(std::make_unique<const RecordedPlace>(front));
    m_weight = front.unit.weight();
    m_ahead = std::make_unique<RecordedRun>(source, index, front);
    m_run = std::make_unique<RecordedRun>(source, index, front);
}

/// Whether the places up to a time are kept.
bool Replay::isKnownUntil(Time time) const
{
    return !m_ahead || (m_ahead->last() && *m_ahead->last() > time);
}

void Replay::readAheadOnce()
{
    m_ahead->advance(Time::max());
    if (m_ahead->hasEnded())
        m_ahead.reset();
    else if (m_ahead->taken() >= m_nextPlace)
        keepPlace();
}

void Replay::keepPlace()
{
    auto place = m_ahead->place();
    if (!place) return;
    m_weight += place->unit.weight();
    m_places.push_back(std::move(place));
    while (m_places.size() > 1 && (m_places.size() > m_limits.places || m_weight > m_limits.bytes)) {
        std::vector<std::unique_ptr<const RecordedPlace>> kept;
        for (std::size_t i = 0; i < m_places.size(); i += 2) kept.push_back(std::move(m_places[i]));
        m_places = std::move(kept);
        m_apart *= 2;
        m_weight = 0;
        for (const auto& one : m_places) m_weight += one->unit.weight();
    }
    m_nextPlace = m_ahead->taken() + m_apart;
}

bool Replay::readAhead(Clock::duration most)
{
    for (const auto end = Clock::now() + most; m_ahead && Clock::now() < end;) readAheadOnce();
    return m_ahead != nullptr;
}

/// The last that has nothing of later than that.
const RecordedPlace& Replay::placeBefore(Time time) const
{
    const auto behind =
        std::ranges::find_if(m_places, [&](const auto& place) { return place->last && *place->last > time; });
    return **std::prev(behind);  // the first is before all times
}

bool Replay::goTo(Time time, Clock::duration most)
{
    const auto end = Clock::now() + most;
    while (!isKnownUntil(time)) {
        if (Clock::now() >= end) return false;
        readAheadOnce();
    }
    const RecordedPlace& place = placeBefore(time);
    const bool isBehind = m_run->last() && *m_run->last() > time;
    if (isBehind || m_run->offset() < place.offset) m_run = std::make_unique<RecordedRun>(m_source, m_index, place);
    while (m_run->advance(time))
        if (Clock::now() >= end) return false;
    m_now = time;
    return true;
}

Replay::Time Replay::previous() const
{
    if (m_run->last() && *m_run->last() < m_now) return *m_run->last();
    return m_run->previous().value_or(m_index.start);
}

double Replay::known() const
{
    if (!m_ahead || m_source.size() == 0) return 1;
    return static_cast<double>(m_ahead->offset()) / static_cast<double>(m_source.size());
}

}  // namespace orvanectl
