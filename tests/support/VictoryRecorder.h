#ifndef TESTS_SUPPORT_VICTORYRECORDER_H
#define TESTS_SUPPORT_VICTORYRECORDER_H

#include "VICTORY/libvictory/victory.h"

#include <any>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// Stands in for the bus library in tests of components: every operation of it is recorded, in the order of the calls,
/// with copies of what it was given. Link `tests_victory_recorder` in place of the library. One object at a time: while
/// there is none, every operation throws `std::logic_error`. Any thread may call operations; wait for them with
/// `waitForCalls`.
///
///     VictoryRecorder victory;
///     startTheService();
///     EXPECT_THAT(victory.operations(), ElementsAre("vapntsNewService", "vapntsInitPubGroup"));
///     EXPECT_EQ(victory.last("vapntsInitPubGroup").number(0), 2);
///     EXPECT_STREQ(victory.last("vapntsTellSystemConfiguration").record<VapntcSystemConfiguration>().systemName, "");
///     victory.fireTell(VAPNTS_PUB_GROUP_WARNING_MESSAGES);
///
/// Unless told otherwise, all goes well: operations answer 0, new services are made, faults get the ids 1, 2, ..., and
/// files are those that `setFile` and `vutilWriteStringToFile` have put here. What is written to a file that is on the
/// disk arrives there too.
class VictoryRecorder {
public:
    /// One call of an operation. Arguments are counted from 0, the service left out; asking for one of another kind
    /// throws `std::bad_any_cast`, for one that isn't there `std::out_of_range`.
    struct Call {
        std::string operation;
        const void* service = nullptr;  // null where the operation has none
        std::vector<std::any> arguments;

        std::int64_t number(std::size_t index) const { return argument<std::int64_t>(index); }
        double real(std::size_t index) const { return argument<double>(index); }
        const void* pointer(std::size_t index) const { return argument<const void*>(index); }  // contexts, buffers

        /// A copy of a text; a null one counts as "<null>".
        const std::string& text(std::size_t index) const { return argument<std::string>(index); }

        /// A copy of a record that was given by value.
        template <class Record>
        const Record& record(std::size_t index = 0) const
        {
            return *argument<std::shared_ptr<const Record>>(index);
        }

        /// A copy of the time of a tell operation; null if there was none.
        std::shared_ptr<const VapntcTime> time(std::size_t index = 1) const
        {
            return argument<std::shared_ptr<const VapntcTime>>(index);
        }

    private:
        template <class T>
        const T& argument(std::size_t index) const
        {
            return std::any_cast<const T&>(arguments.at(index));
        }
    };

    VictoryRecorder();
    ~VictoryRecorder();
    VictoryRecorder(const VictoryRecorder&) = delete;
    VictoryRecorder& operator=(const VictoryRecorder&) = delete;

    // What was called.

    std::vector<Call> calls() const;
    std::vector<Call> calls(const std::string& operation) const;
    std::vector<std::string> operations() const;
    std::size_t count(const std::string& operation) const;

    /// Throws `std::out_of_range` if there was no such call.
    Call last(const std::string& operation) const;

    /// Waits until an operation has been called so many times; false if that does not come.
    bool waitForCalls(const std::string& operation, std::size_t count,
                      std::chrono::milliseconds limit = std::chrono::seconds(30)) const;

    /// Calls that came with a service that had been deleted before, by the names of their operations.
    std::vector<std::string> usesOfDeletedServices() const;

    /// Forgets the calls so far; call-backs, scripts, services and files stay.
    void forgetCalls();

    // What the library answers.

    /// Lets an operation answer this from now on; `vapntsNewService` answers null with 0.
    void answer(const std::string& operation, std::int64_t result);

    /// Runs this within each call of an operation from now on, after it has been recorded, on the caller's thread and
    /// with no lock held. What it throws goes to the caller.
    void onCall(const std::string& operation, std::function<void()> action);

    void setFile(const std::string& path, const std::string& text);
    std::string file(const std::string& path) const;  // throws `std::out_of_range` if there is none

    /// A service for components that are tested alone.
    VapntsService* newService();

    /// The services of the other kinds, which the library has no operation to make.
    VgpssService* gpss();
    VdotsService* dots();
    VgensService* gens();
    VorisService* oris();
    VpossService* poss();

    // What the library calls: the latest call-back that was set, with its context and the service it was set for, on
    // the calling thread. `std::logic_error` if none was set, and once that service has been deleted.

    int fireSaveVclid(const char* vclText);
    void fireTell(int group);
    int fireClearSystemData(VapntcSystemData* data);
    void fireSystemConfiguration();
    void fireExecuteBuiltInTests();
    void fireGetBuiltInTestResults(const VapntcBitRequests& requests);
    void fireClearBuiltInTestResults(const VapntcBitRequests& requests);
    bool hasTellCallback(int group) const;

    // For the operations themselves.

    template <class Callback>
    struct Registration {
        Callback callback = nullptr;
        void* context = nullptr;
        VapntsService* service = nullptr;
    };
    struct Registrations {
        Registration<VapntsSaveVclidCallback> saveVclid;
        std::map<int, Registration<VapntsTellCallback>> tell;  // by group
        Registration<VapntsTellClearSystemDataCallback> clearSystemData;
        Registration<VapntsTellSystemConfigurationCallback> systemConfiguration;
        Registration<VapntsTellExecuteBuiltInTestsCallback> executeBuiltInTests;
        Registration<VapntsTellGetBuiltInTestResultsCallback> getBuiltInTestResults;
        Registration<VapntsTellClearBuiltInTestResultsCallback> clearBuiltInTestResults;
    };

    static VictoryRecorder& current();
    std::int64_t record(Call call, std::int64_t usualResult = 0);
    std::uint32_t recordAddFault(Call call);
    void setCallback(const std::function<void(Registrations&)>& change);
    void markDeleted(const void* service);
    void writeFile(const std::string& path, const std::string& text);
    int readFile(const std::string& path, int capacity, char* buffer) const;

private:
    template <class Callback>
    Registration<Callback> registered(const std::function<Registration<Callback>(const Registrations&)>& which) const;

    mutable std::mutex m_mutex;
    mutable std::condition_variable m_called;
    std::vector<Call> m_calls;
    std::map<std::string, std::int64_t> m_answers;
    std::map<std::string, std::function<void()>> m_actions;
    std::map<std::string, std::string> m_files;
    std::vector<const void*> m_deleted;
    std::vector<std::string> m_usesOfDeleted;
    Registrations m_registrations;
    std::uint32_t m_nextFault = 1;
    std::deque<std::unique_ptr<VapntsService>> m_services;  // kept when deleted, so that no address comes again
};

#endif
