#ifndef LAB_LIBVICTORY_SERVICE_H
#define LAB_LIBVICTORY_SERVICE_H

#include "VICTORY/libvictory/victory.h"
#include "lab/libvictory/DocumentTexts.h"
#include "lab/libvictory/LibraryThread.h"
#include "lab/libvictory/RecordFields.h"
#include "utilities/ThreadAnnotations.h"

#include <array>
#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <list>
#include <vector>

namespace labvictory {

/// A call-back of the program with its context.
template <class Function>
struct Callback {
    Function function = nullptr;
    void* context = nullptr;
    explicit operator bool() const { return function != nullptr; }
};

struct Callbacks {
    Callback<VapntsSaveVclidCallback> saveVclid;
    std::array<Callback<VapntsTellCallback>, kGroups> groups;
    Callback<VapntsTellClearSystemDataCallback> clearSystemData;
    Callback<VapntsTellSystemConfigurationCallback> systemConfiguration;
    Callback<VapntsTellExecuteBuiltInTestsCallback> executeBuiltInTests;
    Callback<VapntsTellGetBuiltInTestResultsCallback> getBuiltInTestResults;
    Callback<VapntsTellClearBuiltInTestResultsCallback> clearBuiltInTestResults;
};

/// A service object: calls back for its publication groups, each on a thread of its own, and for requests, on four
/// others. Groups fall due one period after the start, and then every period; a due time that passes while the call-back
/// still runs is left out. Any thread. No lock is held over a call-back; the lock is a leaf.
class Service {
public:
    static constexpr int kRequestThreads = 4;
    static constexpr std::size_t kMostWaiting = 64;  // requests

    /// One of the two runs, exactly once.
    struct Request {
        std::function<void()> run;
        std::function<void()> cancel;  // the service ends first
    };

    using Calls = std::vector<std::function<void()>>;
    static constexpr std::int32_t kMostStrayCalls = 64;

    enum class Accepted { Yes, NotStarted, TooMany };

    /// @param handle  what call-backs are given
    Service(VapntsService* handle, std::uint64_t number, const GroupPeriods& periods);

    /// As `stop`.
    ~Service();
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    VapntsService* handle() const { return m_handle; }
    std::uint64_t number() const { return m_number; }

    /// Sets a group up, once and before the start. Its period is the VCL's, or 1 / rate.
    bool initGroup(int group, double rate) EXCLUDES(m_mutex);

    /// Sets the call-back of a group that is set up.
    bool setGroupCallback(int group, Callback<VapntsTellCallback> callback) EXCLUDES(m_mutex);

    /// Sets a call-back, one of `Callbacks`, also after the start.
    template <class Function>
    void set(Callback<Function> Callbacks::*member, Callback<Function> callback) EXCLUDES(m_mutex)
    {
        const MutexLock lock(m_mutex);
        m_callbacks.*member = callback;
    }

    Callbacks callbacks() const EXCLUDES(m_mutex);

    /// Starts the threads; false when that is done or can't be done.
    bool start() EXCLUDES(m_mutex);

    /// Takes no new work, waits for call-backs that run, ends the threads. Not for a thread of the service.
    void stop() EXCLUDES(m_mutex);

    Accepted post(Request request) EXCLUDES(m_mutex);

    /// Makes each call on a thread of its own, all beside each other; they end before `stop` does. False, and none made,
    /// while the service is not started, and when there have been too many.
    bool callAstray(const Calls& calls) EXCLUDES(m_mutex);

    /// Number, whether it is started, and of each group its period and how often it has fallen due.
    Json state() const EXCLUDES(m_mutex);

    /// The service on one of whose threads this is; null for any other thread.
    static const Service* ofThisThread();

private:
    enum class Phase { New, Started, Stopped };
    using Clock = std::chrono::steady_clock;

    struct Group {
        bool isSetUp = false;
        std::chrono::nanoseconds period{0};
        std::uint64_t calls = 0;
    };

    void runGroup(std::size_t group) EXCLUDES(m_mutex);
    void runRequests() EXCLUDES(m_mutex);
    bool waitUntilDue(Clock::time_point due) EXCLUDES(m_mutex);
    Request nextRequest() EXCLUDES(m_mutex);

    VapntsService* const m_handle;
    const std::uint64_t m_number;
    const GroupPeriods m_periods;

    mutable Mutex m_mutex;
    std::condition_variable_any m_changed;
    Phase m_phase GUARDED_BY(m_mutex) = Phase::New;
    Callbacks m_callbacks GUARDED_BY(m_mutex);
    std::array<Group, kGroups> m_groups GUARDED_BY(m_mutex);
    std::deque<Request> m_requests GUARDED_BY(m_mutex);
    std::list<LibraryThread> m_threads GUARDED_BY(m_mutex);
};

}  // namespace labvictory

#endif
