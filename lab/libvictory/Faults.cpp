#include "lab/libvictory/Faults.h"

#include <limits>

namespace labvictory {

std::uint32_t Faults::add(const char* kind, const void* service, Fault fault)
{
    const MutexLock lock(m_mutex);
    Raised& raised = m_services[{kind, service}];
    if (raised.faults.size() >= kLimit || raised.lastId == std::numeric_limits<std::uint32_t>::max()) return 0;
    raised.faults.emplace(++raised.lastId, std::move(fault));
    return raised.lastId;
}

bool Faults::remove(const char* kind, const void* service, std::uint32_t id)
{
    const MutexLock lock(m_mutex);
    const auto found = m_services.find({kind, service});
    return found != m_services.end() && found->second.faults.erase(id) == 1;
}

void Faults::forget(const char* kind, const void* service)
{
    const MutexLock lock(m_mutex);
    m_services.erase({kind, service});
}

Json Faults::list() const
{
    const MutexLock lock(m_mutex);
    Json faults = Json::array();
    for (const auto& [service, raised] : m_services)
        for (const auto& [id, fault] : raised.faults)
            faults.push_back({{"kind", service.first},
                              {"id", id},
                              {"text", fault.text},
                              {"acknowledged", fault.acknowledged},
                              {"severity", fault.severity},
                              {"category", fault.category},
                              {"action", fault.action}});
    return faults;
}

}  // namespace labvictory
