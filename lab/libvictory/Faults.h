#ifndef LAB_LIBVICTORY_FAULTS_H
#define LAB_LIBVICTORY_FAULTS_H

#include "VICTORY/libvictory/victory.h"
#include "lab/libvictory/RecordFields.h"
#include "utilities/ThreadAnnotations.h"

#include <map>
#include <string>
#include <utility>

namespace labvictory {

struct Fault {
    std::string text;
    bool acknowledged;
    VhlthcSeverity severity;
    VhlthcCategory category;
    VhlthcAction action;
};

/// Faults raised in services of all kinds; each service numbers its own from 1. Any thread. The lock is a leaf.
class Faults {
public:
    static constexpr std::size_t kLimit = 200;  // of one service at a time

    /// @param kind  prefix of the service's operations
    /// @return the new fault's id, never used before in this service; 0 at the limit
    std::uint32_t add(const char* kind, const void* service, Fault fault) EXCLUDES(m_mutex);

    /// @return false when the service has no such fault
    bool remove(const char* kind, const void* service, std::uint32_t id) EXCLUDES(m_mutex);

    /// Forgets the service, with its numbers.
    void forget(const char* kind, const void* service) EXCLUDES(m_mutex);

    /// A list, by kind and id.
    Json list() const EXCLUDES(m_mutex);

private:
    struct Raised {
        std::map<std::uint32_t, Fault> faults;
        std::uint32_t lastId = 0;
    };
    using Service = std::pair<std::string, const void*>;

    mutable Mutex m_mutex;
    std::map<Service, Raised> m_services GUARDED_BY(m_mutex);
};

}  // namespace labvictory

#endif
