#include "lab/ctl/serve/ReplayPosition.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>

namespace orvanectl {

namespace {

constexpr int kMostSteps = 100;  // that wait to be done

}  // namespace

ReplayPosition::ReplayPosition(Place length, Time now)
    : m_length(std::max(length, Place::zero())), m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)),
      m_timeline(now, 1, true)
{
    if (m_event < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

ReplayPosition::~ReplayPosition()
{
    ::close(m_event);
}

ReplayPosition::Place ReplayPosition::limited(Place place) const
{
    return std::clamp(place, Place::zero(), m_length);
}

void ReplayPosition::stopAtEnd(Time now)
{
    if (m_timeline.isPaused() || m_timeline.at(now) < m_length) return;
    m_timeline.jump(m_length, now);
    m_timeline.pause(now);
}

ReplayPosition::Json ReplayPosition::change(const Json& request, Time now)
{
    const MutexLock lock(m_mutex);
    stopAtEnd(now);
    if (const char* const error = apply(request, now)) return {{"ok", false}, {"error", error}};
    ++m_changes;
    const std::uint64_t one = 1;
    // It can't be full: it is read sooner than it has counted so far.
    [[maybe_unused]] const ssize_t written = ::write(m_event, &one, sizeof one);
    return {{"ok", true}, {"changes", m_changes}};
}

/// What is wrong with it; null if nothing is.
const char* ReplayPosition::apply(const Json& request, Time now)
{
    constexpr const char* kUnknown = "a change is one of to, paused, rate and step";
    if (!request.is_object() || request.size() != 1) return kUnknown;
    const auto member = request.begin();
    const Json& value = member.value();
    if (member.key() == "to") {
        if (!value.is_number() || !std::isfinite(value.get<double>())) return "a place is a number of seconds";
        const std::chrono::duration<double, std::nano> length = m_length;
        const double place = std::clamp(value.get<double>() * 1e9, 0.0, length.count());
        // The length itself may be more than a double holds exactly.
        m_timeline.jump(
            place < length.count() ? limited(Place(static_cast<std::int64_t>(std::llround(place)))) : m_length, now);
        m_steps = 0;
    } else if (member.key() == "paused") {
        if (!value.is_boolean()) return "it is paused, true or false";
        if (value.get<bool>()) {
            m_timeline.pause(now);
        } else {
            if (m_timeline.at(now) >= m_length) m_timeline.jump(Place::zero(), now);
            m_timeline.resume(now);
        }
        m_steps = 0;
    } else if (member.key() == "rate") {
        if (!value.is_number()) return "a rate is a number";
        const double rate = value.get<double>();
        if (!(rate >= kSlowest && rate <= kFastest)) return "a rate is from 0.01 to 1000";
        m_timeline.setRate(rate, now);
    } else if (member.key() == "step") {
        if (!value.is_number_integer() || (value != 1 && value != -1)) return "a step is 1 or -1";
        m_timeline.pause(now);
        m_steps = std::clamp(m_steps + value.get<int>(), -kMostSteps, kMostSteps);
    } else {
        return kUnknown;
    }
    return nullptr;
}

ReplayPosition::State ReplayPosition::at(Time now)
{
    std::uint64_t count = 0;
    [[maybe_unused]] const ssize_t taken = ::read(m_event, &count, sizeof count);
    const MutexLock lock(m_mutex);
    stopAtEnd(now);
    return {limited(m_timeline.at(now)), m_timeline.rate(), m_timeline.isPaused(), m_steps, m_changes};
}

void ReplayPosition::goOnFrom(Place place, std::uint64_t changes, int stepsDone, Time now)
{
    const MutexLock lock(m_mutex);
    if (changes != m_changes) return;
    m_timeline.jump(limited(place), now);
    m_steps -= stepsDone;
}

}  // namespace orvanectl
