#ifndef LAB_CTL_TOP_EVERY_H
#define LAB_CTL_TOP_EVERY_H

#include <algorithm>
#include <chrono>
#include <optional>

namespace orvanectl {

/// Between two frames of what is shown live: there are four a second.
constexpr std::chrono::milliseconds kFrame{250};

/// A moment that comes again and again, the first at once. Times are passed in, and must not go back. One thread at a time.
class Every {
public:
    using Time = std::chrono::steady_clock::time_point;

    explicit Every(Time::duration interval) : m_interval(interval) {}

    bool isDue(Time now)
    {
        if (m_next && now < *m_next) return false;
        m_next = now + m_interval;
        return true;
    }

    /// How long to wait for the next: from nothing to the interval.
    std::chrono::milliseconds left(Time now) const
    {
        if (!m_next) return std::chrono::milliseconds(0);
        return std::chrono::ceil<std::chrono::milliseconds>(
            std::clamp(*m_next - now, Time::duration::zero(), m_interval));
    }

private:
    Time::duration m_interval;
    std::optional<Time> m_next;
};

}  // namespace orvanectl

#endif
