#include "lab/ctl/play/Reel.h"

#include <algorithm>
#include <limits>
#include <tuple>
#include <utility>

namespace orvanectl {

namespace {

constexpr std::size_t kMostHeld = 4096;
constexpr std::size_t kMostBytes = std::size_t{16} * 1024 * 1024;

}  // namespace

Reel::Reel(const mcap::Source& source, const PlayPlan& plan)
    : m_plan(plan), m_scanner(source, static_cast<mcap::RecordSink&>(*this), {plan.first, plan.last})
{}

bool Reel::isLater(const Held& one, const Held& other)
{
    return std::tie(one.time, one.number) > std::tie(other.time, other.number);
}

void Reel::message(const mcap::Message& message)
{
    if (!m_plan.has(message)) return;
    constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max() / 4);
    const auto place = static_cast<std::int64_t>(std::min(message.logTime - m_plan.first, kMost));
    m_held.push_back({message.logTime, m_number++,
                      Cue{m_plan.channels.at(message.channel),
                          std::chrono::nanoseconds(place),
                          {message.data.begin(), message.data.end()}}});
    m_bytes += message.data.size();
    std::ranges::push_heap(m_held, isLater);
}

std::optional<Cue> Reel::next()
{
    while (m_held.size() < kMostHeld && m_bytes < kMostBytes && m_scanner.step()) {
    }
    if (m_held.empty()) return std::nullopt;
    std::ranges::pop_heap(m_held, isLater);
    Cue cue = std::move(m_held.back().cue);
    m_held.pop_back();
    m_bytes -= cue.payload.size();
    return cue;
}

}  // namespace orvanectl
