#include "utilities/RunTimeStats.h"

void RunTimeStats::start()
{
    startTime = m_clock.GetCurrentTimeTag();
}

void RunTimeStats::finish()
{
    ObserveValue(m_clock.GetCurrentTimeTag() - startTime);
}
