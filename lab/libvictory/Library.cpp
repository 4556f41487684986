#include "lab/libvictory/Library.h"

#include "lab/libvictory/Console.h"
#include "lab/libvictory/Requests.h"

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <utility>

namespace labvictory {

namespace {

thread_local std::optional<Json> t_request;

std::string environment(const char* name)
{
    const char* const value = std::getenv(name);
    return value ? value : "";
}

std::int64_t wallClockMs()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

/// A service that the program has not ended may still call the library when the process ends, so the library itself is
/// never destroyed; only its socket goes.
struct AtExit {
    ~AtExit() { Library::instance().closeBus(); }
} s_atExit;

}  // namespace

RequestScope::RequestScope(Json request)
{
    t_request = std::move(request);
}

RequestScope::~RequestScope()
{
    t_request.reset();
}

Library& Library::instance()
{
    static Library* const library = new Library;
    return *library;
}

VapntsService* Library::create(const char* configuration, const char* vcl)
{
    openBus();
    GroupPeriods periods;
    try {
        periods = readDocuments(configuration, vcl);
    } catch (const std::exception& error) {
        complain(error.what());
        return nullptr;
    }
    std::shared_ptr<Service> service;
    {
        const MutexLock lock(m_mutex);
        VapntsService* const handle = &m_handles.emplace_back();
        service = std::make_shared<Service>(handle, m_handles.size(), periods);
        m_services[handle] = {service};
    }
    publishService(*service, "created");
    return service->handle();
}

bool Library::start(VapntsService* handle)
{
    const auto service = find(handle, "vapntsStartService");
    if (!service) return false;
    if (environment("ORVANE_LAB_VICTORY") == "refuse-start") {
        complain("the environment refuses the start of the service");
        publishService(*service, "refused");
        return false;
    }
    // Before the first call-back can tell anything.
    publishService(*service, "starting");
    try {
        if (!service->start()) return false;
    } catch (const std::exception& error) {
        complain(std::string("cannot start the service: ") + error.what());
        service->stop();
        return false;
    }
    publishService(*service, "started");
    Service::Calls calls;
    {
        const MutexLock lock(m_mutex);
        calls.swap(m_atRestart);
    }
    service->callAstray(calls);
    return true;
}

void Library::remove(VapntsService* handle)
{
    const auto service = find(handle, "vapntsDeleteService");
    if (!service) return;
    if (Service::ofThisThread() == service.get()) return misused("vapntsDeleteService: from a call-back");
    Service::Calls calls;
    {
        const MutexLock lock(m_mutex);
        const auto found = m_services.find(handle);
        if (found == m_services.end() || std::exchange(found->second.removing, true)) return;
        calls.swap(m_atDeletion);
    }
    service->callAstray(calls);
    service->stop();
    m_holds.wait(TellHolds::kDeletion);
    {
        const MutexLock lock(m_mutex);
        m_services.erase(handle);
    }
    m_faults.forget("vapnts", handle);
    publishFaults();
    publishService(*service, "deleted");
}

void Library::atDeletion(Service::Calls calls)
{
    const MutexLock lock(m_mutex);
    m_atDeletion = std::move(calls);
}

void Library::atRestart(Service::Calls calls)
{
    const MutexLock lock(m_mutex);
    m_atRestart = std::move(calls);
}

std::shared_ptr<Service> Library::find(const VapntsService* handle, const char* operation)
{
    {
        const MutexLock lock(m_mutex);
        const auto found = m_services.find(handle);
        if (found != m_services.end()) return found->second.service;
    }
    misused(std::string(operation) + (handle ? ": there is no such service" : ": the service is null"));
    return nullptr;
}

std::shared_ptr<Service> Library::newest() const
{
    const MutexLock lock(m_mutex);
    std::shared_ptr<Service> service;
    for (const auto& [handle, entry] : m_services)
        if (!service || entry.service->number() > service->number()) service = entry.service;
    return service;
}

void Library::tell(const char* name, const Json& content, std::string raw)
{
    const auto target = bus();
    if (const auto duration = m_holds.durationOf(name); duration.count() > 0) {
        if (target) target->announce({{"type", "held"}, {"tell", name}, {"milliseconds", duration.count()}});
        m_holds.wait(name);
    }
    if (!target) return;
    Json line = {{"type", "tell"}, {"tell", name}, {"at_ms", wallClockMs()}};
    if (t_request) line["during"] = *t_request;
    line.update(content);
    target->publish(name, line, std::move(raw));
}

std::uint32_t Library::addFault(const char* kind, const void* service, Fault fault)
{
    const std::uint32_t id = m_faults.add(kind, service, std::move(fault));
    publishFaults();
    return id;
}

bool Library::removeFault(const char* kind, const void* service, std::uint32_t id)
{
    if (!m_faults.remove(kind, service, id)) return false;
    publishFaults();
    return true;
}

void Library::send(Bus::ClientId client, const Json& line)
{
    if (const auto target = bus()) target->send(client, line);
}

std::shared_ptr<Bus> Library::bus() const
{
    const MutexLock lock(m_busMutex);
    return m_bus;
}

void Library::openBus()
{
    const std::string path = environment("ORVANE_LAB_BUS");
    const auto now = bus();
    if (now && now->path() == path) return;
    closeBus();
    if (path.empty()) return;

    const MutexLock opening(m_opening);
    try {
        auto opened = std::make_shared<Bus>(
            path, [this](Bus::ClientId client, std::string_view line) { handleLine(*this, client, line); });
        const MutexLock lock(m_busMutex);
        m_bus = std::move(opened);
    } catch (const std::exception& error) {
        complain("cannot open the bus at " + path + ": " + error.what());
    }
}

void Library::closeBus()
{
    const MutexLock opening(m_opening);
    std::shared_ptr<Bus> closing;
    {
        const MutexLock lock(m_busMutex);
        closing = std::exchange(m_bus, nullptr);
    }
    // Others may hold it for a moment longer, also its own thread: that ends here.
    if (closing) closing->close();
}

void Library::publishService(const Service& service, const char* event)
{
    const auto target = bus();
    if (!target) return;
    Json line = {{"type", "service"}, {"event", event}, {"at_ms", wallClockMs()}};
    line.update(service.state());
    target->publish("service", line);
}

void Library::publishFaults()
{
    const MutexLock lock(m_faultsMutex);
    if (const auto target = bus())
        target->publish("faults", {{"type", "faults"}, {"at_ms", wallClockMs()}, {"faults", m_faults.list()}});
}

void Library::misused(const std::string& what)
{
    complain(what);
    if (const auto target = bus()) target->announce({{"type", "misuse"}, {"what", what}});
}

}  // namespace labvictory
