#ifndef LAB_CTL_WHY_DIARYCLOCK_H
#define LAB_CTL_WHY_DIARYCLOCK_H

#include "lab/ctl/why/JoinDiary.h"

#include <functional>

namespace orvanectl {

/// The time of a recording, which passes by looks at a diary as while it listens. It does not go back. One thread at a
/// time.
class DiaryClock {
public:
    using Time = JoinDiary::Time;

    explicit DiaryClock(Time start) : m_now(start) {}

    Time now() const { return m_now; }

    /// Goes there. In a pause of years nothing is new any more after some minutes, and is not looked at.
    /// @param look  is called at each moment at which is looked, which is `now` then; the last is `time`
    void passUntil(Time time, const std::function<void()>& look);

private:
    Time m_now;
};

}  // namespace orvanectl

#endif
