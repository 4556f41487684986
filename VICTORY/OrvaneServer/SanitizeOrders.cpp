#include "VICTORY/OrvaneServer/SanitizeOrders.h"

#include "VICTORY/OrvaneServer/Reports.h"

#include <string>
#include <utility>

void SanitizeOrders::order()
{
    m_sanitizeRequested = true;
    {
        const MutexLock lock(m_mutex);
        if (!m_hasEnded) {
            if (m_waiting < kMostWaiting) ++m_waiting;
            return;
        }
    }
    tellDropped(1);
}

bool SanitizeOrders::take()
{
    const MutexLock lock(m_mutex);
    if (m_waiting == 0) return false;
    --m_waiting;
    return true;
}

void SanitizeOrders::begin()
{
    const MutexLock lock(m_mutex);
    m_hasEnded = false;
}

void SanitizeOrders::end()
{
    int dropped = 0;
    {
        const MutexLock lock(m_mutex);
        m_hasEnded = true;
        dropped = std::exchange(m_waiting, 0);
    }
    if (dropped > 0) tellDropped(dropped);
}

void SanitizeOrders::tellDropped(int count) const
{
    Reports::sendAndPrint(EventTypes::EVENT_FAULT,
                          m_settings.m_serverName +
                              ": Stopped. Orders to sanitize that were not carried out: " + std::to_string(count));
}
