#include "lab/ctl/why/DiaryClock.h"

#include <algorithm>
#include <chrono>

namespace orvanectl {

namespace {

constexpr std::chrono::milliseconds kBetweenDiaryLooks{50};  // as while it listens
constexpr std::chrono::minutes kLongestLook{2};              // in a pause

}  // namespace

void DiaryClock::passUntil(Time time, const std::function<void()>& look)
{
    if (time <= m_now) return;
    const Time last = m_now + std::min<Time::duration>(kLongestLook, time - m_now);
    for (Time now = m_now + kBetweenDiaryLooks; now < last; now += kBetweenDiaryLooks) {
        m_now = now;
        look();
    }
    m_now = time;
    look();
}

}  // namespace orvanectl
