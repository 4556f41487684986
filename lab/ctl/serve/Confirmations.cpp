#include "lab/ctl/serve/Confirmations.h"

#include "lab/ctl/serve/PageGuard.h"

#include <algorithm>

namespace orvanectl {

std::string Confirmations::ask(const std::string& what, Time now)
{
    std::string confirmation = randomToken();
    const MutexLock lock(m_mutex);
    m_rows.push_back({what, confirmation, now + kLifetime});
    if (m_rows.size() > kMost) m_rows.pop_front();
    return confirmation;
}

bool Confirmations::take(const std::string& what, const std::string& confirmation, Time now)
{
    const MutexLock lock(m_mutex);
    const auto found =
        std::ranges::find_if(m_rows, [&](const Row& row) { return isSameSecret(row.confirmation, confirmation); });
    if (found == m_rows.end()) return false;
    const bool isGood = found->what == what && now <= found->end;
    m_rows.erase(found);
    return isGood;
}

}  // namespace orvanectl
