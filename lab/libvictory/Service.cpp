#include "lab/libvictory/Service.h"

#include "lab/libvictory/Console.h"

#include <cmath>
#include <exception>
#include <string>

namespace labvictory {

namespace {

thread_local const Service* t_service = nullptr;

constexpr double kHighestRate = 1000;  // Hz

bool isGroup(int group)
{
    return group >= 0 && group < kGroups;
}

/// What the program's side of a call-back throws goes no further.
template <class Call>
void contained(Call call)
{
    try {
        call();
    } catch (const std::exception& error) {
        complain(std::string("a call-back has thrown: ") + error.what());
    } catch (...) {
        complain("a call-back has thrown");
    }
}

}  // namespace

Service::Service(VapntsService* handle, std::uint64_t number, const GroupPeriods& periods)
    : m_handle(handle), m_number(number), m_periods(periods)
{}

Service::~Service()
{
    stop();
}

const Service* Service::ofThisThread()
{
    return t_service;
}

bool Service::initGroup(int group, double rate)
{
    if (!isGroup(group) || !(rate > 0) || rate > kHighestRate) return false;
    const auto index = static_cast<std::size_t>(group);
    const double seconds = std::min(1 / rate, 4294967.295);
    const auto ofRate = std::chrono::nanoseconds(std::llround(seconds * 1e9));

    const MutexLock lock(m_mutex);
    if (m_phase != Phase::New || m_groups[index].isSetUp) return false;
    m_groups[index] = {true, m_periods[index] ? std::chrono::nanoseconds(*m_periods[index]) : ofRate, 0};
    return true;
}

bool Service::setGroupCallback(int group, Callback<VapntsTellCallback> callback)
{
    if (!isGroup(group)) return false;
    const auto index = static_cast<std::size_t>(group);
    const MutexLock lock(m_mutex);
    if (!m_groups[index].isSetUp) return false;
    m_callbacks.groups[index] = callback;
    return true;
}

Callbacks Service::callbacks() const
{
    const MutexLock lock(m_mutex);
    return m_callbacks;
}

bool Service::start()
{
    const MutexLock lock(m_mutex);
    if (m_phase != Phase::New) return false;
    m_phase = Phase::Started;
    for (std::size_t group = 0; group < m_groups.size(); ++group)
        if (m_groups[group].isSetUp)
            m_threads.emplace_back(("victory-group" + std::to_string(group)).c_str(),
                                   [this, group] { runGroup(group); });
    for (int thread = 0; thread < kRequestThreads; ++thread)
        m_threads.emplace_back("victory-request", [this] { runRequests(); });
    return true;
}

void Service::stop()
{
    std::list<LibraryThread> threads;
    std::deque<Request> cancelled;
    {
        const MutexLock lock(m_mutex);
        m_phase = Phase::Stopped;
        threads.swap(m_threads);
        cancelled.swap(m_requests);
        m_changed.notify_all();
    }
    threads.clear();
    for (const Request& request : cancelled) contained(request.cancel);
}

Service::Accepted Service::post(Request request)
{
    const MutexLock lock(m_mutex);
    if (m_phase != Phase::Started) return Accepted::NotStarted;
    if (m_requests.size() >= kMostWaiting) return Accepted::TooMany;
    m_requests.push_back(std::move(request));
    m_changed.notify_all();
    return Accepted::Yes;
}

bool Service::callAstray(const Calls& calls)
{
    constexpr std::size_t kMostThreads = 1024;
    const MutexLock lock(m_mutex);
    if (m_phase != Phase::Started || m_threads.size() + calls.size() > kMostThreads) return false;
    for (const auto& call : calls)
        m_threads.emplace_back("victory-stray", [this, call] {
            t_service = this;
            contained(call);
        });
    return true;
}

Json Service::state() const
{
    constexpr const char* kPhases[] = {"new", "started", "stopped"};

    const MutexLock lock(m_mutex);
    Json groups = Json::array();
    for (std::size_t index = 0; index < m_groups.size(); ++index) {
        const Group& group = m_groups[index];
        if (!group.isSetUp) continue;
        groups.push_back({{"group", index},
                          {"period_ms", std::chrono::duration<double, std::milli>(group.period).count()},
                          {"calls", group.calls}});
    }
    return {{"service", m_number}, {"phase", kPhases[static_cast<std::size_t>(m_phase)]}, {"groups", groups}};
}

/// False when the service ends.
bool Service::waitUntilDue(Clock::time_point due)
{
    const MutexLock lock(m_mutex);
    while (m_phase == Phase::Started && Clock::now() < due) m_changed.wait_until(m_mutex, due);
    return m_phase == Phase::Started;
}

void Service::runGroup(std::size_t group)
{
    t_service = this;
    const auto [period, start] = [&] {
        const MutexLock lock(m_mutex);
        return std::pair(m_groups[group].period, Clock::now());
    }();
    for (auto due = start + period; waitUntilDue(due);) {
        Callback<VapntsTellCallback> callback;
        {
            const MutexLock lock(m_mutex);
            callback = m_callbacks.groups[group];
            if (callback) ++m_groups[group].calls;
        }
        if (callback) contained([&] { callback.function(callback.context, m_handle); });
        const auto passed = (Clock::now() - due) / period;
        due += (passed + 1) * period;
    }
}

/// Nothing to run when the service ends.
Service::Request Service::nextRequest()
{
    const MutexLock lock(m_mutex);
    while (m_phase == Phase::Started && m_requests.empty()) m_changed.wait(m_mutex);
    if (m_phase != Phase::Started) return {};
    Request request = std::move(m_requests.front());
    m_requests.pop_front();
    return request;
}

void Service::runRequests()
{
    t_service = this;
    for (Request request = nextRequest(); request.run; request = nextRequest()) contained(request.run);
}

}  // namespace labvictory
