#include "lab/ctl/serve/RecordedRun.h"

#include "lab/ctl/record/RecordingSource.h"

#include <algorithm>
#include <span>

namespace orvanectl {

namespace {

template <class T>
std::span<const T> firstOf(const std::vector<T>& all, std::size_t count)
{
    return std::span(all).first(std::min(count, all.size()));
}

}  // namespace

RecordedRun::RecordedRun(const mcap::Source& source, const RecordingIndex& index, const RecordedPlace& place)
    : m_at(place), m_latest(place.last.value_or(index.start)),
      m_scanner(source, static_cast<mcap::RecordSink&>(*this), place.offset, firstOf(index.schemas, place.schemas),
                firstOf(index.channels, place.channels))
{}

void RecordedRun::message(const mcap::Message& message)
{
    m_latest = std::max(m_latest, arrivalTimeOf(message.logTime));
    m_held.push_back({message.channel, m_latest, {message.data.begin(), message.data.end()}});
}

bool RecordedRun::advance(Time until)
{
    if (m_held.empty() && !m_hasEnded) {
        m_hasEnded = !m_scanner.step();
        return true;
    }
    if (m_held.empty() || m_held.front().time > until) return false;
    takeFirst();
    return true;
}

void RecordedRun::takeFirst()
{
    const Held& first = m_held.front();
    m_at.unit.take(first.channel, first.payload, first.time);
    m_taken += first.payload.size();
    if (m_at.last && *m_at.last < first.time) m_at.previous = m_at.last;
    m_at.last = first.time;
    m_held.pop_front();
}

std::optional<RecordedRun::Time> RecordedRun::next() const
{
    return m_held.empty() ? std::nullopt : std::optional(m_held.front().time);
}

std::unique_ptr<const RecordedPlace> RecordedRun::place() const
{
    if (!m_held.empty()) return nullptr;
    auto place = std::make_unique<RecordedPlace>(m_at);
    place->offset = offset();
    return place;
}

}  // namespace orvanectl
