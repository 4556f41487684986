#ifndef VICTORY_ORVANESERVER_BITRESULT_ORVANEBITRESULTS_H
#define VICTORY_ORVANESERVER_BITRESULT_ORVANEBITRESULTS_H

#include "ASPN/AspnCmdResponse.h"
#include "VICTORY/libvictory/victory.h"
#include "aspn2_msgs/BitReport.h"
#include "face/FACE_String.h"
#include "utilities/ThreadAnnotations.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

/// The sensor types by the texts that the sensor file uses.
extern const std::map<std::string, VapntcSensorType> MapSensorStringToSensorTypeEnum;

/// Built-in test for clients of the bus: the list of the unit's sensors, the queue of the tests that clients have asked
/// for, their results, and the running of one test at a time.
///
///     queued (0) --cycle--> running (1) --report--> passed (3) or failed (2)
///                                       --time is up, or the command can't be sent--> failed (2)
///
/// A test's id is the number of records kept when it was asked for, so ids come again after a clear. A new record takes
/// the place of one that has its id, also of a running one: the time limit then frees the way for the next test. At
/// most `kMaxTests` records are kept.
///
/// Operations of the bus come on its library's threads, several at once; the cycle on the worker thread; reports on the
/// thread that receives them. `m_resultsMutex` guards all that they share but three atomic settings, and is held while
/// a test's id is told to the library, but neither over the sending of a command nor over the telling of results.
class OrvaneBitResults {
public:
    static constexpr const char* kSensorFile = "/opt/halvex/config/HX_Sensor_Data.xml";
    static constexpr int kMaxTests = VAPNTC_MAX_ROWS;

    /// A sensor, as its file describes it.
    struct SensorServer {
        /// Whether all texts are there: a copy for which memory runs out throws nothing.
        bool isWhole() const;

        FACE::String sensorId;
        FACE::String sensorType;
        FACE::String otherSensorType;
        bool hasOtherSensorType = false;
        FACE::String componentConfigurationId;
        bool hasComponentConfigurationId = false;
        bool enabled = false;
        VapntcSensorType sensorTypeEnum = VAPNTC_SENSOR_TYPE_GPS;
        std::uint16_t componentConfigurationIdNumber = 0;  ///< 0 if there is no id
    };

    /// The clocks that tests are timed by.
    struct Clocks {
        std::time_t (*time)();                ///< s of the wall clock: a step of it changes the time that is left
        std::int64_t (*steadyNanoseconds)();  ///< ns, since any instant
        std::int64_t (*systemNanoseconds)();  ///< ns since 1970
    };
    static Clocks systemClocks();

    explicit OrvaneBitResults(std::string sensorFile = kSensorFile, Clocks clocks = systemClocks());
    OrvaneBitResults(const OrvaneBitResults&) = delete;
    OrvaneBitResults& operator=(const OrvaneBitResults&) = delete;

    /// Reads the list of sensors. Disabled sensors are left out. A second call replaces the list, and keeps records and
    /// the running test. One thread at a time.
    /// @param name            goes into the results, and in front of what is reported about the file
    /// @param timeoutSeconds  s, limit of one test
    /// @return false if the file can't be read, and the list is as it was; also if a sensor in it is of unknown type or
    ///         memory runs out in between, and the list ends before that. Both are reported.
    bool Initialize(const std::string& name, int timeoutSeconds, bool debug) EXCLUDES(m_resultsMutex);

    /// Lets operations, reports and the cycle through. Any thread.
    void Start() { m_started = true; }

    /// Refuses them: a running test stays as it is, and the pause counts as one step of its time. Any thread.
    void Stop() { m_started = false; }

    /// What sends a command to the unit, and answers whether it is on its way. Called on the worker thread, with no
    /// lock held.
    void setCommandResponseMessageCallback(std::function<bool(const std::string&)> callback) EXCLUDES(m_resultsMutex);

    /// Appends a copy of the list of sensors; throws `std::bad_alloc` where there is no memory for all of it. Any thread.
    void getBitSensorServers(std::vector<SensorServer>& list) EXCLUDES(m_resultsMutex);

    /// Queues a test, and tells its limit in seconds and its id; 0 and an empty id if it is not taken. No exception.
    void ExecuteBuiltInTests(VapntsService* service) EXCLUDES(m_resultsMutex);

    /// Tells the records that are asked for, all if none is named. A record that there isn't is a row of zeros with its
    /// id. An id that is no number counts as 0. A count beyond 0 to 50 is taken as the nearer of the two, and reported.
    /// No exception.
    void GetBuiltInTestResults(VapntsService* service, const VapntcBitRequests& requests) EXCLUDES(m_resultsMutex);

    /// Erases finished records, all if none is named, and tells 1 unless a named one isn't there or isn't finished. Ids
    /// and count are taken as in `GetBuiltInTestResults`. No exception.
    void ClearBuiltInTestResults(VapntsService* service, const VapntcBitRequests& requests) EXCLUDES(m_resultsMutex);

    /// One turn: counts down the running test, or else starts the one queued with the lowest id. Worker thread only; an
    /// exception of the command's sender goes through, and leaves the test running.
    void cycleCommandedBitStateMachine() EXCLUDES(m_resultsMutex);

    /// Ends the running test as failed. Any thread.
    void failCurrentBit() EXCLUDES(m_resultsMutex);

    /// A report of the unit: as `updateBitResults`, unless stopped. Any thread.
    void UpdateBitReport(const aspn2_msgs::idl::BitReport& report) EXCLUDES(m_resultsMutex);

    /// Ends the running test with a report of topic id 1; others are dropped. Any thread.
    void updateBitResults(const aspn2_msgs::idl::BitReport& report) EXCLUDES(m_resultsMutex);

private:
    struct Result {
        VapntcBitResult m_vapntcBitResult;
        std::uint64_t startNanoseconds;  // kept here, not told
    };

    using Results = std::map<int, std::unique_ptr<Result>>;  // by id

    /// What starting a test takes outside the lock.
    struct StartedTest {
        std::string id;
        std::string command;
        std::function<bool(const std::string&)> send;
    };

    bool queueTest(VapntsService* service) EXCLUDES(m_resultsMutex);
    void copyResults(const VapntcBitRequests& requests, int count, VapntcBitResults& list) EXCLUDES(m_resultsMutex);
    bool eraseResults(const VapntcBitRequests& requests, int count) EXCLUDES(m_resultsMutex);
    std::optional<std::int64_t> countDown(std::int32_t elapsedSeconds) EXCLUDES(m_resultsMutex);
    std::optional<StartedTest> startNextTest(std::time_t now) EXCLUDES(m_resultsMutex);
    static bool isFinished(const Results::value_type& entry);
    Results::iterator findResult(const std::string& id) REQUIRES(m_resultsMutex);
    Result* firstOfStatus(std::int32_t status) REQUIRES(m_resultsMutex);
    void close(Result& result, std::int32_t status) REQUIRES(m_resultsMutex);
    /// @return false if there was no room for all
    bool appendSensorRows(const aspn2_msgs::idl::BitReport& report, VapntcBitResult& row) REQUIRES(m_resultsMutex);
    std::string command() const REQUIRES(m_resultsMutex);

    const std::string m_sensorFile;
    const Clocks m_clocks;
    std::string m_name GUARDED_BY(m_resultsMutex);
    std::atomic<std::int32_t> m_timeoutSeconds = 0;
    std::atomic<bool> m_started = false;
    bool m_bitInProgress GUARDED_BY(m_resultsMutex) = false;
    std::atomic<bool> m_debug = false;
    std::function<bool(const std::string&)> m_sendCommand GUARDED_BY(m_resultsMutex);
    std::vector<SensorServer> m_sensorServers GUARDED_BY(m_resultsMutex);
    RankedMutex<LockRank::Results> m_resultsMutex;
    Results m_results GUARDED_BY(m_resultsMutex);
    std::size_t m_serverCount GUARDED_BY(m_resultsMutex) = 0;  // of the sensors
    std::int32_t m_secondsRemaining GUARDED_BY(m_resultsMutex) = 0;
    bool m_isTimeUp GUARDED_BY(m_resultsMutex) = false;  // of the running test, which is about to fail
    std::int32_t m_lastCycleTime = 0;                    // s; worker thread only
    ASPN2::CmdResponse m_cmdResponse;                    // idle: the command's sender makes its record
};

/// A sensor over several lines, for the console.
std::ostream& operator<<(std::ostream& stream, const OrvaneBitResults::SensorServer& server);

/// What the bus library calls. `data` is the `OrvaneBitResults`; null is reported.
namespace BuiltInTests {

void ExecuteBuiltInTestsCallback(void* data, VapntsService* service) noexcept;
void GetBuiltInTestResultsCallback(void* data, VapntsService* service, VapntcBitRequests requests) noexcept;
void ClearBuiltInTestResultsCallback(void* data, VapntsService* service, VapntcBitRequests requests) noexcept;

}  // namespace BuiltInTests

#endif
