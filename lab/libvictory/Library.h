#ifndef LAB_LIBVICTORY_LIBRARY_H
#define LAB_LIBVICTORY_LIBRARY_H

#include "VICTORY/libvictory/victory.h"
#include "lab/libvictory/Bus.h"
#include "lab/libvictory/Faults.h"
#include "lab/libvictory/Service.h"
#include "lab/libvictory/TellHolds.h"
#include "utilities/ThreadAnnotations.h"

#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

/// A handle. Its address is never used for another service, so that a call on a service that is gone is always noticed.
struct VapntsService {};

namespace labvictory {

/// Names of the tells on the bus.
struct Tell {
    static constexpr const char* kBlendedNavigation = "blended-navigation";
    static constexpr const char* kNavWarSa = "navwar-sa";
    static constexpr const char* kWarningMessages = "warning-messages";
    static constexpr const char* kSystemConfiguration = "system-configuration";
    static constexpr const char* kAvailableOutputs = "available-outputs";
    static constexpr const char* kAvailableSensors = "available-sensors";
    static constexpr const char* kClearSystemData = "clear-system-data";
    static constexpr const char* kExecuteBuiltInTests = "execute-built-in-tests";
    static constexpr const char* kBuiltInTestResults = "built-in-test-results";
    static constexpr const char* kClearBuiltInTestResults = "clear-built-in-test-results";

    static constexpr const char* kAll[] = {
        kBlendedNavigation, kNavWarSa,        kWarningMessages,     kSystemConfiguration, kAvailableOutputs,
        kAvailableSensors,  kClearSystemData, kExecuteBuiltInTests, kBuiltInTestResults,  kClearBuiltInTestResults};
};

/// Names the request that this thread works on, for as long as it lives; what is told meanwhile is marked with it.
class RequestScope {
public:
    explicit RequestScope(Json request);
    ~RequestScope();
    RequestScope(const RequestScope&) = delete;
    RequestScope& operator=(const RequestScope&) = delete;
};

/// All that the library has in this process: the services, their faults, and the bus, which stays when a service goes.
/// Its locks are leaves. Any thread, unless told otherwise.
///
/// The environment: ORVANE_LAB_BUS is the path of the bus, looked at whenever a service is made; without it there is
/// none. ORVANE_LAB_VICTORY=refuse-start lets no service start.
class Library {
public:
    static Library& instance();

    /// Null, with a line on the console, when a text can't be used.
    VapntsService* create(const char* configuration, const char* vcl) EXCLUDES(m_mutex);

    bool start(VapntsService* handle) EXCLUDES(m_mutex);

    /// Stops the service and frees it. A call-back can't do this.
    void remove(VapntsService* handle) EXCLUDES(m_mutex);

    /// The service of a handle. Null, with a line on the console and on the bus, when there is none.
    std::shared_ptr<Service> find(const VapntsService* handle, const char* operation) EXCLUDES(m_mutex);

    /// The service that was made last, if it is there.
    std::shared_ptr<Service> newest() const EXCLUDES(m_mutex);

    /// Publishes what a service tells, once the tell is not held.
    /// @param content  members of the line
    /// @param raw      the record's bytes
    void tell(const char* name, const Json& content, std::string raw = {}) EXCLUDES(m_busMutex);

    /// As the two operations of the interface, for a service of any kind.
    std::uint32_t addFault(const char* kind, const void* service, Fault fault) EXCLUDES(m_busMutex);
    bool removeFault(const char* kind, const void* service, std::uint32_t id) EXCLUDES(m_busMutex);

    /// Sends a line to a client of the bus.
    void send(Bus::ClientId client, const Json& line) EXCLUDES(m_busMutex);

    /// The bus; null for none.
    std::shared_ptr<Bus> bus() const EXCLUDES(m_busMutex);

    /// Not for two threads at once.
    void closeBus() EXCLUDES(m_busMutex);

    /// Has these calls made while the next service is being deleted, or once the next one has been started.
    void atDeletion(Service::Calls calls) EXCLUDES(m_mutex);
    void atRestart(Service::Calls calls) EXCLUDES(m_mutex);

    TellHolds& holds() { return m_holds; }
    const Faults& faults() const { return m_faults; }

private:
    Library() = default;

    struct Entry {
        std::shared_ptr<Service> service;
        bool removing = false;
    };

    void openBus() EXCLUDES(m_busMutex);
    void publishService(const Service& service, const char* event) EXCLUDES(m_busMutex);
    void publishFaults() EXCLUDES(m_faultsMutex, m_busMutex);
    void misused(const std::string& what) EXCLUDES(m_busMutex);

    Faults m_faults;
    TellHolds m_holds;

    mutable Mutex m_mutex;
    std::deque<VapntsService> m_handles GUARDED_BY(m_mutex);
    std::map<const VapntsService*, Entry> m_services GUARDED_BY(m_mutex);
    Service::Calls m_atDeletion GUARDED_BY(m_mutex);
    Service::Calls m_atRestart GUARDED_BY(m_mutex);

    Mutex m_opening;      // over opening and closing; held over the end of a bus's thread
    Mutex m_faultsMutex;  // over reading the list and publishing it, so that the last one published is the newest
    mutable Mutex m_busMutex;
    std::shared_ptr<Bus> m_bus GUARDED_BY(m_busMutex);
};

}  // namespace labvictory

#endif
